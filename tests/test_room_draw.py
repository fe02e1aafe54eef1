import collections
import contextlib
import os
import sys
import time

import numpy as np
import pygame
import pytest

import korvel
import standins
from standins import fl8

FILL = (0, 0, 40)
SCALED = dict(wview=32, hview=24, xport=8, yport=4, wport=48, hport=36)


def full_view(**settings):
    """A view of the whole 64 by 48 screen, with settings overridden."""
    return dict(dict(xview=0, yview=0, object=-1, hborder=0, vborder=0, wview=64, hview=48,
                     xport=0, yport=0, wport=64, hport=48), **settings)


def make_room(drawn=(), tiles=(), views=(), visible=None, size=(64, 48)):
    """A room drawing `drawn`; with `views` (one settings dict per view) it
    uses views, all visible unless `visible` says otherwise."""
    room = korvel.TamRoom()
    room.room_width, room.room_height = size
    room.drawn_objects = list(drawn)
    room.tiles = [make_tile(*t) for t in tiles]
    for name in full_view():
        setattr(room, "view_" + name, fl8(*(v[name] for v in views)))
    room.view_visible = fl8(*(visible if visible is not None else [1] * len(views)))
    room.view_enabled = int(bool(views))
    return room


def make_tile(background_idx, x, y, tilex, tiley, w, h):
    tile = korvel.RoomTileData()
    tile.background_idx, tile.x, tile.y = background_idx, x, y
    tile.tilex, tile.tiley, tile.w, tile.h = tilex, tiley, w, h
    return tile


def make_background(pixels):
    """A BackgroundData whose image holds `pixels` (width, height, 3)."""
    bg = korvel.BackgroundData()
    bg.surf = pygame.Surface(pixels.shape[:2], 0, 32)
    pygame.surfarray.blit_array(bg.surf, pixels)
    return bg


def blank(fill=(0, 0, 0)):
    expected = np.empty((64, 48, 3), np.uint8)
    expected[:] = fill
    return expected


class Drawing:
    def __init__(self, runtime, screen):
        self.tam6, self.tamapi = runtime
        self.screen = screen
        self.log = []
        self.backgrounds = standins.BackgroundDrawer(fill=FILL)
        self.tam6.Room_DrawBackgrounds = self.backgrounds
        self.tamapi.py_ParticleSystem = standins.DrawnParticleSystem
        standins.register()

    def pixels(self):
        return pygame.surfarray.array3d(self.screen)

    def instance(self, name, **attrs):
        return standins.Instance(self.log, name, **attrs)

    def coded(self, name, **attrs):
        """An instance whose object's draw code logs the current "self"."""
        obj = standins.ObjectRecord(draw_code=standins.draw_code("log.append(self.name)"))
        self.tamapi.log = self.log
        return self.instance(name, object_index=obj, **attrs)

    def system(self, name="ps", automatic=True):
        return standins.DrawnParticleSystem(self.log, name, automatic)


@pytest.fixture
def drawing(runtime, screen):
    return Drawing(runtime, screen)


# Without views: backgrounds, tiles, instances at scale 1.

def test_without_views_backgrounds_then_tiles_then_instances_are_drawn(drawing):
    rng = np.random.default_rng(3)
    images = [rng.integers(0, 256, (16, 12, 3), dtype=np.uint8) for _ in range(2)]
    drawing.tam6.game.backgrounds = [make_background(p) for p in images]
    tiles = [(0, 4, 5, 2, 3, 8, 6), (1, 8, 7, 0, 0, 16, 12), (0, 58, 44, 0, 0, 16, 12)]
    a = drawing.instance("a", surface=drawing.screen, x=9, y=9, color=(0, 255, 0))
    b = drawing.instance("b", surface=drawing.screen, x=62, y=47, color=(255, 255, 0))
    room = make_room([a, b], tiles)
    room.view_current = 5
    assert korvel.Room_Draw(room, drawing.screen) is None

    expected = blank(FILL)
    for idx, x, y, tx, ty, w, h in tiles:
        part = images[idx][tx:tx + w, ty:ty + h][:64 - x, :48 - y]
        expected[x:x + part.shape[0], y:y + part.shape[1]] = part
    expected[9:11, 9:11] = (0, 255, 0)
    expected[62:64, 47:48] = (255, 255, 0)
    np.testing.assert_array_equal(drawing.pixels(), expected)
    assert drawing.backgrounds.calls == [(room, drawing.screen, 0, 0)]
    assert drawing.log == ["a", "b"] and room.view_current == 0


