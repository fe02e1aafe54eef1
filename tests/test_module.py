import sys

import pygame
import pytest

import korvel

DOCS = {
    "breakable": "A hook for GDB.",
    "fast_draw_gradient_v": "Draw a vertical gradient, with alpha blending.",
    "fast_draw_gradients_vc": "Draw a vertical translucent gradient, then fill translucently.",
    "fast_draw_gradients_vv": "Draw two vertical translucent gradients.",
    "fast_draw_gradients_vcv":
        "Draw a vertical gradient, a constant, and another vgrad, each alphablent.",
    "fast_draw_gradients_vcvvc": "More complex gradients.",
    "fast_draw_rectangle_color": "C core for draw_rectangle_color.",
    "draw_rectangle": "Draw a rectangle.",
    "flip_vh": "Flip a surface.",
    "flip_v": "Flip a surface.",
    "flip_h": "Flip a surface.",
    "rotoscale": "Rotate and scale a Pygame surface; return a new Pygame surface.",
    "scale": "Scale a Pygame surface.",
    "draw_sprite_ext": "Draw a sprite.",
    "fill_translucent": "Draw a rectangle, possibly with alpha blending.",
    "init_subsystems": "Initialize the subsystem variables.",
    "set_SDL_screen": "Store the SDL screen in a C variable.",
    "RegisterInstancesDict": "Store data for InstanceList.",
}


@pytest.mark.parametrize("name,doc", sorted(DOCS.items()))
def test_method_table_entries_and_docs(name, doc):
    assert getattr(korvel, name).__doc__ == doc


def test_runtime_modules_are_the_registered_ones():
    # korvel bound them at import; the runtime fills these same objects later.
    assert "tam6" in sys.modules and "tamapi" in sys.modules


@pytest.mark.parametrize("args", [(), (1, 2)])
def test_breakable_prints_and_ignores_arguments(capfd, args):
    assert korvel.breakable(*args) is None
    assert capfd.readouterr().out == "breakable\n"


def test_init_subsystems_ignores_arguments():
    assert korvel.init_subsystems() is None
    assert korvel.init_subsystems(1, "x") is None


def test_set_SDL_screen_holds_exactly_one_reference(screen):
    before = sys.getrefcount(screen)
    korvel.set_SDL_screen(screen)
    korvel.set_SDL_screen(screen)
    assert sys.getrefcount(screen) == before
    other = pygame.Surface((4, 4), 0, 32)
    korvel.set_SDL_screen(other)
    assert sys.getrefcount(screen) == before - 1
    korvel.set_SDL_screen(screen)


@pytest.mark.parametrize("args,error", [((), TypeError), ((1, 2), TypeError),
                                        ((None,), TypeError), (("screen",), TypeError)])
def test_set_SDL_screen_rejects_bad_arguments(screen, args, error):
    before = sys.getrefcount(screen)
    with pytest.raises(error):
        korvel.set_SDL_screen(*args)
    assert sys.getrefcount(screen) == before
