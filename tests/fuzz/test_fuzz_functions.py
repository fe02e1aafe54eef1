"""Every module function called with hostile arguments, alone and in random
sequences that share their objects and change the stored screen in between."""
import sys

import pygame
import pytest
from hypothesis import given
from hypothesis import strategies as st

import hostile as h
import korvel
import scenes
from harness import TRACE, balanced_call

# Argument kinds: a strategy of values of that kind, hostile edges included.
KINDS = {
    "any": h.anything(),
    "surface": h.mostly(h.weighted((9, h.surfaces), (1, h.display_surfaces))),
    "small_surface": h.mostly(h.small_surfaces),
    "i": h.mostly(h.int32s),
    "coord": h.mostly(h.coords),
    "I": h.mostly(h.uint32s),
    "f": h.mostly(h.floats),
    "fcoord": h.mostly(h.fcoords),
    "factor": h.mostly(h.factors),
    "life": h.mostly(scenes.lives),
    "blend": h.mostly(scenes.blend_modes),
    "pt": h.mostly(scenes.particle_types()),
    "particle": h.mostly(scenes.particles()),
    "counter": h.mostly(scenes.counters),
    "sprite": h.mostly(scenes.sprites()),
    "room": h.mostly(scenes.rooms()),
}

# name -> (argument kinds, positions whose references the function may keep
# or give back by design). The order is the method table's.
FUNCTIONS = {
    "breakable": (["any", "any"], ()),
    "fast_draw_gradient_v": (["surface", "coord", "coord", "coord", "coord", "I", "I", "i"], ()),
    "fast_draw_gradients_vc": (["surface", "coord", "coord", "coord", "coord", "I", "I", "f",
                                "I", "f"], ()),
    "fast_draw_gradients_vv": (["surface", "coord", "coord", "coord", "coord", "I", "I", "f",
                                "I", "I", "f"], ()),
    "fast_draw_gradients_vcv": (["surface", "coord", "coord", "coord", "coord", "I", "I", "f",
                                 "I", "f", "I", "I", "f"], ()),
    "fast_draw_gradients_vcvvc": (["surface", "coord", "coord", "coord", "coord", "I", "I", "f",
                                   "I", "f", "I", "I", "f", "I", "I", "f", "I", "f"], ()),
    "fast_draw_rectangle_color": (["coord", "coord", "coord", "coord", "I", "I", "I", "I", "f",
                                   "i"], ()),
    "draw_rectangle": (["fcoord", "fcoord", "fcoord", "fcoord", "f"], ()),
    "fill_translucent": (["surface", "coord", "coord", "coord", "coord", "i", "i"], ()),
    "init_subsystems": (["any"], ()),
    "CParticle_new": (["pt", "fcoord", "fcoord"], ()),
    "CParticle_new_size_color": (["pt", "fcoord", "fcoord", "factor", "i"], ()),
    "CParticle_step": (["particle"], ()),
    "CParticle_dec_ttl": (["particle"], ()),
    "CParticle_dec_ttl_and_render": (["particle", "coord", "coord"], ()),
    "CParticle_attach_beancounter": (["particle", "counter"], (1,)),
    "CParticle_type_cache_clear": (["pt"], ()),
    "flip_vh": (["surface"], ()),
    "flip_v": (["surface"], ()),
    "flip_h": (["surface"], ()),
    "part_type_alpha2": (["pt", "f", "f"], ()),
    "part_type_alpha3": (["pt", "f", "f", "f"], ()),
    "part_type_blend": (["pt", "blend"], ()),
    "part_type_color3": (["pt", "i", "i", "i"], ()),
    "part_type_create": (["any"], ()),
    "part_type_direction": (["pt", "f", "f", "f", "f"], ()),
    "part_type_gravity": (["pt", "f", "f"], ()),
    "part_type_life": (["pt", "life", "life"], ()),
    "part_type_orientation": (["pt", "f", "f", "f", "f", "f"], ()),
    "part_type_scale": (["pt", "factor", "factor"], ()),
    "part_type_shape": (["pt", "small_surface"], (1,)),
    "part_type_size": (["pt", "factor", "factor", "factor", "factor"], ()),
    "part_type_speed": (["pt", "f", "f", "f", "f"], ()),
    "part_type_sprite": (["pt", "sprite", "f", "f", "f"], (1,)),
    "rotoscale": (["small_surface", "factor", "factor", "f"], ()),
    "scale": (["small_surface", "factor", "factor"], ()),
    "set_SDL_screen": (["surface"], (0,)),
    "RegisterInstancesDict": (["any", "any", "any", "any"], (0, 1, 2, 3)),
    "TamSprite_from_surface": (["surface", "any"], ()),
    "Room_Draw": (["room", "surface"], ()),
    "draw_sprite_ext": (["any", "any"], ()),
}
PRESENT = [name for name in FUNCTIONS if hasattr(korvel, name)]

