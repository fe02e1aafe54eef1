import inspect
import os
import subprocess
import sys

import pygame
import pytest

import korvel
from pixelmodel import fill_mix


@pytest.mark.parametrize("args", [(), (1, "x")])
def test_breakable_and_init_subsystems_ignore_arguments(capfd, args):
    assert korvel.breakable(*args) is None and korvel.init_subsystems(*args) is None
    assert capfd.readouterr().out == "breakable\n"


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


@pytest.mark.parametrize("pin", ["mmx", "Scalar", "avx512"])
def test_KORVEL_ISA_naming_no_runnable_kernel_set_stops_the_import(pin):
    env = dict(os.environ, KORVEL_ISA=pin)
    run = subprocess.run([sys.executable, "-c", "import korvel"], env=env, capture_output=True, text=True)
    last = run.stderr.strip().splitlines()[-1]
    assert last.startswith(f"ImportError: KORVEL_ISA={pin} names no kernel set")
    # The set this run pinned (or the scalar one) is among those offered.
    assert (os.environ.get("KORVEL_ISA") or "scalar") in last.split(": ")[-1].split(", ")


# The doc string of every module function, as scripts and help() see it.
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
    "fill_translucent": "Draw a rectangle, possibly with alpha blending.",
    "init_subsystems": "Initialize the subsystem variables.",
    "CParticle_new": "Create a new particle.",
    "CParticle_new_size_color": "Create a new particle of a given size and color.",
    "CParticle_step": "Per-particle step function.",
    "CParticle_dec_ttl": "Decrement the particle TTL and return the new value.",
    "CParticle_dec_ttl_and_render":
        "Decrement the particle TTL and render if the particle still should exist.",
    "CParticle_attach_beancounter":
        "Attach a beancounter to the particle.  The beancounter will be increased.  Destroying "
        "the particle will decrease it.  If there is a preexisting beancounter, it will be "
        "decreased.",
    "CParticle_type_cache_clear": "Remove cache of prerendered particle surfaces for this type.",
    "flip_vh": "Flip a surface.",
    "flip_v": "Flip a surface.",
    "flip_h": "Flip a surface.",
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
    "rotoscale": "Rotate and scale a Pygame surface; return a new Pygame surface.",
    "scale": "Scale a Pygame surface.",
    "set_SDL_screen": "Store the SDL screen in a C variable.",
    "RegisterInstancesDict": "Store data for InstanceList.",
    "TamSprite_from_surface": "Create a new TamSprite from a Pygame surface.",
    "Room_Draw": "Draw the current room.",
    "draw_sprite_ext": "Draw a sprite.",
}


def test_every_function_and_method_has_a_signature_and_keeps_its_doc():
    functions = {n: f for n, f in vars(korvel).items() if callable(f) and not isinstance(f, type)}
    assert {n: f.__doc__ for n, f in functions.items()} == DOCS
    methods = [m for t in vars(korvel).values() if isinstance(t, type)
               for m in vars(t).values() if type(m).__name__ == "method_descriptor"]
    for f in [*functions.values(), *methods]:
        assert inspect.signature(f).parameters is not None
        assert "\n--\n" not in (f.__doc__ or "")
