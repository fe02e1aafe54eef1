"""The native entry points that other native code (and the tests, through
ctypes) call with Python objects: the sprite scale-cache builder and the
shared helpers, under hostile arguments."""
import types

import pytest
from hypothesis import given
from hypothesis import strategies as st

import hostile as h
import nativeapi
import scenes
from harness import balanced_call

sizes = st.one_of(st.integers(-40, 40), h.pick([0, 2**31 - 1, -2**31, 32767, -32768, 65536]))
names = h.pick([b"sprites", b"backgrounds", b"rooms", b"objects", b"", b"nothing"])

# name -> (argument strategies, positions that may keep a reference)
NATIVE = {
    "sprite_scalecache_add": ([h.mostly(scenes.sprites()), h.anything(), st.integers(-1, 2),
                               sizes, sizes, h.pick([0, 0, 90, -90, 45, 360, 2**31 - 1]),
                               h.anything(), h.int32s, st.integers(-5, 300), st.integers(-1, 2)],
                              (0, 1)),
    "seqi": ([h.anything(), st.integers(-3, 20)], ()),
    "membertuple": ([h.anything(), h.anything()], ()),
    "load_membertuple": ([h.mostly(scenes.rooms()), h.anything()], (0,)),
    "Object_AsInt_compare": ([h.anything(), h.anything()], ()),
    "Object_AsInt_richcompare": ([h.anything(), h.anything(), st.integers(-2, 8)], ()),
    "color_as_int": ([h.anything()], ()),
    "Game_Sequence_Index": ([h.anything(), names], ()),
    "Game_Sequence_Index_F": ([h.anything(), names], ()),
    "Game_Sequence_Index_S": ([h.anything(), names], ()),
    "GetFirstInstance": ([h.anything()], ()),
    "PushSelf": ([h.anything()], (0,)),
    "invoke": ([h.anything(), h.anything()], ()),
    "invoke_4": ([h.anything()] * 5, ()),
}
PRESENT = [n for n in NATIVE if hasattr(nativeapi, n)]


def call_args(name, args):
    if name == "load_membertuple":
        return (args[0], (args[1],))  # the method's own argument tuple
    return tuple(args)


@pytest.mark.parametrize("name", PRESENT)
@given(data=st.data())
def test_native_entry_point_survives_hostile_arguments(name, data):
    h.fresh_example()
    h.apply_mutations(h.draw(data, st.lists(h.pick(h.MUTATIONS), max_size=2), "runtime"))
    strategies, keeps = NATIVE[name]
    args = [h.draw(data, s, f"{name} arg {i}") for i, s in enumerate(strategies)]
    balanced_call(getattr(nativeapi, name), call_args(name, args), keeps=keeps)
    if name == "PushSelf":
        balanced_call(nativeapi.PopSelf, ())


def test_every_exported_helper_that_takes_objects_is_fuzzed():
    # The others take no object: a flag, a raw SDL surface, nothing, or a null callable.
    others = {"Truth", "RGBA_copy", "PopSelf", "invoke_null", "sdl_surface_pointer"}
    exported = {n for n, v in vars(nativeapi).items() if callable(v) and not n.startswith("_")
                and not isinstance(v, (type, types.ModuleType))}
    assert exported - others <= set(NATIVE)
