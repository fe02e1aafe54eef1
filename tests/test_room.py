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
BGS = [f"bg{i}" for i in range(8)]
# The pickled state's order.
STATE_ORDER = (["id", "name", "room_width", "room_height", "snapx", "snapy", "isogrid",
                "room_speed", "room_persistent", "bgcolor", "draw_bgcolor", "room_caption",
                "creation_code"] + BGS + ["view_enabled", "numviews"] + LISTS
               + ["background_index", "instances", "tiles", "tile_w", "tile_h", "tile_hsep",
                  "tile_vsep", "tile_hoffset", "tile_voffset", "created"] + OBJECT_LISTS
               + ["cached_bg", "cached_bg_scaled", "frame_duration", "creation_code_compiled"]
               + BACKGROUND_LISTS + ["view_visible", "view_current", "initial_view_data"])
OBJECT_FIELDS = [n for n in STATE_ORDER if n not in INT_FIELDS and n != "frame_duration"]


def test_a_new_room_is_zeroed_and_pickles_every_field_in_order(runtime):
    room = korvel.TamRoom()
    cls, args, state = room.__reduce__()
    assert (cls, args) == (korvel.TamRoom, ())
    assert len(state) == 78 and [name for name, _ in state] == STATE_ORDER
    assert all(value == 0 if name in INT_FIELDS + ["frame_duration"] else value is None
               for name, value in state)


def test_every_field_is_writable_and_the_state_restores_a_room(runtime):
    room = korvel.TamRoom()
    values = {name: (i if name in INT_FIELDS else i + 0.5 if name == "frame_duration"
                     else f"value {i}") for i, name in enumerate(STATE_ORDER)}
    for name, value in values.items():
        setattr(room, name, value)
    copy = korvel.TamRoom()
    copy.__setstate__(room.__reduce__()[2])
    assert {name: getattr(copy, name) for name in STATE_ORDER} == values


@pytest.mark.parametrize("name,value", [("id", "x"), ("frame_duration", "x"),
                                        ("view_current", None)])
def test_numeric_fields_refuse_other_values(name, value):
    with pytest.raises(TypeError):
        setattr(korvel.TamRoom(), name, value)


def test_deleting_a_room_releases_every_object_field():
    value = object()
    room = korvel.TamRoom()
    before = sys.getrefcount(value)
    for name in OBJECT_FIELDS:
        setattr(room, name, value)
    assert sys.getrefcount(value) == before + 57
    del room
    assert sys.getrefcount(value) == before


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
    tam6, _ = runtime
    rooms = [korvel.TamRoom() for _ in range(3)]
    tam6.game.rooms = rooms
    assert [int(r) for r in rooms] == [0, 1, 2]
    assert (float(rooms[2]), str(rooms[2])) == (2.0, "2")
    assert rooms[0] < rooms[1] and rooms[2] == 2 and rooms[1] != rooms[2] and rooms[1] >= 1
    assert str(korvel.TamRoom()) == "-1"


def test_a_room_compared_with_a_non_number_raises(runtime):
    runtime[0].game.rooms = [room := korvel.TamRoom()]
    with pytest.raises(TypeError):
        room < None


TILE_FIELDS = ["x", "y", "background_idx", "tilex", "tiley", "w", "h", "layer_depth", "id",
               "locked"]


def test_a_tile_is_zeroed_and_round_trips_through_its_state():
    tile = korvel.RoomTileData()
    assert [getattr(tile, n) for n in TILE_FIELDS] == [0] * 10
    for i, name in enumerate(TILE_FIELDS):
        setattr(tile, name, 10 * i - 7)
    cls, args, state = tile.__reduce__()
    assert (cls, args, state) == (korvel.RoomTileData, (), tuple(10 * i - 7 for i in range(10)))
    copy = cls(*args)
    assert copy.__setstate__(list(state)) is None
    assert [getattr(copy, n) for n in TILE_FIELDS] == list(state)


def test_tile_attributes_are_listed_in_their_order_with_empty_docs():
    names = [n for n, v in vars(korvel.RoomTileData).items() if n in TILE_FIELDS]
    assert names == ["x", "y", "id", "background_idx", "tilex", "tiley", "w", "h",
                     "layer_depth", "locked"]
    assert {getattr(korvel.RoomTileData, n).__doc__ for n in names} == {""}


