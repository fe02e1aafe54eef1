"""Draws the pictures of docs/api.md with korvel itself, into docs/pictures/.

    PYTHONPATH=build/release /usr/bin/python3 docs/pictures.py

Each picture is a row of labelled panels drawn over a checkerboard, so that
what is translucent shows.
"""
import os
import sys
import types
import warnings

os.environ.setdefault("SDL_VIDEODRIVER", "dummy")
os.environ.setdefault("PYGAME_HIDE_SUPPORT_PROMPT", "1")
import pygame  # noqa: E402

# The least of a runtime: particle shapes need tamapi.pygame, nothing else here
# calls back, so the warning about the missing handlers is not wanted.
sys.modules["tam6"] = types.ModuleType("tam6")
sys.modules["tamapi"] = types.ModuleType("tamapi")
sys.modules["tamapi"].pygame = pygame
import korvel  # noqa: E402

with warnings.catch_warnings():
    warnings.simplefilter("ignore", RuntimeWarning)
    korvel.RegisterInstancesDict({}, object, object, object)

W, H, LABEL = 112, 72, 16
OUT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "pictures")


def checkerboard(size):
    s = pygame.Surface(size, 0, 32)
    for y in range(0, size[1], 8):
        for x in range(0, size[0], 8):
            s.fill((200, 200, 200) if (x + y) // 8 % 2 else (90, 90, 90), (x, y, 8, 8))
    return s


def save_row(name, panels):
    """panels: (label, draw(surface)) pairs; each draws on a fresh W x H panel."""
    font = pygame.font.Font(None, 16)
    row = pygame.Surface((len(panels) * (W + 4), H + LABEL), 0, 32)
    row.fill((255, 255, 255))
    for k, (label, draw) in enumerate(panels):
        panel = checkerboard((W, H))
        korvel.set_SDL_screen(panel)  # the calls that draw on the stored screen draw here
        draw(panel)
        row.blit(panel, (k * (W + 4), 0))
        row.blit(font.render(label, True, (0, 0, 0)), (k * (W + 4) + 2, H + 2))
    pygame.image.save(row, os.path.join(OUT, name))


def rgb(surface, r, g, b):
    """A pixel word in the surface's format."""
    return surface.map_rgb((r, g, b)) & 0xFFFFFF


# Script colours are 0x00BBGGRR.
RED, BLUE, YELLOW, GREEN = 0x2020E0, 0xE04020, 0x20E0FF, 0x40C040


def gradients():
    save_row("gradients.png", [
        ("gradient_v", lambda s: korvel.fast_draw_gradient_v(s, 0, 0, W, H, RED, BLUE, 200)),
        ("gradients_vc", lambda s: korvel.fast_draw_gradients_vc(
            s, 0, 0, W, H, RED, BLUE, 0.8, rgb(s, 255, 255, 255), 0.5)),
        ("gradients_vv", lambda s: korvel.fast_draw_gradients_vv(
            s, 0, 0, W, H, RED, BLUE, 0.8, YELLOW, 0x000000, 0.5)),
        ("gradients_vcv", lambda s: korvel.fast_draw_gradients_vcv(
            s, 0, 0, W, H, RED, BLUE, 0.8, rgb(s, 0, 0, 0), 0.3, YELLOW, GREEN, 0.4)),
        ("gradients_vcvvc", lambda s: korvel.fast_draw_gradients_vcvvc(
            s, 0, 0, W, H, RED, BLUE, 0.8, rgb(s, 0, 0, 0), 0.2, YELLOW, GREEN, 0.3,
            0xFFFFFF, 0x000000, 0.2, rgb(s, 255, 0, 255), 0.1)),
    ])


def rectangles():
    def rect(tl, tr, br, bl, alpha, outline):
        return lambda s: korvel.fast_draw_rectangle_color(10, 10, W - 10, H - 10, tl, tr, br, bl,
                                                          alpha, outline)
    white = 0xFFFFFF
    save_row("rectangles.png", [
        ("one word, 0.5", rect(RED, RED, RED, RED, 0.5, 0)),
        ("top/bottom, 0.7", rect(YELLOW, YELLOW, BLUE, BLUE, 0.7, 0)),
        ("top/bottom, outline", rect(YELLOW, YELLOW, BLUE, BLUE, 1.0, 1)),
        ("four corners, 1.0", rect(RED, white, GREEN, BLUE, 1.0, 0)),
    ])


def particles():
    glow = pygame.Surface((24, 24), 0, 32)
    for r in range(12, 0, -1):
        v = int(255 * (1 - r / 13))
        pygame.draw.circle(glow, (v, v, v), (12, 12), r)
    puff = pygame.Surface((24, 24), pygame.SRCALPHA, 32)
    for r in range(12, 0, -1):
        pygame.draw.circle(puff, (255, 255, 255, int(255 * (1 - r / 13))), (12, 12), r)

    def burst(shape, blend, alpha, size=0.9):
        def draw(surface):
            pt = korvel.part_type_create()
            korvel.part_type_shape(pt, shape)
            korvel.part_type_blend(pt, blend)
            korvel.part_type_size(pt, size, size, 0.0, 0.0)
            korvel.part_type_life(pt, 50, 50)
            korvel.part_type_color3(pt, YELLOW, YELLOW, YELLOW)
            korvel.part_type_alpha3(pt, alpha, alpha, alpha)
            for k in range(12):
                p = korvel.CParticle_new(pt, 12 + (k % 6) * 18, 18 + (k // 6) * 32)
                korvel.CParticle_dec_ttl_and_render(p, 0, 0)
        return draw
    save_row("particles.png", [
        ("blend 0, opaque", burst(puff, 0, 1.0)),
        ("blend 0, alpha 0.5", burst(puff, 0, 0.5)),
        ("blend 1, opaque", burst(glow, 1, 1.0)),
        ("blend 1, alpha 0.5", burst(glow, 1, 0.5)),
        ("blend 0, 0.5, size 1", burst(puff, 0, 0.5, size=1.0)),
    ])


def flips():
    arrow = pygame.Surface((60, 44), 0, 32)
    arrow.fill((250, 250, 250))
    pygame.draw.polygon(arrow, (200, 40, 40), [(4, 14), (36, 14), (36, 4), (56, 22), (36, 40),
                                               (36, 30), (4, 30)])
    pygame.draw.rect(arrow, (40, 40, 200), (4, 4, 8, 8))

    def show(make):
        return lambda s: s.blit(make(), make().get_rect(center=(W // 2, H // 2)))
    save_row("flips.png", [
        ("original", show(lambda: arrow)),
        ("flip_h", show(lambda: korvel.flip_h(arrow))),
        ("flip_v", show(lambda: korvel.flip_v(arrow))),
        ("flip_vh", show(lambda: korvel.flip_vh(arrow))),
        ("rotoscale 1, 30", show(lambda: korvel.rotoscale(arrow, 1.0, 1.0, 30))),
    ])


def main():
    pygame.display.init()
    pygame.font.init()
    os.makedirs(OUT, exist_ok=True)
    for picture in (gradients, rectangles, particles, flips):
        picture()
    print("pictures written to", OUT, file=sys.stderr)


if __name__ == "__main__":
    main()
