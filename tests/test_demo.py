"""The sample runtime, run as a user runs it, and checked where its picture is known:
the layout is fixed by the seed and the regions below are out of the particles' reach."""
import os
import subprocess
import sys

import numpy as np
import pygame
import pytest

from pixelmodel import fill_mix

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
sys.path.insert(0, os.path.join(ROOT, "demo", "runtime"))
import scene  # noqa: E402  (the demo's own image makers, for the expected tile)

W, H = 480, 270
PANEL, GOLD = (20, 24, 40), (255, 200, 40)


@pytest.mark.parametrize("extra,tolerance,line", [
    ((), 0, "korvel: 2 frames"), (("--pure-python",), 2, "plain Python: 2 frames")])
def test_headless_runs_draw_the_scene(tmp_path, extra, tolerance, line):
    shot = tmp_path / "shot.png"
    out = subprocess.run([sys.executable, os.path.join(ROOT, "demo", "main.py"), "--headless", "--frames",
                          "2", "--screenshot", str(shot), "--size", f"{W}x{H}", "--seed", "3", *extra],
                         env=dict(os.environ, SDL_VIDEODRIVER="dummy"), capture_output=True, text=True,
                         timeout=120)
    assert out.returncode == 0 and line in out.stdout, out.stdout + out.stderr
    assert extra or "Room_Draw" in out.stdout
    image = pygame.image.load(str(shot))
    rgb = lambda x, y: tuple(image.get_at((x, y)))[:3]  # noqa: E731
    assert image.get_size() == (W, H) and rgb(12, 12) == PANEL
    # The view starts clamped to the room's bottom-left corner: row H - 8 is the
    # earth row of tiles, tile column 0 (tileset tile 1).
    tileset = scene.make_tileset()
    for x in (4, 8, 20):
        assert rgb(x, H - 8) == tuple(tileset.get_at((scene.TILE + x, scene.TILE - 8)))[:3]
    # The translucent gold strip over the opaque panel, by the fill's lane rule at alpha 0.5.
    strip = fill_mix(int.from_bytes(bytes(PANEL), "big"), int.from_bytes(bytes(GOLD), "big"), 127)
    for x in (40, 200, 275):
        np.testing.assert_allclose(rgb(x, 50), tuple(int(strip).to_bytes(3, "big")), atol=tolerance)
    # The overview's white frame, a quarter of the width, 10 pixels from the corner.
    pw, ph = W // 4, round(2 * H * (W // 4) / (3 * W))
    px, py = W - pw - 10, H - ph - 10
    for x, y in ((px, py + ph // 2), (px + pw - 1, py + ph // 2), (px + pw // 2, py)):
        assert rgb(x, y) == (255, 255, 255)
