import contextlib

import numpy as np
import pygame
import pytest

import korvel
import standins
from standins import fl8

FILL = (0, 0, 40)
SCALED = dict(wview=32, hview=24, xport=8, yport=4, wport=48, hport=36)
# the whole 64 by 48 screen
VIEW = dict(xview=0, yview=0, object=-1, hborder=0, vborder=0, wview=64, hview=48, xport=0, yport=0, wport=64, hport=48)
INSTANCE = dict(sprite_index=0, image_index=0, image_xscale=1.0, image_yscale=1.0, x=0, y=0, image_angle=0.0,
                image_blend=0xFFFFFF, image_alpha=1.0, py_Draw=0, surface=None, color=(0, 255, 0))
TILE = (0, 0, 0, 0, 0, 4, 4)  # x, y, background_idx, tilex, tiley, w, h
RED, SCREEN = (200, 0, 0), (0, 64, 0, 48, FILL)


def make_room(drawn=(), tiles=(), views=()):
    room = korvel.TamRoom()
    room.room_width, room.room_height, room.drawn_objects = 64, 48, list(drawn)
    room.tiles = [korvel.RoomTileData() for t in tiles]
    for tile, fields in zip(room.tiles, tiles):
        tile.__setstate__(fields + (0, 0, 0))
    for name in VIEW:
        setattr(room, "view_" + name, fl8(*(v[name] for v in views)))
    room.view_visible, room.view_enabled = fl8(*[1] * len(views)), int(bool(views))
    return room


def make_background(pixels):
    bg = korvel.BackgroundData()
    bg.surf = pygame.Surface(pixels.shape[:2], 0, 32)
    pygame.surfarray.blit_array(bg.surf, pixels)
    return bg


def expected(fill, *areas):  # the 64 by 48 screen in `fill`, then (x0, x1, y0, y1, colour)s
    pixels = np.tile(np.array(fill, np.uint8), (64, 48, 1))
    for x0, x1, y0, y1, colour in areas:
        pixels[x0:x1, y0:y1] = colour
    return pixels


def assert_shows(screen, *areas):  # black, then the areas
    np.testing.assert_array_equal(pygame.surfarray.array3d(screen), expected((0, 0, 0), *areas))


class Instance(standins.ObjectInstanceBase):
    def Draw(self):  # logs its name and fills a 2 by 2 square at (x, y) on `surface`
        self.log.append(self.name)
        if self.surface is not None:
            self.surface.fill(self.color, (self.x, self.y, 2, 2))
        return [self.name]  # a new object each time, as the runtime's may be


class System(standins.ParticleSystem):
    def __init__(self, log, name="ps", automatic=True):
        self.log, self.name, self.py_automatic_draw = log, name, automatic

    def py_RealDraw(self, xoff, yoff):
        self.log.append((self.name, xoff, yoff))


class Drawing:
    def __init__(self, runtime, screen):
        (self.tam6, self.tamapi), self.screen = runtime, screen
        self.log, self.calls, self.rect = [], [], (0, 0, 0, 0)
        self.tam6.Room_DrawBackgrounds, self.tamapi.py_ParticleSystem = self.backgrounds, System
        self.tamapi.log = self.log
        standins.register()

    def backgrounds(self, room, surface, xv, yv):
        # the fill, then `rect` (room coordinates) moved by the view and scaled
        self.calls.append((room, surface, xv, yv))
        (x, y, w, h), sx, sy = self.rect, self.tam6.view_xscale, self.tam6.view_yscale
        surface.fill(FILL)
        surface.fill(RED, (int((x - xv) * sx), int((y - yv) * sy), int(w * sx), int(h * sy)))

    def instance(self, name, **attrs):
        return Instance(**{**INSTANCE, **attrs}, log=self.log, name=name)

    def coded(self, name, **attrs):  # an instance whose object's draw code logs "self"
        obj = standins.ObjectRecord(draw_code=standins.draw_code("log.append(self.name)"))
        return self.instance(name, object_index=obj, **attrs)


