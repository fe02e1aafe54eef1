import os
import subprocess
import sys

import pygame
import pytest

import korvel


def test_module_functions_ignore_arguments_and_keep_the_display_whatever_the_count(capfd, screen):
    assert korvel.breakable(1, "x") is None and korvel.breakable() is None
    # SDL's count of initialisations wraps after 255; the window must survive.
    for _ in range(300):
        assert korvel.init_subsystems(1, "x") is None
    assert capfd.readouterr().out == "breakable\n" * 2
    pytest.raises(SystemError, korvel.draw_sprite_ext, 1, 2, 3)  # disabled, and says why
    assert capfd.readouterr().err == ("This does not behave properly on Mac, and does not "
                                      "provide the desired speed boost on Linux.\n")
    assert pygame.display.get_surface() is screen


@pytest.mark.parametrize("pin", ["mmx", "Scalar"])  # unknown, and not its name's case
def test_KORVEL_ISA_naming_no_runnable_kernel_set_stops_the_import(pin):
    run = subprocess.run([sys.executable, "-c", "import korvel"], capture_output=True, text=True,
                         env=dict(os.environ, KORVEL_ISA=pin))
    last = run.stderr.strip().splitlines()[-1]
    assert last.startswith(f"ImportError: KORVEL_ISA={pin} names no kernel set")
    # The set this run pinned (or the scalar one) is among those offered.
    assert (os.environ.get("KORVEL_ISA") or "scalar") in last.split(": ")[-1].split(", ")