def test_instances_are_drawn_from_the_frames_snapshot_and_no_tiles_skip_the_game(drawing):
    del drawing.tamapi.game
    room = make_room()
    late, first = drawing.instance("late"), drawing.instance("first")
    first.Draw = lambda: room.drawn_objects.append(late)
    room.drawn_objects.append(first)
    assert korvel.Room_Draw(room, drawing.screen) is None
    assert drawing.log == []
    korvel.Room_Draw(room, drawing.screen)
    assert drawing.log == ["late"]


def failing_backgrounds(drawing, room):
    drawing.tam6.Room_DrawBackgrounds = standins.Recorder("bg", result=KeyError("bg"))
    standins.register()


@pytest.mark.parametrize("breakage,error,message,log", [
    (lambda d, r: r.drawn_objects.insert(1, standins.ObjectInstanceBase()), AttributeError,
     "ERror!\n", ["a"]),
    (lambda d, r: r.drawn_objects.insert(1, standins.ObjectInstanceBase(Draw=lambda: 1 / 0)),
     ZeroDivisionError, "Error!\n", ["a"]),
    (failing_backgrounds, KeyError, "Drawing backgrounds failed.\n", []),
    (lambda d, r: setattr(r, "drawn_objects", None), TypeError,
     "Error making tuple from drawn_objects\n", []),
])
def test_a_failure_stops_the_frame_with_its_message(drawing, capfd, breakage, error, message,
                                                    log):
    room = make_room([drawing.instance("a"), drawing.instance("c")])
    breakage(drawing, room)
    with pytest.raises(error):
        korvel.Room_Draw(room, drawing.screen)
    assert drawing.log == log and capfd.readouterr().err == message


TILE = (0, 0, 0, 0, 0, 4, 4)


@pytest.mark.parametrize("tiles,backgrounds,error", [
    ([5], "one", TypeError),
    ("ab", "one", TypeError),
    (None, "one", TypeError),
    ([(3,) + TILE[1:]], "one", IndexError),
    ([(-1,) + TILE[1:]], "one", IndexError),
    ([TILE], [object()], TypeError),
    ([TILE], [korvel.BackgroundData()], TypeError),
    ([TILE], None, AttributeError),
])
def test_bad_tiles_raise_and_stop_the_frame(drawing, tiles, backgrounds, error):
    game = drawing.tam6.game
    if backgrounds == "one":
        game.backgrounds = [make_background(np.zeros((4, 4, 3), np.uint8))]
    elif backgrounds is None:
        del game.backgrounds
    else:
        game.backgrounds = backgrounds
    room = make_room([drawing.instance("a")])
    room.tiles = [make_tile(*t) for t in tiles] if tiles and type(tiles[0]) is tuple else tiles
    with pytest.raises(error):
        korvel.Room_Draw(room, drawing.screen)
    assert drawing.log == []


@pytest.mark.parametrize("surface", [None, "screen"])
def test_a_target_that_is_not_a_surface_raises(drawing, surface):
    drawing.tam6.Room_DrawBackgrounds = standins.Recorder("bg")
    standins.register()
    drawing.tam6.game.backgrounds = [make_background(np.zeros((4, 4, 3), np.uint8))]
    for room in (make_room(tiles=[TILE]), make_room(views=[full_view()])):
        with pytest.raises(TypeError):
            korvel.Room_Draw(room, surface)


def next_second():
    """Sleeps into the next whole second, past the lag of the coarse clock time() may read."""
    start = int(time.time())
    while int(time.time()) == start:
        time.sleep(0.005)
    time.sleep(0.05)
    return start + 1


def test_fps_publishes_the_frames_of_the_last_whole_second(drawing):
    room = make_room()
    for attempt in range(3):
        second = next_second()
        for _ in range(3):
            korvel.Room_Draw(room, drawing.screen)
        if time.time() - second < 0.9:  # else the machine stalled near the next second
            next_second()
            korvel.Room_Draw(room, drawing.screen)
            assert drawing.tamapi.fps == 3
            return
    pytest.skip("no quiet second to count frames in")


# With views.

@pytest.mark.parametrize("visible,log", [([0, 0], []), ([1], ["a"]), ([0, 1], ["a"])])
def test_a_short_view_visible_ends_the_views(drawing, visible, log):
    room = make_room([drawing.coded("a")], views=[full_view()] * 2)
    room.view_visible = visible
    before = drawing.pixels()
    assert korvel.Room_Draw(room, drawing.screen) is None
    assert drawing.log == log and len(drawing.backgrounds.calls) == len(log)
    if not log:
        np.testing.assert_array_equal(drawing.pixels(), before)