drawing = pytest.fixture(lambda runtime, screen: Drawing(runtime, screen), name="drawing")


def test_without_views_backgrounds_then_tiles_then_instances_are_drawn(drawing):
    images = np.random.default_rng(3).integers(0, 256, (2, 16, 12, 3), dtype=np.uint8)
    drawing.tam6.game.backgrounds = [make_background(p) for p in images]
    tiles = [(4, 5, 0, 2, 3, 8, 6), (8, 7, 1, 0, 0, 16, 12), (58, 44, 0, 0, 0, 16, 12)]
    room = make_room([drawing.instance("a", surface=drawing.screen, x=9, y=9), drawing.instance(
        "b", surface=drawing.screen, x=62, y=47, color=(255, 255, 0))], tiles)
    room.view_current = 5
    assert korvel.Room_Draw(room, drawing.screen) is None
    pixels = expected(FILL)
    for x, y, idx, tx, ty, w, h in tiles:
        part = images[idx][tx:tx + w, ty:ty + h][:64 - x, :48 - y]
        pixels[x:x + part.shape[0], y:y + part.shape[1]] = part
    pixels[9:11, 9:11], pixels[62:64, 47:48] = (0, 255, 0), (255, 255, 0)
    np.testing.assert_array_equal(pygame.surfarray.array3d(drawing.screen), pixels)
    assert (drawing.calls, drawing.log, room.view_current) == ([(room, drawing.screen, 0, 0)], ["a", "b"], 0)
    del drawing.tamapi.game  # a room without tiles never asks for it
    assert korvel.Room_Draw(make_room(), drawing.screen) is None


def insert(make):  # a breakage that draws `make(drawing)` second
    return lambda d, r: r.drawn_objects.insert(1, make(d))


def setting(name, value, of=lambda d, r: r):  # a breakage that sets a field of the room
    return lambda d, r: setattr(of(d, r), name, value)


# views, view_visible, expected: background calls (port size, xview, yview), log, pixels
@pytest.mark.parametrize("views,visible,calls,log,areas", [
    ([VIEW] * 2, [0, 0], [], [], []),  # a short view_visible ends the views
    ([VIEW] * 2, [1], [(None, 0, 0)], ["a", ("ps", 0, 0), "b"], [SCREEN, (10, 14, 10, 14, RED)]),
    ([dict(VIEW, xview=5, yview=3), VIEW], None, [(None, 5, 3), (None, 0, 0)],
     ["a", ("ps", -5, -3), "b", "a", "b"], [SCREEN, (10, 14, 10, 14, RED)]),  # ps in view 0
    ([VIEW, dict(VIEW, xview=4, yview=2, **SCALED)], [0, 1], [((48, 36), 4, 2)], ["a", "b"],
     [(8, 56, 4, 40, FILL), (17, 23, 16, 22, RED)]),  # scaled by 1.5 through a port
])
def test_a_short_view_visible_ends_the_views(drawing, views, visible, calls, log, areas):
    room = make_room([drawing.coded("a"), System(drawing.log), System(drawing.log, "idle", 0), drawing.coded("b")],
                     views=views)
    room.view_visible = visible or room.view_visible
    drawing.rect = (10, 10, 4, 4)
    assert korvel.Room_Draw(room, drawing.screen) is None
    assert [(None if s is drawing.screen else s.get_size(), x, y) for r, s, x, y in drawing.calls] == calls
    assert drawing.log == log
    assert_shows(drawing.screen, *areas)
    scale = 1.5 if calls and calls[-1][0] else 1  # set by the last view drawn
    xscale, yscale = drawing.tam6.view_xscale, drawing.tam6.view_yscale
    assert (xscale, yscale, type(xscale)) == (scale, scale, type(scale))
    assert room.view_current == (len(visible or views) - 1 if calls else 0)


