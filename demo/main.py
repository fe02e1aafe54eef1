"""korvel sample runtime: a room with backgrounds, tiles, a few hundred
instances, particle systems and two views, stepped and drawn through korvel
every frame, exactly as a game would.

Headless (no DISPLAY, or --headless) it draws a fixed number of frames on
SDL's dummy driver, writes a PNG and prints its timings; with a display it
opens a window (Escape or closing the window quits; arrow keys steer, a click
throws sparks). --pure-python draws the same scene without korvel.
"""
import argparse
import os
import sys
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "runtime"))


def parse_args(argv):
    parser = argparse.ArgumentParser(description="korvel sample runtime")
    parser.add_argument("--headless", action="store_true",
                        help="SDL dummy driver, fixed frame count, screenshot (default without DISPLAY)")
    parser.add_argument("--frames", type=int, default=None,
                        help="frames to draw (default 120 headless; 0, the default in a window, "
                             "draws until the window is closed)")
    parser.add_argument("--screenshot", default=None,
                        help="PNG written after the last frame (default build/demo.png headless)")
    parser.add_argument("--size", default="960x540", help="window size WxH, at least 64x64 (default %(default)s)")
    parser.add_argument("--seed", type=int, default=1,
                        help="scene seed: the same picture for the same seed, but for particles")
    parser.add_argument("--pure-python", action="store_true",
                        help="draw the same scene with plain Python and pygame, without korvel")
    parser.add_argument("--no-views", action="store_true",
                        help="draw the whole room at scale 1 from its top-left corner")
    args = parser.parse_args(argv)
    try:
        args.width, args.height = (int(v) for v in args.size.lower().split("x"))
    except ValueError:
        parser.error(f"--size wants WxH, got {args.size!r}")
    if args.width < 64 or args.height < 64:
        parser.error("--size: at least 64x64")
    if not (os.environ.get("DISPLAY") or os.environ.get("WAYLAND_DISPLAY")):
        args.headless = True
    if args.frames is not None and args.frames < 0:
        parser.error(f"--frames wants 0 or more, got {args.frames}")
    if args.frames == 0 and args.headless:
        parser.error("--frames 0 draws until the window is closed, and a headless run has no "
                     "window: give a number of frames")
    if args.frames is None:
        args.frames = 120 if args.headless else 0
    if args.screenshot is None and args.headless:
        args.screenshot = os.path.join(ROOT, "build", "demo.png")
    return args


def open_display(args):
    if args.headless:
        os.environ["SDL_VIDEODRIVER"] = "dummy"
    os.environ.setdefault("PYGAME_HIDE_SUPPORT_PROMPT", "1")
    import pygame
    pygame.display.init()
    screen = pygame.display.set_mode((args.width, args.height), 0, 32)
    pygame.display.set_caption("korvel demo")
    return pygame, screen


def start(args):
    """The display, the implementation (korvel or its plain-Python stand-in),
    the created room and the seconds its scene took to build."""
    pygame, screen = open_display(args)
    # The runtime's own modules first: korvel binds tam6 and tamapi by name when imported.
    import tam6  # noqa: F401
    import tamapi  # noqa: F401
    import scene
    if args.pure_python:
        import purekorvel as impl
    else:
        import korvel as impl
    t0 = time.perf_counter()
    game, room = scene.build(impl, screen.get_size(), args.seed, views=not args.no_views)
    room.Compile()
    room.Create()
    return pygame, screen, impl, room, time.perf_counter() - t0


def main(argv=None):
    args = parse_args(sys.argv[1:] if argv is None else argv)
    pygame, screen, impl, room, build_time = start(args)
    import tam6
    import tamapi

    events = {pygame.KEYDOWN: room.HandleKeypress, pygame.KEYUP: room.HandleKeyrelease,
              pygame.MOUSEBUTTONDOWN: room.MouseButtonDown, pygame.MOUSEBUTTONUP: room.MouseButtonUp}
    clock = pygame.time.Clock()
    draw_times, frame_times = [], []
    frame = 0
    running = True
    t_start = time.perf_counter()
    while running and (args.frames == 0 or frame < args.frames):
        t_frame = time.perf_counter()
        for event in pygame.event.get():
            if event.type == pygame.QUIT or (event.type == pygame.KEYDOWN and event.key == pygame.K_ESCAPE):
                running = False
            elif event.type in events:
                events[event.type](event)
        tam6.frame(room)
        t_draw = time.perf_counter()
        impl.Room_Draw(room, screen)
        draw_times.append(time.perf_counter() - t_draw)
        pygame.display.flip()
        frame_times.append(time.perf_counter() - t_frame)
        frame += 1
        if not args.headless:
            clock.tick(room.room_speed)
            if frame % 30 == 0:
                pygame.display.set_caption(f"korvel demo: {tamapi.fps} fps, Room_Draw "
                                           f"{1e3 * sum(draw_times[-30:]) / 30:.2f} ms")
    elapsed = time.perf_counter() - t_start

    if args.screenshot:
        os.makedirs(os.path.dirname(os.path.abspath(args.screenshot)), exist_ok=True)
        pygame.image.save(screen, args.screenshot)
        print(f"screenshot: {args.screenshot}")
    mode = "plain Python" if args.pure_python else "korvel"
    print(f"{mode}: {frame} frames at {screen.get_width()}x{screen.get_height()}, "
          f"{len(room.drawn_objects)} drawn objects, scene built in {build_time:.2f} s")
    if frame:
        steady = draw_times[len(draw_times) // 4:] or draw_times
        print(f"{frame / elapsed:.1f} frames per second; Room_Draw {1e3 * sum(draw_times) / frame:.2f} ms "
              f"per frame ({1e3 * sum(steady) / len(steady):.2f} ms after the first quarter, "
              f"whose frames fill the image caches); whole frame "
              f"{1e3 * sum(frame_times) / frame:.2f} ms")
    pygame.quit()


if __name__ == "__main__":
    main()
