import gc
import sys

import pytest

import korvel
import standins

INT_FIELDS = ["id", "room_width", "room_height", "snapx", "snapy", "isogrid", "room_speed",
              "room_persistent", "bgcolor", "draw_bgcolor", "view_enabled", "numviews",
              "tile_w", "tile_h", "tile_hsep", "tile_vsep", "tile_hoffset", "tile_voffset",
              "created", "view_current"]
LISTS = ["view_xview", "view_yview", "view_object", "view_hborder", "view_vborder",
         "view_wview", "view_hview", "view_xport", "view_yport", "view_wport", "view_hport"]
BACKGROUND_LISTS = ["background_x", "background_y", "background_width", "background_height",
                    "background_xscale", "background_yscale", "background_hspeed",
                    "background_vspeed", "background_blend", "background_alpha",
                    "background_htiled", "background_vtiled", "background_visible"]
OBJECT_LISTS = ["all_objects", "drawn_objects", "deactivated_objects", "keypressed_objects",
                "keyreleased_objects", "mouse_leftpressed_objects",
                "mouse_rightpressed_objects", "collisioned_objects", "stepped_objects",
                "moving_objects", "alarmed_objects", "animated_objects", "key_objects",
                "mouse_objects"]
# The pickled state's order.
STATE_ORDER = (["id", "name", "room_width", "room_height", "snapx", "snapy", "isogrid",
                "room_speed", "room_persistent", "bgcolor", "draw_bgcolor", "room_caption",
                "creation_code"] + [f"bg{i}" for i in range(8)] + ["view_enabled", "numviews"]
               + LISTS + ["background_index", "instances", "tiles", "tile_w", "tile_h",
                          "tile_hsep", "tile_vsep", "tile_hoffset", "tile_voffset", "created"]
               + OBJECT_LISTS
               + ["cached_bg", "cached_bg_scaled", "frame_duration", "creation_code_compiled"]
               + BACKGROUND_LISTS + ["view_visible", "view_current", "initial_view_data"])
OBJECT_FIELDS = [n for n in STATE_ORDER if n not in INT_FIELDS and n != "frame_duration"]


def test_a_room_is_zeroed_pickles_every_field_in_order_and_restores_from_its_state(runtime):
    room = korvel.TamRoom()
    cls, args, state = room.__reduce__()
    assert (cls, args) == (korvel.TamRoom, ()) and [name for name, _ in state] == STATE_ORDER
    assert all(value == 0 if name in INT_FIELDS + ["frame_duration"] else value is None
               for name, value in state)
    values = {name: (i if name in INT_FIELDS else i + 0.5 if name == "frame_duration"
                     else f"value {i}") for i, name in enumerate(STATE_ORDER)}
    for name, value in values.items():
        setattr(room, name, value)
    copy = korvel.TamRoom()
    copy.__setstate__(room.__reduce__()[2])
    assert {name: getattr(copy, name) for name in STATE_ORDER} == values
    for name, bad in [("id", "x"), ("frame_duration", "x"), ("view_current", None)]:
        with pytest.raises(TypeError):
            setattr(room, name, bad)


class Released:
    """Records its field's name when the room releases it."""
    log = []

    def __init__(self, field):
        self.field = field

    def __del__(self):
        Released.log.append(self.field)


def test_a_room_visits_and_releases_its_object_fields_in_their_orders():
    room = korvel.TamRoom()
    for name in OBJECT_FIELDS:
        setattr(room, name, Released(name))
    lists = LISTS + ["background_index", "instances", "tiles"] + OBJECT_LISTS
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


def test_a_room_in_a_reference_cycle_is_collected():
    value = object()
    before = sys.getrefcount(value)
    room = korvel.TamRoom()
    room.drawn_objects = [room, value]
    room.view_visible = value
    del room
    gc.collect()
    assert sys.getrefcount(value) == before


def test_rooms_convert_and_compare_as_their_number_in_the_game(runtime):
    rooms = runtime[0].game.rooms = [korvel.TamRoom() for _ in range(3)]
    assert [int(r) for r in rooms] == [0, 1, 2]
    assert (float(rooms[2]), str(rooms[2])) == (2.0, "2")
    assert rooms[0] < rooms[1] and rooms[2] == 2 and rooms[1] != rooms[2] and rooms[1] >= 1
    assert str(korvel.TamRoom()) == "-1"
    with pytest.raises(TypeError):
        rooms[0] < None


