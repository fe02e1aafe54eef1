"""Pickling round trips of every type that pickles; what restoring a sprite or a background
does with the runtime's loader."""
import math
import pickle

import pygame
import pytest

import korvel
import standins
from standins import fl8

SPRITE_INTS = ("w h leftbound rightbound topbound bottombound xorigin yorigin transparent "
               "precise_collision_checking bounding_box_type smooth_edges preload_texture "
               "use_video_memory load_only_on_use").split()
TILE_FIELDS = "x y background_idx tilex tiley w h layer_depth id locked".split()
ROOM_INTS = ("id room_width room_height snapx snapy isogrid room_speed room_persistent bgcolor "
             "draw_bgcolor view_enabled numviews tile_w tile_h tile_hsep tile_vsep tile_hoffset "
             "tile_voffset created view_current").split()
VIEW = "xview yview object hborder vborder wview hview xport yport wport hport".split()
BACKGROUND = "x y width height xscale yscale hspeed vspeed blend alpha htiled vtiled visible"
OBJECT_LISTS = ("all drawn deactivated keypressed keyreleased mouse_leftpressed "
                "mouse_rightpressed collisioned stepped moving alarmed animated key mouse")
ROOM_ORDER = (
    "id name room_width room_height snapx snapy isogrid room_speed room_persistent bgcolor "
    "draw_bgcolor room_caption creation_code bg0 bg1 bg2 bg3 bg4 bg5 bg6 bg7 view_enabled "
    f"numviews {' '.join('view_' + n for n in VIEW)} background_index instances tiles tile_w "
    "tile_h tile_hsep tile_vsep tile_hoffset tile_voffset created "
    + " ".join(n + "_objects" for n in OBJECT_LISTS.split())
    + " cached_bg cached_bg_scaled frame_duration creation_code_compiled "
    + " ".join("background_" + n for n in BACKGROUND.split())
    + " view_visible view_current initial_view_data").split()


def filled(cls, fields, value):
    obj = cls()
    for k, name in enumerate(fields):
        setattr(obj, name, value(k, name))
    return obj


def room():
    return filled(korvel.TamRoom, ROOM_ORDER, lambda k, n: k if n in ROOM_INTS else
                  k + 0.5 if n == "frame_duration" else f"value {k}")


def sprite():
    s = filled(korvel.TamSprite, SPRITE_INTS, lambda k, n: 10 + k)
    s.name, s.subimages, s.scalecache["k"] = "spr_hero", [pygame.Surface((3, 3))] * 4, "cached"
    return s


def background():
    b = filled(korvel.BackgroundData, ["name", "transparent", "w"], lambda k, n: ["bg_sky", 1, 640][k])
    b.surf, b.scaled_data_cache = pygame.Surface((2, 2)), {"k": "v"}
    return b


def fields(obj, names):
    return [getattr(obj, n) for n in names]


A, B = standins.ObjectInstanceBase(name="a"), standins.ObjectInstanceZero(name="b")
# (make, its reduced state, what the restored object shows, what it shows after restoring)
TABLE = {
    "Floatlist8": (lambda: fl8(math.inf, math.nan, -0.0, 1e308, 5e-324, 0.5, -2.0),
                   (math.inf, math.nan, -0.0, 1e308, 5e-324, 0.5, -2.0, 0.0),
                   lambda fl: [repr(x) for x in fl],
                   ["inf", "nan", "-0.0", "1e+308", "5e-324", "0.5", "-2.0", "0.0"]),
    # a -1 field is a value, not a failed read
    "RoomTileData": (lambda: filled(korvel.RoomTileData, TILE_FIELDS, lambda k, n: 10 * k - 1),
                     tuple(10 * k - 1 for k in range(10)), lambda t: fields(t, TILE_FIELDS),
                     [10 * k - 1 for k in range(10)]),
    "TamRoom": (room, tuple((n, getattr(room(), n)) for n in ROOM_ORDER),
                lambda r: fields(r, ROOM_ORDER), fields(room(), ROOM_ORDER)),
    "TamSprite": (sprite, tuple(range(10, 25)) + ("spr_hero", 4),
                  lambda s: fields(s, SPRITE_INTS + ["name", "scalecache", "subimages"]),
                  list(range(10, 25)) + ["spr_hero", {}, ["spr_hero"] * 4]),
    "BackgroundData": (background, ("bg_sky", 1), lambda b: fields(b, ["name", "transparent", "w"])
                       + [b.surf.get_size(), b.scaled_data_cache], ["bg_sky", 1, 8, (8, 6), {}]),
    "InstanceList": (lambda: korvel.InstanceList([A, B, A]), (A, B, A),
                     lambda il: [type(x).__name__ for x in il] + [il[0] is il[2], il[0].name],
                     ["ObjectInstanceBase", "ObjectInstanceZero", "ObjectInstanceBase", True, "a"]),
}


