# TamRoom: fields, forwarding to the runtime, and the hookup that
# registers the runtime's callables.
import contextlib
import gc
import sys
import types
import warnings

import pytest

import korvel
from test_pickling import ROOM_INTS, ROOM_ORDER, VIEW

OBJECT_FIELDS = [n for n in ROOM_ORDER if n not in ROOM_INTS and n != "frame_duration"]


class Released(str):  # a field's name, logged when the room releases it
    log = []

    def __del__(self):
        Released.log.append(str(self))


def test_a_room_is_zeroed_and_visits_and_releases_its_object_fields_in_their_orders():
    room = korvel.TamRoom()
    assert [getattr(room, n) for n in OBJECT_FIELDS + ROOM_INTS] == [None] * len(OBJECT_FIELDS) + [0] * len(ROOM_INTS)
    for name in OBJECT_FIELDS:
        setattr(room, name, Released(name))
    visited = ["name", "room_caption", "creation_code"] + ["view_" + n for n in VIEW] + [
        "background_index", "instances", "tiles"] + [n for n in ROOM_ORDER if n.endswith("_objects")] + [
        "cached_bg", "cached_bg_scaled"]
    assert [str(o) for o in gc.get_referents(room)] == visited
    Released.log = []
    del room
    backgrounds = "x y visible xscale yscale hspeed vspeed blend alpha htiled vtiled width height".split()
    assert Released.log == visited[:3] + [f"bg{i}" for i in range(8)] + visited[3:] + [
        "background_" + n for n in backgrounds] + ["initial_view_data", "view_visible", "creation_code_compiled"]


# method, arguments, what the runtime's Room_<method> receives after the room
FORWARDED = [(m, (), ()) for m in "Create InitializeBackgrounds ResortDrawnObjects StepAlarms MoveInstances "
             "HandleCollisions StepEvents RenderBackground Leave".split()] + [
    ("Compile", (1, 2, 3), ()), ("AddInstance", ("inst", "extra"), ("inst",)), ("AddDrawnInstance", ("i",), ("i",)),
    ("SetBackgroundIndex", ("a", "b"), ("a", "b")), ("DrawBackgrounds", ("surface", 1, 2.5), ("surface", 1, 2.5))] + [
    (m, ("ev",), ("ev",)) for m in "MouseButtonDown MouseButtonUp HandleKeyrelease HandleKeypress".split()]


def test_room_methods_forward_to_the_runtime(runtime):
    room = korvel.TamRoom()
    for method, args, received in FORWARDED:
        handler = getattr(runtime[0], "Room_" + method)
        handler.result = result = object()
        assert getattr(room, method)(*args) is result and handler.calls == [(room,) + received]
        handler.result = KeyError("step")  # the runtime's exception passes through
        pytest.raises(KeyError, getattr(room, method), *args).match("step")


@pytest.mark.parametrize("removed,replaced,expected", [
    ((), False, None), (("Room_Leave",), False, "RegisterInstancesDict: Not found: tam6.Room_Leave. Define"),
    ((), True, "RegisterInstancesDict: korvel was imported before the runtime's tam6"),
    (("pygame",), True, "before `import korvel`. Not found: tamapi.pygame.draw.rect, tamapi.pygame.Surface. Define")])
def test_register_says_in_one_warning_what_the_runtime_lacks(runtime, monkeypatch, removed, replaced, expected):
    (tam6, tamapi), room, old = runtime, korvel.TamRoom(), runtime[0].Room_Leave
    for name in removed:
        monkeypatch.delattr(tam6 if hasattr(tam6, name) else tamapi, name)
    if replaced:  # the runtime's own module arrived after korvel bound its placeholder
        monkeypatch.setitem(sys.modules, "tam6", types.ModuleType("tam6"))
    with warnings.catch_warnings(record=True) as caught:
        warnings.simplefilter("always")
        assert korvel.RegisterInstancesDict({}, object, object, object) is None
    messages = [str(w.message) for w in caught]
    assert len(messages) == (expected is not None) and all(expected in m for m in messages)
    assert all(("import korvel" in m, "Not found" in m) == (replaced, bool(removed)) for m in messages)
    missing = removed == ("Room_Leave",)  # the handlers are the ones registered last; a missing one raises
    with pytest.raises(RuntimeError, match="Room_Leave") if missing else contextlib.nullcontext():
        room.Leave()
    assert len(old.calls) == (not missing)