TILE_FIELDS = ["x", "y", "background_idx", "tilex", "tiley", "w", "h", "layer_depth", "id",
               "locked"]


def test_a_tile_round_trips_through_its_state_and_converts_as_its_id():
    tile = korvel.RoomTileData()
    assert [getattr(tile, n) for n in TILE_FIELDS] == [0] * 10
    for i, name in enumerate(TILE_FIELDS):
        setattr(tile, name, 10 * i - 7)
    cls, args, state = tile.__reduce__()
    assert (cls, args, state) == (korvel.RoomTileData, (), tuple(10 * i - 7 for i in range(10)))
    copy = cls(*args)
    assert copy.__setstate__(list(state)) is None
    assert [getattr(copy, n) for n in TILE_FIELDS] == list(state)
    assert (int(tile), float(tile), str(tile)) == (73, 73.0, "73")
    assert tile == 73 and tile < 74 and not tile < 73.9 and sorted([80, tile, 5]) == [5, 73, 80]


@pytest.mark.parametrize("state,error,kept", [
    ((1, 2, 3), IndexError, [1, 2, 3]),
    ((1, "two", 3), TypeError, [1]),
    ("0123456789", TypeError, []),
])
def test_a_bad_tile_state_fails_after_the_fields_it_could_read(state, error, kept):
    tile = korvel.RoomTileData()
    with pytest.raises(error):
        tile.__setstate__(state)
    assert [getattr(tile, n) for n in TILE_FIELDS] == kept + [0] * (10 - len(kept))


# method, arguments, what the runtime's Room_<method> receives after the room
FORWARDED = [(m, (), ()) for m in ("Create", "InitializeBackgrounds", "ResortDrawnObjects",
                                   "StepAlarms", "MoveInstances", "HandleCollisions",
                                   "StepEvents", "RenderBackground", "Leave")] + [
    ("Compile", (1, 2, 3), ()),
    ("AddInstance", ("inst", "extra"), ("inst",)),
    ("AddDrawnInstance", ("inst",), ("inst",)),
    ("SetBackgroundIndex", ("a", "b"), ("a", "b")),
    ("DrawBackgrounds", ("surface", 1, 2.5), ("surface", 1, 2.5)),
] + [(m, ("ev",), ("ev",)) for m in ("MouseButtonDown", "MouseButtonUp", "HandleKeyrelease",
                                      "HandleKeypress")]


@pytest.mark.parametrize("method,args,received", FORWARDED)
def test_room_methods_forward_to_the_runtime_and_keep_nothing(runtime, method, args, received):
    handler = getattr(runtime[0], "Room_" + method)
    handler.result = result = object()
    room = korvel.TamRoom()
    before = [sys.getrefcount(o) for o in (room, result) + args]
    assert getattr(room, method)(*args) is result
    assert handler.calls == [(room,) + received]
    handler.calls.clear()
    assert [sys.getrefcount(o) for o in (room, result) + args] == before
    handler.result = KeyError("step")  # the runtime's exception passes through
    with pytest.raises(KeyError, match="step"):
        getattr(room, method)(*args)


@pytest.mark.parametrize("method,args", [
    ("StepEvents", (1,)), ("Leave", (None,)), ("AddInstance", ()), ("AddDrawnInstance", ()),
    ("SetBackgroundIndex", ("a",)), ("DrawBackgrounds", ("s", 0)), ("HandleKeypress", ()),
    ("MouseButtonUp", (1, 2)),
])
def test_room_methods_refuse_wrong_argument_counts(runtime, method, args):
    with pytest.raises(TypeError):
        getattr(korvel.TamRoom(), method)(*args)
    assert all(not getattr(runtime[0], h).calls for h in standins.ROOM_HANDLERS)


def test_a_handler_replaced_and_registered_again_is_the_one_called(runtime):
    tam6, _ = runtime
    room = korvel.TamRoom()
    old = tam6.Room_StepEvents
    tam6.Room_StepEvents = new = standins.Recorder("new", result=7)
    assert room.StepEvents() is None  # still the registered one
    standins.register()
    assert room.StepEvents() == 7
    assert (len(old.calls), new.calls) == (1, [(room,)])


def test_a_handler_the_runtime_lacks_raises_runtime_error(runtime):
    del runtime[0].Room_Leave
    standins.register()
    with pytest.raises(RuntimeError, match="Room_Leave"):
        korvel.TamRoom().Leave()