def test_an_unscaled_view_draws_straight_onto_the_target(drawing):
    room = make_room([drawing.coded("a"), drawing.system(), drawing.coded("b")],
                     views=[full_view(xview=5, yview=3)])
    drawing.backgrounds.rect = (10, 10, 4, 4)
    assert korvel.Room_Draw(room, drawing.screen) is None
    assert drawing.backgrounds.calls == [(room, drawing.screen, 5.0, 3.0)]
    assert (drawing.tam6.view_xscale, drawing.tam6.view_yscale) == (1, 1)
    assert type(drawing.tam6.view_xscale) is int
    assert drawing.log == ["a", ("ps", -5, -3), "b"]
    expected = blank(FILL)
    expected[5:9, 7:11] = (200, 0, 0)
    np.testing.assert_array_equal(drawing.pixels(), expected)


def test_a_scaled_view_draws_its_backgrounds_through_a_port(drawing):
    view = full_view(xview=4, yview=2, **SCALED)
    room = make_room([drawing.coded("a")], views=[full_view(), view], visible=[0, 1])
    drawing.backgrounds.rect = (10, 6, 4, 2)
    assert korvel.Room_Draw(room, drawing.screen) is None
    (call,) = drawing.backgrounds.calls
    port = call[1]
    assert call[0] is room and call[2:] == (4.0, 2.0)
    assert port is not drawing.screen and port.get_size() == (48, 36)
    assert (drawing.tam6.view_xscale, drawing.tam6.view_yscale) == (1.5, 1.5)
    assert type(drawing.tam6.view_xscale) is float
    assert room.view_current == 1 and drawing.log == ["a"]
    expected = blank()
    expected[8:56, 4:40] = FILL
    x0, y0 = 8 + int((10 - 4) * 1.5), 4 + int((6 - 2) * 1.5)
    expected[x0:x0 + 6, y0:y0 + 3] = (200, 0, 0)
    np.testing.assert_array_equal(drawing.pixels(), expected)


@pytest.mark.parametrize("xport,x", [(65536 + 8, 8), (-65536 + 2, 2), (1e30, -1), (-1e30, 0)])
def test_a_port_is_placed_in_16_bits_even_at_the_int_limits(drawing, xport, x):
    # guard: SDL 2's clipping overflowed near the int limits and wrote outside the target
    view = full_view(**dict(SCALED, xport=xport))
    korvel.Room_Draw(make_room(views=[view]), drawing.screen)
    expected = blank()
    expected[max(x, 0):x + 48, 4:40] = FILL
    np.testing.assert_array_equal(drawing.pixels(), expected)


def test_a_port_in_a_format_with_alpha_leaves_what_the_backgrounds_did_not_draw(drawing):
    target = pygame.Surface((64, 48), pygame.SRCALPHA, 32)
    target.fill((0, 0, 90, 255))
    korvel.set_SDL_screen(target)
    drawing.backgrounds.fill, drawing.backgrounds.rect = None, (10, 6, 4, 2)
    korvel.Room_Draw(make_room(views=[full_view(**SCALED)]), target)
    expected = blank((0, 0, 90))
    expected[8 + 15:8 + 21, 4 + 9:4 + 12] = (200, 0, 0)
    np.testing.assert_array_equal(pygame.surfarray.array3d(target), expected)


def test_particle_systems_are_drawn_in_view_0_only(drawing):
    room = make_room([drawing.system(), drawing.system("idle", automatic=0), drawing.coded("a")],
                     views=[full_view(xview=1, yview=2), full_view(xview=3, yview=4)])
    korvel.Room_Draw(room, drawing.screen)
    assert drawing.log == [("ps", -1, -2), "a", "a"] and room.view_current == 1


@pytest.mark.parametrize("x,y,hborder,vborder,expected", [
    (10, 100, 32, 8, (0, 24)),    # clamped to the room's left and bottom
    (40, 20, 8, 4, (32, 16)),      # inside the room
    (60, 5, 0, 10, (32, 0)),       # clamped to the right and top
    (None, None, 0, 0, (7, 1)),    # no instance: the view stays
    ("no x", 20, 0, 0, (7, 1)),    # an instance without a position: the view stays, then fails
    (40, "no y", 0, 0, (7, 1)),
])
def test_a_view_follows_the_first_instance_of_its_object(drawing, x, y, hborder, vborder,
                                                         expected):
    target = [drawing.instance("t", x=x, y=y)] if x is not None else []
    for inst in target:
        for name in ("x", "y"):
            if vars(inst)[name] in ("no x", "no y"):
                del vars(inst)[name]
    drawing.tam6.game.objects = [standins.ObjectRecord(children=[
        standins.ObjectRecord(),
        standins.ObjectRecord(children=[standins.ObjectRecord(instances=target)])])]
    view = full_view(object=0, xview=7, yview=1, hborder=hborder, vborder=vborder, wview=32,
                     hview=24, wport=32, hport=24)
    room = make_room([drawing.system()], views=[view])
    with pytest.raises(AttributeError) if isinstance(x, str) or isinstance(y, str) \
            else contextlib.nullcontext():
        korvel.Room_Draw(room, drawing.screen)
    assert (room.view_xview[0], room.view_yview[0]) == expected
    assert drawing.backgrounds.calls[0][2:] == expected
    assert drawing.log == [("ps", -expected[0], -expected[1])]


