import sys

import pygame
import pytest

import korvel
from pixelmodel import fill_mix

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
    "CParticle_new": "Create a new particle.",
    "CParticle_new_size_color": "Create a new particle of a given size and color.",
    "CParticle_step": "Per-particle step function.",
    "CParticle_dec_ttl": "Decrement the particle TTL and return the new value.",
    "CParticle_dec_ttl_and_render":
        "Decrement the particle TTL and render if the particle still should exist.",
    "CParticle_attach_beancounter":
        "Attach a beancounter to the particle.  The beancounter will be increased.  "
        "Destroying the particle will decrease it.  If there is a preexisting beancounter, "
        "it will be decreased.",
    "CParticle_type_cache_clear": "Remove cache of prerendered particle surfaces for this type.",
    "part_type_alpha2": "Set start and end alphas, linear interpolation.",
    "part_type_alpha3": "Set start/half/end alphas.",
    "part_type_blend": "Set particle blend mode flag.",
    "part_type_color3": "Lowlevel color3 implementation.  Expects ints.",
    "part_type_create": "C implementation of part_type_create.",
    "part_type_direction": "Set the direction min/max/incr/wiggle.",
    "part_type_gravity": "Set the gravity strength and angle.",
    "part_type_life": "Set the particle minimum and maximum lifespan in frames.",
    "part_type_orientation":
        "Set the orientation min/max/incr/wiggle/relativity for this particle type.",
    "part_type_scale": "Set the x and y scale factors for the particle type.",
    "part_type_shape": "Set the shape of a particle type.",
    "part_type_size": "Set min/max/incr/wiggle for particle size.",
    "part_type_speed": "Set min/max/incr/wiggle por particle speed.",
    "part_type_sprite": "Set particle type to use a sprite/animated/stretched/random",
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


def test_init_subsystems_any_number_of_times_keeps_the_display(screen):
    # SDL's count of initialisations wraps after 255; the window must survive.
    for _ in range(300):
        korvel.init_subsystems()
    assert pygame.display.get_surface() is screen
    korvel.fill_translucent(screen, 0, 0, 4, 4, 0xFFFFFF, 128)
    grey = int(fill_mix(0, 0xFFFFFF, 128)) & 0xFF
    assert screen.get_at((1, 1))[:3] == (grey, grey, grey)


def particle_at(x, y):
    pt = korvel.part_type_create()
    shape = pygame.Surface((1, 1), 0, 32)
    shape.fill((255, 255, 255))
    korvel.part_type_shape(pt, shape)
    return korvel.CParticle_new(pt, float(x), float(y))


@pytest.mark.skipif(not hasattr(korvel, "CParticle_dec_ttl_and_render"), reason="no particles")
def test_drawing_follows_a_display_set_up_again_without_set_SDL_screen(runtime, screen):
    # pygame frees the display's old SDL surface; korvel must not draw into it.
    bigger = pygame.display.set_mode((100, 80), 0, 32)
    bigger.fill((0, 0, 0))
    korvel.CParticle_dec_ttl_and_render(particle_at(90, 70), 0, 0)
    assert bigger.get_at((90, 70))[:3] == (255, 255, 255)
    sprite = korvel.TamSprite_from_surface(pygame.Surface((2, 2), 0, 24))
    assert sprite.subimages[0].get_bitsize() == bigger.get_bitsize()


@pytest.mark.parametrize("call", [
    lambda: korvel.CParticle_dec_ttl_and_render(particle_at(1, 1), 0, 0),
    lambda: korvel.TamSprite_from_surface(pygame.Surface((2, 2), 0, 32)),
], ids=["particle", "sprite"])
def test_drawing_after_the_display_closed_raises(runtime, screen, call):
    pygame.display.quit()
    try:
        with pytest.raises(RuntimeError, match="call set_SDL_screen"):
            call()
    finally:
        pygame.display.init()
        korvel.set_SDL_screen(pygame.display.set_mode((64, 48), 0, 32))
