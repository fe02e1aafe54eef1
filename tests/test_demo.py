# The sample runtime and the quick start of docs/api.md, run as a user runs them,
# and checked where their pictures are known (out of the particles' reach).
import os
import re
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


def run(tmp_path, *args):
    out = subprocess.run([sys.executable, *args], cwd=tmp_path, capture_output=True, text=True, timeout=120,
                         env=dict(os.environ, SDL_VIDEODRIVER="dummy", PYTHONPATH=os.pathsep.join(sys.path)))
    assert out.returncode == 0, out.stdout + out.stderr
    image = pygame.image.load(str(tmp_path / "shot.png"))
    return out.stdout, lambda x, y: image.get_at((x, y))[:3]


def lanes(rgb):
    return int.from_bytes(bytes(rgb), "big")


@pytest.mark.parametrize("extra,tolerance,line", [
    ((), 0, "korvel: 2 frames"), (("--pure-python",), 2, "plain Python: 2 frames")])
def test_headless_runs_draw_the_scene(tmp_path, extra, tolerance, line):
    stdout, rgb = run(tmp_path, os.path.join(ROOT, "demo", "main.py"), "--headless", "--frames", "2",
                      "--screenshot", "shot.png", "--size", f"{W}x{H}", "--seed", "3", *extra)
    assert line in stdout and (extra or "Room_Draw" in stdout)
    # The view starts clamped to the room's bottom-left corner: row H - 8 is the
    # earth row of tiles, tile column 0 (tileset tile 1).
    tileset = scene.make_tileset()
    for x in (4, 8, 20):
        assert rgb(x, H - 8) == tileset.get_at((scene.TILE + x, scene.TILE - 8))[:3]
    # The translucent gold strip over the opaque panel, by the fill's lane rule at alpha 0.5.
    assert rgb(12, 12) == (20, 24, 40)
    strip = tuple(int(fill_mix(lanes((20, 24, 40)), lanes((255, 200, 40)), 127)).to_bytes(3, "big"))
    for x in (40, 200, 275):
        np.testing.assert_allclose(rgb(x, 50), strip, atol=tolerance)
    # The overview's white frame, a quarter of the width, 10 pixels from the corner.
    pw, ph = W // 4, round(2 * H * (W // 4) / (3 * W))
    px, py = W - pw - 10, H - ph - 10
    assert {rgb(px, py + ph // 2), rgb(px + pw - 1, py + ph // 2), rgb(px + pw // 2, py)} == {(255, 255, 255)}


def test_the_quick_start_runs_and_draws(tmp_path):
    doc = open(os.path.join(ROOT, "docs", "api.md")).read()
    code = re.search(r"## Quick start\n.*?```python\n(.*?)```", doc, re.S)[1]
    (tmp_path / "quickstart.py").write_text(code.replace("quickstart.png", "shot.png"))
    # a complete runtime: RegisterInstancesDict has nothing to warn about
    _, rgb = run(tmp_path, "-W", "error:RegisterInstancesDict:RuntimeWarning", "quickstart.py")
    assert rgb(40, 120) == (255, 200, 40)  # the first ball, drawn without views
    # the HUD panel: the gradient row beside it, mixed with black at 160
    assert rgb(20, 20) == tuple(int(fill_mix(np.uint32(lanes(rgb(200, 20))), 0, 160)).to_bytes(3, "big"))
