"""The sample runtime, run as a user runs it, and checked where its picture is known.

The scene's layout is fixed by the seed; only the particles differ from run
to run, and the regions below are out of their reach: the HUD panel (drawn
last), the bottom row of ground tiles (nothing moves below the grass) and the
overview's frame.
"""
import os
import shutil
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


def run_demo(tmp_path, *args, wrapper=(), env=None):
    shot = tmp_path / "shot.png"
    cmd = [*wrapper, sys.executable, os.path.join(ROOT, "demo", "main.py"),
           "--screenshot", str(shot), "--size", f"{W}x{H}", "--seed", "3", *args]
    out = subprocess.run(cmd, env=env or dict(os.environ, SDL_VIDEODRIVER="dummy"),
                         capture_output=True, text=True, timeout=120)
    assert out.returncode == 0, out.stdout + out.stderr
    return pygame.image.load(str(shot)), out.stdout


def rgb(image, x, y):
    return tuple(image.get_at((x, y)))[:3]


def check_known_regions(image, tolerance):
    assert image.get_size() == (W, H)
    # The view starts clamped to the room's bottom-left corner: screen row H - 8
    # is the earth row of tiles, tile column 0 (tileset tile 1).
    tileset = scene.make_tileset()
    for x in (4, 8, 20):
        assert rgb(image, x, H - 8) == rgb(tileset, scene.TILE + x, scene.TILE - 8)
    # The translucent gold strip over the opaque panel, by the fill's lane rule at alpha 0.5.
    strip = int(fill_mix(int.from_bytes(bytes(PANEL), "big"), int.from_bytes(bytes(GOLD), "big"),
                         int(0.5 * 255))).to_bytes(3, "big")
    for x in (40, 200, 275):
        np.testing.assert_allclose(rgb(image, x, 50), tuple(strip), atol=tolerance)
    assert rgb(image, 12, 12) == PANEL
    # The overview's white frame, a quarter of the width, 10 pixels from the corner.
    pw = W // 4
    ph = round(2 * H * pw / (3 * W))
    px, py = W - pw - 10, H - ph - 10
    for x, y in ((px, py + ph // 2), (px + pw - 1, py + ph // 2), (px + pw // 2, py)):
        assert rgb(image, x, y) == (255, 255, 255)


@pytest.mark.parametrize("extra,tolerance,line", [
    ((), 0, "korvel: 2 frames"), (("--pure-python",), 2, "plain Python: 2 frames")])
def test_headless_runs_draw_the_scene(tmp_path, extra, tolerance, line):
    image, stdout = run_demo(tmp_path, "--headless", "--frames", "2", *extra)
    check_known_regions(image, tolerance)
    assert line in stdout
    assert extra or "Room_Draw" in stdout


@pytest.mark.skipif(not shutil.which("xvfb-run"), reason="xvfb-run is not installed")
def test_window_mode_under_a_virtual_display(tmp_path):
    env = {k: v for k, v in os.environ.items() if k not in ("SDL_VIDEODRIVER", "LD_PRELOAD")}
    # The sanitizer runtimes are for the interpreter, not for the X server.
    inner = ["env", "LD_PRELOAD=" + os.environ["LD_PRELOAD"]] if "LD_PRELOAD" in os.environ else []
    image, stdout = run_demo(tmp_path, "--frames", "3",
                             wrapper=["xvfb-run", "-a", "-s", "-screen 0 640x480x24", *inner], env=env)
    check_known_regions(image, tolerance=0)
    assert "3 frames" in stdout


@pytest.mark.parametrize("args,error", [
    (("--size", "64x64"), None), (("--size", "320x200", "--pure-python"), None),
    (("--size", "63x200"), "at least 64x64"), (("--frames", "0"), "give a number of frames")])
def test_every_size_the_help_allows_runs_and_the_rest_is_refused(tmp_path, args, error):
    cmd = [sys.executable, os.path.join(ROOT, "demo", "main.py"), "--headless", "--frames", "2",
           "--screenshot", str(tmp_path / "shot.png"), *args]
    out = subprocess.run(cmd, env=dict(os.environ, SDL_VIDEODRIVER="dummy"),
                         capture_output=True, text=True, timeout=120)
    assert (out.returncode, error and error in out.stderr) == ((2, True) if error else (0, None))
