import os
import subprocess
import sys

import numpy as np
import pygame
import pytest

import korvel
from pixelmodel import particle_type, render, surface_like


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


def test_drawing_follows_a_display_set_up_again_and_raises_once_it_is_closed(runtime, screen):
    # pygame frees the display's old SDL surface; korvel must not draw into it.
    bigger = pygame.display.set_mode((100, 80), 0, 32)
    bigger.fill((0, 0, 0))
    white = particle_type(surface_like(np.full((1, 1), 0xFFFFFFFF, np.uint32)))
    render(white, 90.0, 70.0)
    assert bigger.get_at((90, 70))[:3] == (255, 255, 255)
    sprite = korvel.TamSprite_from_surface(pygame.Surface((2, 2), 0, 24))
    assert sprite.subimages[0].get_bitsize() == bigger.get_bitsize()
    pygame.display.quit()
    try:
        for call, args in ((render, (white, 1.0, 1.0)),
                           (korvel.TamSprite_from_surface, (pygame.Surface((2, 2), 0, 32),))):
            with pytest.raises(RuntimeError, match="call set_SDL_screen"):
                call(*args)
    finally:
        pygame.display.init()
        korvel.set_SDL_screen(pygame.display.set_mode((64, 48), 0, 32))


@pytest.mark.parametrize("pin", ["mmx", "Scalar", "avx512"])
def test_KORVEL_ISA_naming_no_runnable_kernel_set_stops_the_import(pin):
    run = subprocess.run([sys.executable, "-c", "import korvel"], capture_output=True, text=True,
                         env=dict(os.environ, KORVEL_ISA=pin))
    last = run.stderr.strip().splitlines()[-1]
    assert last.startswith(f"ImportError: KORVEL_ISA={pin} names no kernel set")
    # The set this run pinned (or the scalar one) is among those offered.
    assert (os.environ.get("KORVEL_ISA") or "scalar") in last.split(": ")[-1].split(", ")