def test_draw_code_is_resolved_cached_and_run_as_self(drawing):
    a = drawing.coded("a")
    drawing.tamapi.self = outer = object()
    room = make_room([a], views=[full_view()])
    korvel.Room_Draw(room, drawing.screen)
    assert a.py_Draw is a.object_index.py_objectdata.events[8][0].python
    a.object_index = None  # resolved: the object is not consulted again
    korvel.Room_Draw(room, drawing.screen)
    assert drawing.log == ["a", "a"]
    assert drawing.tamapi.self is outer and drawing.tamapi.py_self_stack == []


@pytest.mark.parametrize("events,error", [(None, None), ([[]] * 12, None),
                                          ([[]] * 8, RuntimeError)])
def test_an_instance_without_draw_code_is_drawn_automatically_from_the_next_frame(
        drawing, capfd, events, error):
    sprite = dict(sprite_index=3, image_index=1.5, x=7, y=8, image_xscale=2.0,
                  image_yscale=0.5, image_angle=90.0, image_blend=0xFF00FF, image_alpha=0.25)
    obj = standins.ObjectRecord(events=events)
    if events is None:
        del obj.py_objectdata.events
    a = drawing.instance("a", object_index=obj, **sprite)
    room = make_room([a], views=[full_view()])
    with pytest.raises(error) if error else contextlib.nullcontext():
        korvel.Room_Draw(room, drawing.screen)
    assert ("Events too small!\n" in capfd.readouterr().err) == bool(error)
    assert a.py_Draw == 1 and drawing.tamapi.draw_sprite_ext.calls == []
    assert korvel.Room_Draw(room, drawing.screen) is None
    assert drawing.tamapi.draw_sprite_ext.calls == [tuple(sprite.values())]


def test_a_failing_instance_is_reported_and_the_view_goes_on(drawing, capfd):
    bad = drawing.instance("bad", py_Draw=standins.draw_code("1 / 0"))
    room = make_room([drawing.coded("a"), bad, drawing.coded("c"), drawing.system()],
                     views=[full_view()])
    drawing.tamapi.self = outer = object()
    with pytest.raises(ZeroDivisionError):
        korvel.Room_Draw(room, drawing.screen)
    assert drawing.log == ["a", "c", ("ps", 0, 0)]
    assert capfd.readouterr().err == (
        "Error drawing instance\n"
        "Error after GI 2\nError drawing instance\n"
        "Error after GI 3\nError drawing PS\n"
        "An error has occurred\n")
    assert drawing.tamapi.self is outer and drawing.tamapi.py_self_stack == []


def failing_sprite_drawer(drawing):
    drawing.tamapi.draw_sprite_ext.result = ValueError("sprite")
    return drawing.instance("bad", py_Draw=1)


def system_without_real_draw(drawing):
    class Bare:
        py_automatic_draw = True

    drawing.tamapi.py_ParticleSystem = Bare
    standins.register()
    return Bare()


def coded_and(change):
    return lambda drawing: change(drawing.coded("bad"))


@pytest.mark.parametrize("make_bad,error", [
    (coded_and(lambda a: setattr(a, "py_Draw", "draw me") or a), TypeError),
    (coded_and(lambda a: delattr(a, "image_alpha") or setattr(a, "py_Draw", 1) or a),
     AttributeError),
    (coded_and(lambda a: delattr(a, "py_Draw") or a), AttributeError),
    (failing_sprite_drawer, ValueError),
    (system_without_real_draw, AttributeError),
])
def test_an_instance_that_cannot_draw_fails_the_frame_but_not_the_others(drawing, make_bad,
                                                                        error):
    room = make_room([make_bad(drawing), drawing.coded("b")], views=[full_view()])
    with pytest.raises(error):
        korvel.Room_Draw(room, drawing.screen)
    assert drawing.log[-1] == "b"


