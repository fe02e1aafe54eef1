"""The sample runtime, run as a user runs it: headless, a few frames, a screenshot."""
import os
import subprocess
import sys

import pygame

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))


def run_demo(tmp_path, *args):
    shot = tmp_path / "shot.png"
    env = dict(os.environ, SDL_VIDEODRIVER="dummy", SDL_AUDIODRIVER="dummy")
    out = subprocess.run([sys.executable, os.path.join(ROOT, "demo", "main.py"), "--headless",
                          "--screenshot", str(shot), *args],
                         env=env, capture_output=True, text=True, timeout=60)
    assert out.returncode == 0, out.stderr
    return pygame.image.load(str(shot)), out.stdout


def test_headless_run_writes_a_screenshot_of_the_asked_size(tmp_path):
    image, stdout = run_demo(tmp_path, "--frames", "3", "--size", "200x120", "--seed", "5")
    assert image.get_size() == (200, 120)
    assert "3 frames" in stdout