@pytest.mark.parametrize("xport,x", [(65536 + 8, 8), (-65536 + 2, 2), (1e30, -1), (-1e30, 0)])
def test_a_port_is_placed_in_16_bits_even_at_the_int_limits(drawing, xport, x):
    # SDL 2's clipping overflowed near the int limits and wrote outside the target
    korvel.Room_Draw(make_room(views=[{**VIEW, **SCALED, "xport": xport}]), drawing.screen)
    assert_shows(drawing.screen, (max(x, 0), x + 48, 4, 40, FILL))


@pytest.mark.parametrize("x,y,hborder,vborder,expected", [
    (10, 100, 32, 8, (0, 24)),    # clamped to the room's left and bottom
    (40, 20, 8, 4, (32, 16)),      # inside the room
    (60, 5, 0, 10, (32, 0)),       # clamped to the right and top
    (None, None, 0, 0, (7, 1)),    # no instance: the view stays
    ("-", 20, 0, 0, (7, 1)),       # an instance without a position: the view stays, then fails
    (40, "-", 0, 0, (7, 1)),
])
def test_a_view_follows_the_first_instance_of_its_object(drawing, x, y, hborder, vborder, expected):
    at = {k: v for k, v in dict(x=x, y=y).items() if v != "-"}  # "-": no such attribute
    target = [standins.ObjectInstanceBase(**at)] if x is not None else []
    Obj = standins.ObjectRecord
    drawing.tam6.game.objects = [Obj(children=[Obj(), Obj(children=[Obj(instances=target)])])]
    view = dict(VIEW, object=0, xview=7, yview=1, hborder=hborder, vborder=vborder, wview=32, hview=24, wport=32,
                hport=24)
    room = make_room([System(drawing.log)], views=[view])
    with pytest.raises(AttributeError) if "-" in (x, y) else contextlib.nullcontext():
        korvel.Room_Draw(room, drawing.screen)
    assert (room.view_xview[0], room.view_yview[0]) == expected == drawing.calls[0][2:]
    assert drawing.log == [("ps", -expected[0], -expected[1])]


@pytest.mark.parametrize("events,error", [(None, None), ([[]] * 12, None), ([[]] * 8, RuntimeError)])
def test_an_instance_without_draw_code_is_drawn_automatically_from_the_next_frame(drawing, capfd, events, error):
    sprite = dict(sprite_index=3, image_index=1.5, x=7, y=8, image_xscale=2.0, image_yscale=0.5, image_angle=90.0,
                  image_blend=0xFF00FF, image_alpha=0.25)
    obj = standins.ObjectRecord(events=events)
    if events is None:  # object data without events
        del obj.py_objectdata.events
    room = make_room([a := drawing.instance("a", object_index=obj, **sprite)], views=[VIEW])
    with pytest.raises(error) if error else contextlib.nullcontext():
        korvel.Room_Draw(room, drawing.screen)
    assert ("Events too small!\n" in capfd.readouterr().err) == bool(error)
    assert a.py_Draw == 1 and drawing.tamapi.draw_sprite_ext.calls == []
    assert korvel.Room_Draw(room, drawing.screen) is None
    assert drawing.tamapi.draw_sprite_ext.calls == [tuple(sprite.values())]


Bare = type("Bare", (), dict(py_automatic_draw=True))  # a particle system that cannot draw


def without(name, **attrs):  # an instance lacking `name`
    return lambda d: (lambda a: delattr(a, name) or a)(d.coded("bad", **attrs))


