"""TamRoom and RoomTileData: fields, numbers, forwarding to the runtime, and
the hookup that registers the runtime's callables."""
import gc
import sys
import types
import warnings

import pytest

import korvel
import standins
from test_pickling import ROOM_INTS, ROOM_ORDER, TILE_FIELDS

OBJECT_FIELDS = [n for n in ROOM_ORDER if n not in ROOM_INTS and n != "frame_duration"]
LISTS = ["view_" + n for n in ("xview", "yview", "object", "hborder", "vborder", "wview",
                               "hview", "xport", "yport", "wport", "hport")]


class Released:
    """Records its field's name when the room releases it."""
    log = []

    def __init__(self, field):
        self.field = field

    def __del__(self):
        Released.log.append(self.field)


def test_a_room_is_zeroed_and_visits_and_releases_its_object_fields_in_their_orders():
    room = korvel.TamRoom()
    assert all(getattr(room, n) == 0 if n in ROOM_INTS else getattr(room, n) is None
               for n in OBJECT_FIELDS + ROOM_INTS)
    for name, bad in [("id", "x"), ("frame_duration", "x"), ("view_current", None)]:
        with pytest.raises(TypeError):
            setattr(room, name, bad)
    for name in OBJECT_FIELDS:
        setattr(room, name, Released(name))
    lists = LISTS + ["background_index", "instances", "tiles"] + [
        n for n in ROOM_ORDER if n.endswith("_objects")]
    cached = ["cached_bg", "cached_bg_scaled"]
    assert [o.field for o in gc.get_referents(room)] == (
        ["name", "room_caption", "creation_code"] + lists + cached)
    Released.log = []
    del room
    assert Released.log == (
        ["name", "room_caption", "creation_code"] + [f"bg{i}" for i in range(8)] + lists + cached
        + [f"background_{n}" for n in ("x", "y", "visible", "xscale", "yscale", "hspeed",
                                       "vspeed", "blend", "alpha", "htiled", "vtiled", "width",
                                       "height")]
        + ["initial_view_data", "view_visible", "creation_code_compiled"])


def test_rooms_and_tiles_convert_and_compare_as_their_numbers(runtime):
    rooms = runtime[0].game.rooms = [korvel.TamRoom() for _ in range(3)]
    assert [int(r) for r in rooms] == [0, 1, 2]
    assert (float(rooms[2]), str(rooms[2])) == (2.0, "2")
    assert rooms[0] < rooms[1] and rooms[2] == 2 and rooms[1] != rooms[2] and rooms[1] >= 1
    assert str(korvel.TamRoom()) == "-1"
    with pytest.raises(TypeError):
        rooms[0] < None
    tile = korvel.RoomTileData()
    assert [getattr(tile, n) for n in TILE_FIELDS] == [0] * 10
    tile.id = 73
    assert (int(tile), float(tile), str(tile)) == (73, 73.0, "73")
    assert tile == 73 and tile < 74 and not tile < 73.9 and sorted([80, tile, 5]) == [5, 73, 80]


@pytest.mark.parametrize("state,error,kept", [
    ((1, 2, 3), IndexError, [1, 2, 3]), ((1, "two", 3), TypeError, [1]),
    ("0123456789", TypeError, []), (None, TypeError, [])])
def test_a_bad_tile_state_fails_after_the_fields_it_could_read(state, error, kept):
    tile = korvel.RoomTileData()
    with pytest.raises(error):
        tile.__setstate__(state)
    assert [getattr(tile, n) for n in TILE_FIELDS] == kept + [0] * (10 - len(kept))


# method, arguments, what the runtime's Room_<method> receives after the room
FORWARDED = [(m, (), ()) for m in ("Create", "InitializeBackgrounds", "ResortDrawnObjects",
                                   "StepAlarms", "MoveInstances", "HandleCollisions",
                                   "StepEvents", "RenderBackground", "Leave")] + [
    ("Compile", (1, 2, 3), ()), ("AddInstance", ("inst", "extra"), ("inst",)),
    ("AddDrawnInstance", ("inst",), ("inst",)), ("SetBackgroundIndex", ("a", "b"), ("a", "b")),
    ("DrawBackgrounds", ("surface", 1, 2.5), ("surface", 1, 2.5)),
] + [(m, ("ev",), ("ev",)) for m in ("MouseButtonDown", "MouseButtonUp", "HandleKeyrelease",
                                      "HandleKeypress")]


@pytest.mark.parametrize("method,args,received", FORWARDED)
def test_room_methods_forward_to_the_runtime(runtime, method, args, received):
    handler = getattr(runtime[0], "Room_" + method)
    handler.result = result = object()
    room = korvel.TamRoom()
    assert getattr(room, method)(*args) is result
    assert handler.calls == [(room,) + received]
    handler.result = KeyError("step")  # the runtime's exception passes through
    with pytest.raises(KeyError, match="step"):
        getattr(room, method)(*args)


def test_a_handler_is_the_one_registered_last_and_a_missing_one_raises(runtime):
    tam6, _ = runtime
    room = korvel.TamRoom()
    old = tam6.Room_StepEvents
    tam6.Room_StepEvents = new = standins.Recorder("new", result=7)
    assert room.StepEvents() is None  # still the registered one
    standins.register()
    assert room.StepEvents() == 7
    assert (len(old.calls), new.calls) == (1, [(room,)])
    del tam6.Room_Leave
    with warnings.catch_warnings():
        warnings.simplefilter("ignore")
        standins.register()
    with pytest.raises(RuntimeError, match="Room_Leave"):
        room.Leave()


@pytest.mark.parametrize("removed,replaced,expected", [
    ((), False, None),
    (("Room_Leave",), False, "RegisterInstancesDict: Not found: tam6.Room_Leave. Define"),
    ((), True, "RegisterInstancesDict: korvel was imported before the runtime's tam6"),
    (("pygame",), True, "before `import korvel`. Not found: tamapi.pygame.draw.rect, "
                        "tamapi.pygame.Surface. Define"),
])
def test_register_says_in_one_warning_what_the_runtime_lacks(runtime, monkeypatch, removed,
                                                               replaced, expected):
    tam6, tamapi = runtime
    for name in removed:
        monkeypatch.delattr(tam6 if hasattr(tam6, name) else tamapi, name)
    if replaced:  # the runtime's own module arrived after korvel bound its placeholder
        monkeypatch.setitem(sys.modules, "tam6", types.ModuleType("tam6"))
    with warnings.catch_warnings(record=True) as caught:
        warnings.simplefilter("always")
        assert korvel.RegisterInstancesDict({}, object, object, object) is None
    messages = [str(w.message) for w in caught]
    assert len(messages) == (expected is not None)
    for m in messages:
        assert expected in m
        assert ("import korvel" in m, "Not found" in m) == (replaced, bool(removed))
