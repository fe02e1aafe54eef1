"""The quick start of docs/api.md, copied into a file and run as a user would."""
import os
import re
import subprocess
import sys

import numpy as np
import pygame

from pixelmodel import fill_mix


def test_the_quick_start_runs_and_draws(tmp_path):
    doc = open(os.path.join(os.path.dirname(__file__), "..", "docs", "api.md")).read()
    (tmp_path / "quickstart.py").write_text(re.search(r"## Quick start\n.*?```python\n(.*?)```", doc, re.S)[1])
    # a complete runtime: RegisterInstancesDict has nothing to warn about
    out = subprocess.run([sys.executable, "-W", "error:RegisterInstancesDict:RuntimeWarning", "quickstart.py"],
                         cwd=tmp_path, capture_output=True, text=True, timeout=120,
                         env=dict(os.environ, SDL_VIDEODRIVER="dummy", PYTHONPATH=os.pathsep.join(sys.path)))
    assert out.returncode == 0, out.stderr
    image = pygame.image.load(str(tmp_path / "quickstart.png"))
    assert image.get_at((40, 120))[:3] == (255, 200, 40)  # the first ball, drawn without views
    # the HUD panel: the gradient row beside it, mixed with black at 160
    beside = int.from_bytes(bytes(image.get_at((200, 20))[:3]), "big")
    assert image.get_at((20, 20))[:3] == tuple(int(fill_mix(np.uint32(beside), 0, 160)).to_bytes(3, "big"))