# Each row breaks a room drawing instance "a" with one view, or "a" and "c" and a tile
# without views (view None, whose failures print `match`); "bg" logs a background drawn.
# A handler removed on purpose: the registration warns of it.
@pytest.mark.filterwarnings("ignore:RegisterInstancesDict:RuntimeWarning")
@pytest.mark.parametrize("view,breakage,error,match,log", [
    # without views a failure stops the frame with its message
    (None, insert(lambda d: standins.ObjectInstanceBase()), AttributeError, "ERror!\n", ["bg", "a"]),
    (None, insert(lambda d: standins.ObjectInstanceBase(Draw=lambda: 1 / 0)), ZeroDivisionError, "Error!\n",
     ["bg", "a"]),
    (None, setting("rect", None, lambda d, r: d), TypeError, "Drawing backgrounds failed.\n", ["bg"]),
    (None, setting("drawn_objects", None), TypeError, "Error making tuple from drawn_objects\n", []),
    # tiles that cannot be drawn stop the frame before the instances
    (None, setting("tiles", [5]), TypeError, "", ["bg"]),
    (None, setting("background_idx", 1, lambda d, r: r.tiles[0]), IndexError, "", ["bg"]),
    (None, setting("background_idx", -1, lambda d, r: r.tiles[0]), IndexError, "", ["bg"]),
    (None, setting("backgrounds", [object()], lambda d, r: d.tam6.game), TypeError, "", ["bg"]),
    (None, setting("backgrounds", [korvel.BackgroundData()], lambda d, r: d.tam6.game), TypeError, "", ["bg"]),
    (None, lambda d, r: delattr(d.tam6.game, "backgrounds"), AttributeError, "", ["bg"]),
    # an instance that cannot draw fails the frame, but not the others
    ({}, insert(lambda d: d.coded("bad", py_Draw="draw me")), TypeError, "", ["bg", "a"]),
    ({}, insert(without("image_alpha", py_Draw=1)), AttributeError, "", ["bg", "a"]),
    ({}, insert(without("py_Draw")), AttributeError, "", ["bg", "a"]),
    ({}, insert(lambda d: setattr(d.tamapi.draw_sprite_ext, "result", ValueError())
                or d.instance("bad", py_Draw=1)), ValueError, "", ["bg", "a"]),
    ({}, insert(lambda d: setattr(d.tamapi, "py_ParticleSystem", Bare) or standins.register()
                or Bare()), AttributeError, "", ["bg", "a"]),
    # view fields of the wrong type or out of range
    (dict(wport=32), setting("view_xview", [0.0] * 8), TypeError, "TamRoom.view_xview", []),
    (dict(wport=32), setting("view_visible", None), TypeError, "TamRoom.view_visible", []),
    (dict(wport=32), setting("view_object", fl8(5)), IndexError, "", ["bg", "a"]),
    # views whose backgrounds cannot be drawn draw the rest
    (dict(xport=1, wport=-4), None, RuntimeError, "", ["a"]),  # no such surface
    (dict(xport=1, hport=40000), None, ValueError, "larger than a surface can be", ["a"]),
    (dict(xport=1, wport=float("inf")), None, ValueError, "larger than a surface can be", ["a"]),
    ({}, lambda d, r: delattr(d.tam6, "Room_DrawBackgrounds") or standins.register(), RuntimeError,
     "Room_DrawBackgrounds", ["a"]),
    ({}, lambda d, r: standins.ObjectInstanceBase(view_enabled=1, drawn_objects=[], view_visible=[1]), TypeError,
     "", [])])
def test_a_frame_that_cannot_be_drawn_fails(drawing, capfd, view, breakage, error, match, log):
    drawing.tam6.game.backgrounds = [make_background(np.zeros((4, 4, 3), np.uint8))]
    room = make_room([drawing.coded("a"), drawing.coded("c")], [TILE]) if view is None else make_room(
        [drawing.coded("a")], views=[dict(VIEW, **view)])
    room = breakage and breakage(drawing, room) or room  # or a room that is not a TamRoom
    drawing.tamapi.self = outer = object()
    with pytest.raises(error, match=None if view is None else match):
        korvel.Room_Draw(room, drawing.screen)
    assert ["bg"] * len(drawing.calls) + [n for n in drawing.log if n != "bad"] == log
    assert drawing.tamapi.self is outer and drawing.tamapi.py_self_stack == []
    err = capfd.readouterr().err
    assert err == match if view is None else err.endswith("An error has occurred\n" if log else "")