def load_sprite(s, name, count):
    s.subimages.extend([name] * count)


def load_background(bg):
    assert (bg.surf, bg.scaled_data_cache) == (None, {})  # the image is reset before loading
    bg.surf = pygame.Surface((8, 6))
    bg.w, bg.h = bg.surf.get_size()


@pytest.mark.parametrize("name", TABLE)
def test_round_trips(runtime, name):
    tam6, tamapi = runtime
    tam6.SpriteData_load_images, tam6.BackgroundData_load_images = load_sprite, load_background
    standins.register()
    make, state, shows, want = TABLE[name]
    obj = make()
    cls, args, got = obj.__reduce__()
    assert (cls, args) == (type(obj), ()) and repr(got) == repr(state)
    copies = [pickle.loads(pickle.dumps(obj))]
    if name in ("Floatlist8", "RoomTileData", "InstanceList"):
        obj.__setstate__(list(state))  # a list state reads like a tuple
        copies.append(obj)
    for back in copies:
        assert type(back) is type(obj) and repr(shows(back)) == repr(want)
    if name in ("TamSprite", "BackgroundData"):  # loaded once, then stored under its name
        assert getattr(tamapi, copies[0].name) is copies[0]
    if name == "TamSprite":  # reduce dropped the live scale cache; a background keeps its own
        pytest.raises(AttributeError, getattr, obj, "scalecache")
    if name == "BackgroundData":
        assert obj.scaled_data_cache == {"k": "v"}
    if name == "InstanceList":
        obj.__setstate__([7, 8])  # stored as given, not resolved
        assert obj == [7, 8]


KINDS = [(korvel.TamSprite, "SpriteData_load_images", lambda n: tuple(range(15)) + (n, 0)),
         (korvel.BackgroundData, "BackgroundData_load_images", lambda n: (n, 0))]


# a handler removed on purpose: the registration warns of it
@pytest.mark.filterwarnings("ignore:RegisterInstancesDict:RuntimeWarning")
@pytest.mark.parametrize("cls,loader,state", KINDS)
def test_failing_loaders_and_stores_report(runtime, capfd, cls, loader, state):
    tam6, tamapi = runtime
    for load, name, error, out, err in [
            (getattr(tam6, loader), ["unhashable"], TypeError, "Retnull\n", ""),
            # the name is read afresh after the loader
            (lambda r, *args: delattr(r, "name"), "res_gone", AttributeError, "Retnull\n", ""),
            (standins.Recorder("load", result=OSError("no file")), "res_y", OSError, "",
             "An exception occurred!\n"), (None, "res_z", RuntimeError, None, None)]:
        setattr(tam6, loader, load) if load else delattr(tam6, loader)
        standins.register()
        r = cls()
        with pytest.raises(error, match=loader if load is None else None):
            r.__setstate__(state(name))
        assert capfd.readouterr() == (out, err) or out is None
        assert not hasattr(tamapi, str(name)) and (error is not OSError or r.name == name)