@pytest.mark.parametrize("field,value,error,match", [
    ("view_xview", [0.0] * 8, TypeError, "TamRoom.view_xview"),
    ("view_hport", None, TypeError, "TamRoom.view_hport"),
    ("view_visible", None, TypeError, "TamRoom.view_visible"),
    ("view_object", fl8(5), IndexError, ""),
])
def test_wrong_view_fields_raise(drawing, field, value, error, match):
    room = make_room([drawing.coded("a")], views=[full_view(wport=32)])
    setattr(room, field, value)
    with pytest.raises(error, match=match):
        korvel.Room_Draw(room, drawing.screen)


def test_an_object_number_beyond_the_game_is_reported_and_the_view_drawn(drawing, capfd):
    room = make_room([drawing.coded("a")], views=[full_view(object=3)])
    with pytest.raises(IndexError):
        korvel.Room_Draw(room, drawing.screen)
    assert drawing.log == ["a"]
    err = capfd.readouterr().err
    assert err.startswith("An error has occurred 615\n660\n660 a\nAn error has occurred 661\n")


@pytest.mark.parametrize("settings,error,match", [
    (dict(xport=1, wport=-4), RuntimeError, ""),                   # no such surface
    (dict(xport=1, wport=1e10), ValueError, "larger than a surface can be"),
    (dict(xport=1, hport=40000), ValueError, "larger than a surface can be"),
    (dict(xport=1, wport=float("inf")), ValueError, "larger than a surface can be"),
    ("unregistered", RuntimeError, "Room_DrawBackgrounds"),
])
def test_views_whose_backgrounds_cannot_be_drawn_draw_the_rest_and_fail(drawing, settings,
                                                                        error, match):
    if settings == "unregistered":
        del drawing.tam6.Room_DrawBackgrounds
        standins.register()
        settings = {}
    room = make_room([drawing.coded("a")], views=[full_view(**settings)])
    with pytest.raises(error, match=match):
        korvel.Room_Draw(room, drawing.screen)
    assert drawing.backgrounds.calls == [] and drawing.log == ["a"]


def test_a_room_that_is_not_a_tamroom_cannot_use_views(drawing):
    room = standins.ObjectInstanceBase(view_enabled=1, drawn_objects=[], view_visible=[1])
    with pytest.raises(TypeError):
        korvel.Room_Draw(room, drawing.screen)


# Thousands of frames keep the process flat.

def resident_pages():
    with open("/proc/self/statm") as f:
        return int(f.read().split()[1])


def scene(drawing, views, failing):
    """The room of a busy frame and every object it holds."""
    drawing.log = collections.deque(maxlen=1)
    if views:
        target = drawing.instance("t", x=30, y=20)
        drawing.tam6.game.objects = [standins.ObjectRecord(instances=[target])]
        drawn = [drawing.coded("a"), drawing.instance("s", py_Draw=1), drawing.system(),
                 drawing.instance("bad", py_Draw=standins.draw_code("1/0"))][:3 + failing]
        room = make_room(drawn, views=[full_view(), full_view(object=0, **SCALED)])
        return room, drawn + [room]
    bg = make_background(np.zeros((16, 16, 3), np.uint8))
    drawing.tam6.game.backgrounds = [bg]
    drawn = [drawing.instance(str(i), surface=drawing.screen, x=i, y=i) for i in range(5)]
    drawn += [drawing.instance("bad", Draw=lambda: 1 / 0)] * failing
    room = make_room(drawn, [(0, 3 * i, 2 * i, 0, 0, 8, 8) for i in range(10)])
    return room, drawn + list(room.tiles) + [bg, room]


@pytest.mark.parametrize("views", [True, False])
def test_thousands_of_frames_keep_memory_flat(drawing, views):
    failing = True
    room, held = scene(drawing, views, failing)
    held.append(drawing.screen)
    counts = [sys.getrefcount(o) for o in held]

    def run(n):
        for _ in range(n):
            try:
                korvel.Room_Draw(room, drawing.screen)
            except ZeroDivisionError:
                pass
            drawing.backgrounds.calls.clear()
            drawing.tamapi.draw_sprite_ext.calls.clear()
    run(500)
    blocks, pages = sys.getallocatedblocks(), resident_pages()
    run(3000)
    assert sys.getallocatedblocks() - blocks < 1000  # a leak per frame: >= 3,000
    if "libasan" not in os.environ.get("LD_PRELOAD", ""):  # ASan keeps freed memory resident
        assert resident_pages() - pages < 256
    assert [sys.getrefcount(o) for o in held] == counts
