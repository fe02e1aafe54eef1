"""korvel sample runtime: draws a scene through korvel, as a game would.

Headless (no DISPLAY, or --headless) it draws a fixed number of frames on
SDL's dummy driver and writes a PNG; with a display it opens a window.
"""
import argparse
import os
import random
import sys
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))


def parse_args(argv):
    parser = argparse.ArgumentParser(description="korvel sample runtime")
    parser.add_argument("--headless", action="store_true",
                        help="SDL dummy driver, fixed frame count, screenshot (default without DISPLAY)")
    parser.add_argument("--frames", type=int, default=None,
                        help="frames to draw (default 60 headless, unlimited in a window)")
    parser.add_argument("--screenshot", default=os.path.join(ROOT, "build", "demo.png"),
                        help="PNG written after the last frame (default: %(default)s)")
    parser.add_argument("--size", default="960x540", help="window size WxH (default %(default)s)")
    parser.add_argument("--seed", type=int, default=1, help="scene seed (default %(default)s)")
    args = parser.parse_args(argv)
    try:
        args.width, args.height = (int(v) for v in args.size.lower().split("x"))
    except ValueError:
        parser.error(f"--size wants WxH, got {args.size!r}")
    if not (os.environ.get("DISPLAY") or os.environ.get("WAYLAND_DISPLAY")):
        args.headless = True
    if args.frames is None:
        args.frames = 60 if args.headless else 0
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


def draw_frame(pygame, korvel, screen, rects, frame, fill_times):
    w, h = screen.get_size()
    for y in range(0, h, 16):
        screen.fill(((y * 255 // h), 40, 255 - y * 255 // h), (0, y, w, 16))
    for i, (x, y, rw, rh, color, alpha) in enumerate(rects):
        dx = (frame * (i + 1)) % 40
        word = screen.map_rgb(color) & 0xFFFFFF
        t0 = time.perf_counter()
        korvel.fill_translucent(screen, x + dx, y, x + dx + rw, y + rh, word, alpha)
        fill_times[i] += time.perf_counter() - t0


def main(argv=None):
    args = parse_args(sys.argv[1:] if argv is None else argv)
    pygame, screen = open_display(args)
    import korvel
    korvel.set_SDL_screen(screen)

    rng = random.Random(args.seed)
    w, h = screen.get_size()
    rects = []
    for _ in range(8):
        rw, rh = rng.randint(w // 8, w // 3), rng.randint(h // 8, h // 3)
        rects.append((rng.randint(0, w - rw - 40), rng.randint(0, h - rh), rw, rh,
                      (rng.randrange(256), rng.randrange(256), rng.randrange(256)),
                      rng.randint(60, 200)))
    fill_times = [0.0] * len(rects)

    clock = pygame.time.Clock()
    frame = 0
    running = True
    while running and (args.frames == 0 or frame < args.frames):
        for event in pygame.event.get():
            if event.type == pygame.QUIT or (event.type == pygame.KEYDOWN and event.key == pygame.K_ESCAPE):
                running = False
        draw_frame(pygame, korvel, screen, rects, frame, fill_times)
        pygame.display.flip()
        if not args.headless:
            clock.tick(60)
        frame += 1

    os.makedirs(os.path.dirname(os.path.abspath(args.screenshot)), exist_ok=True)
    pygame.image.save(screen, args.screenshot)
    print(f"{frame} frames, {w}x{h}, screenshot {args.screenshot}")
    for i, (rect, total) in enumerate(zip(rects, fill_times)):
        x, y, rw, rh, _, alpha = rect
        print(f"fill {i}: {rw}x{rh} alpha {alpha}: {total / max(frame, 1) * 1e6:.1f} us per fill")


if __name__ == "__main__":
    main()