def test_a_tile_converts_and_compares_as_its_id():
    tile = korvel.RoomTileData()
    tile.id = 12
    assert (int(tile), float(tile), str(tile)) == (12, 12.0, "12")
    assert tile == 12 and tile < 13 and not tile < 12.9
    other = korvel.RoomTileData()
    other.id = 3
    assert sorted([tile, other]) == [other, tile]


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


# method, arguments, the handler's name, what the handler receives after the room
FORWARDED = [
    ("Compile", (1, 2, 3), "Room_Compile", ()),
    ("Create", (), "Room_Create", ()),
    ("InitializeBackgrounds", (), "Room_InitializeBackgrounds", ()),
    ("AddInstance", ("inst",), "Room_AddInstance", ("inst",)),
    ("AddInstance", ("inst", "extra"), "Room_AddInstance", ("inst",)),
    ("AddDrawnInstance", ("inst",), "Room_AddDrawnInstance", ("inst",)),
    ("ResortDrawnObjects", (), "Room_ResortDrawnObjects", ()),
    ("SetBackgroundIndex", ("a", "b"), "Room_SetBackgroundIndex", ("a", "b")),
    ("StepAlarms", (), "Room_StepAlarms", ()),
    ("MoveInstances", (), "Room_MoveInstances", ()),
    ("HandleCollisions", (), "Room_HandleCollisions", ()),
    ("StepEvents", (), "Room_StepEvents", ()),
    ("DrawBackgrounds", ("surface", 1, 2.5), "Room_DrawBackgrounds", ("surface", 1, 2.5)),
    ("RenderBackground", (), "Room_RenderBackground", ()),
    ("Leave", (), "Room_Leave", ()),
    ("MouseButtonDown", ("ev",), "Room_MouseButtonDown", ("ev",)),
    ("MouseButtonUp", ("ev",), "Room_MouseButtonUp", ("ev",)),
    ("HandleKeyrelease", ("ev",), "Room_HandleKeyrelease", ("ev",)),
    ("HandleKeypress", ("ev",), "Room_HandleKeypress", ("ev",)),
]


@pytest.mark.parametrize("method,args,handler,received", FORWARDED)
def test_room_methods_forward_to_the_runtime_and_return_its_result(runtime, method, args,
                                                                   handler, received):
    tam6, _ = runtime
    getattr(tam6, handler).result = result = object()
    room = korvel.TamRoom()
    assert getattr(room, method)(*args) is result
    assert getattr(tam6, handler).calls == [(room,) + received]


@pytest.mark.parametrize("method,args", [
    ("StepEvents", (1,)), ("Leave", (None,)), ("AddInstance", ()), ("AddDrawnInstance", ()),
    ("SetBackgroundIndex", ("a",)), ("DrawBackgrounds", ("s", 0)), ("HandleKeypress", ()),
    ("MouseButtonUp", (1, 2)),
])
def test_room_methods_refuse_wrong_argument_counts(runtime, method, args):
    with pytest.raises(TypeError):
        getattr(korvel.TamRoom(), method)(*args)
    assert all(not getattr(runtime[0], h).calls for h in standins.ROOM_HANDLERS)


def test_the_runtime_handlers_exception_passes_through(runtime):
    runtime[0].Room_StepEvents.result = KeyError("step")
    with pytest.raises(KeyError, match="step"):
        korvel.TamRoom().StepEvents()


def test_a_handler_replaced_and_registered_again_is_the_one_called(runtime):
    tam6, _ = runtime
    room = korvel.TamRoom()
    old = tam6.Room_StepEvents
    tam6.Room_StepEvents = new = standins.Recorder("new", result=7)
    assert room.StepEvents() is None  # still the registered one
    korvel.RegisterInstancesDict({}, standins.ObjectInstanceBase, standins.ObjectInstanceZero,
                                 standins.ParticleSystem)
    assert room.StepEvents() == 7
    assert (len(old.calls), new.calls) == (1, [(room,)])


def test_a_handler_the_runtime_lacks_raises_runtime_error(runtime):
    tam6, _ = runtime
    del tam6.Room_Leave
    korvel.RegisterInstancesDict({}, standins.ObjectInstanceBase, standins.ObjectInstanceZero,
                                 standins.ParticleSystem)
    with pytest.raises(RuntimeError, match="Room_Leave"):
        korvel.TamRoom().Leave()