# The stored screen: mostly the 32-bit kind a display has, sometimes not.
screens = h.weighted((3, st.tuples(h.pick([(64, 48), (8, 8), (1, 1), (300, 1)]),
                                   h.pick([(32, 0), (32, "alpha")]), st.booleans(),
                                   st.integers(0, 255))),
                     (1, h.surface_specs))


def store_screen(data):
    """A new stored screen that only korvel holds, so that a stale pointer to
    it would point at freed memory; or the display's own surface, after which
    the display may be set up again or closed without telling korvel."""
    how = h.draw(data, h.pick(["surface"] * 6 + ["display", "reopened", "closed"]), "screen kind")
    if how == "surface":
        recipe = h.draw(data, screens, label="screen")
        if TRACE:
            print(f"fuzz screen: {recipe}", file=sys.stderr, flush=True)
        korvel.set_SDL_screen(h.build_surface(recipe))
        return
    h.open_display()
    korvel.set_SDL_screen(pygame.display.get_surface())
    if how == "reopened":
        pygame.display.set_mode(h.draw(data, h.pick([(80, 60), (8, 8), (64, 48)])), 0, 32)
    elif how == "closed":
        pygame.display.quit()


def prepare_runtime(data):
    """tamapi.room (read by draw_rectangle) and, sometimes, a misbehaving runtime."""
    _, tamapi = h.standins.modules()
    vars(tamapi)["room"] = h.draw(data, KINDS["room"], label="tamapi.room")
    h.apply_mutations(h.draw(data, st.lists(h.pick(h.MUTATIONS), max_size=2),
                                label="runtime"))


def draw_call(data, name):
    kinds, keeps = FUNCTIONS[name]
    args = [h.draw(data, KINDS[k], label=f"{name} arg {i}") for i, k in enumerate(kinds)]
    shape = h.draw(data, h.pick(["exact"] * 27 + ["fewer", "more", "keywords"]),
                      label="call shape")
    kwargs = {}
    if shape == "fewer" and args:
        args.pop(h.draw(data, st.integers(0, len(args) - 1)))
    elif shape == "more":
        args.append(h.draw(data, h.anything()))
    elif shape == "keywords":
        kwargs = {"x": h.draw(data, h.anything())}
    return args, kwargs, keeps


@pytest.mark.parametrize("name", PRESENT)
@given(data=st.data())
def test_function_survives_hostile_arguments(name, data):
    h.fresh_example()
    store_screen(data)
    prepare_runtime(data)
    args, kwargs, keeps = draw_call(data, name)
    for _ in range(h.draw(data, st.integers(1, 3), label="calls")):
        balanced_call(getattr(korvel, name), args, kwargs, keeps)


@given(data=st.data())
def test_sequences_of_calls_survive(data):
    """Calls in any order, sharing objects between them, with the screen and
    the runtime changed in between."""
    h.fresh_example()
    store_screen(data)
    pool = []
    for _ in range(h.draw(data, st.integers(1, 10), label="steps")):
        step = h.draw(data, h.pick(["call"] * 6 + ["screen", "runtime", "reuse"]))
        if step == "screen":
            store_screen(data)
        elif step == "runtime":
            prepare_runtime(data)
        else:
            name = h.draw(data, h.pick(PRESENT), label="function")
            args, kwargs, keeps = draw_call(data, name)
            if step == "reuse" and pool and args:
                args[0] = h.draw(data, h.pick(pool), label="reused")
            pool.extend(a for a in args if h.is_korvel_object(a))
            balanced_call(getattr(korvel, name), args, kwargs, keeps)


def test_every_public_name_is_fuzzed():
    import test_fuzz_types
    public = {n for n in dir(korvel) if not n.startswith("_")}
    assert public <= set(FUNCTIONS) | set(test_fuzz_types.TYPES)
