"""Strategies for korvel's richer arguments: particle types with their
settings, particles, counters, sprites, and rooms with views, tiles,
instances and particle systems, each mostly well formed and with hostile
parts. Each strategy yields None when korvel does not have the type yet.
"""
import operator

import pygame
from hypothesis import strategies as st

import hostile as h
import korvel
import standins
from harness import attempt

# --- particles ---------------------------------------------------------------

blend_modes = h.pick([0, 1, 128, 2, -1, 255, 129, h.NAN, 1e30, -0.5])
lives = st.one_of(st.integers(-3, 40), h.pick([0.9, 1e30, -1e30, h.NAN, h.INF, 2**31]))

SETTERS = {
    "part_type_size": st.tuples(h.factors, h.factors, h.factors, h.factors),
    "part_type_scale": st.tuples(h.factors, h.factors),
    "part_type_speed": st.tuples(h.fcoords, h.fcoords, h.floats, h.floats),
    "part_type_direction": st.tuples(h.floats, h.floats, h.floats, h.floats),
    "part_type_orientation": st.tuples(h.floats, h.floats, h.floats, h.floats, h.floats),
    "part_type_life": st.tuples(lives, lives),
    "part_type_gravity": st.tuples(h.floats, h.floats),
    "part_type_alpha2": st.tuples(h.floats, h.floats),
    "part_type_alpha3": st.tuples(h.floats, h.floats, h.floats),
    "part_type_color3": st.tuples(h.int32s, h.int32s, h.int32s),
    "part_type_blend": st.tuples(blend_modes),
    "part_type_shape": st.tuples(h.weighted((2, h.small_surfaces), (1, h.odd_surfaces),
                                            (1, h.anything()))),
}


@st.composite
def particle_types(draw, wrap=True):
    """A particle-type handle with some of its settings made, or a TamVar holding one."""
    if not h.has("part_type_create"):
        return None
    pt = korvel.part_type_create()
    names = draw(st.lists(h.pick(sorted(n for n in SETTERS if h.has(n))),
                          max_size=6, unique=True))
    for name in names:
        attempt(getattr(korvel, name), pt, *draw(SETTERS[name]))
    if wrap and h.has("TamVar") and draw(st.integers(0, 4)) == 0:
        return korvel.TamVar(pt)
    return pt


def counter():
    return korvel.Beancounter() if h.constructible("Beancounter") else None


@st.composite
def particles(draw):
    if not h.has("CParticle_new"):
        return None
    pt = draw(particle_types())
    if draw(st.booleans()) and h.has("CParticle_new_size_color"):
        p = attempt(korvel.CParticle_new_size_color, pt, *draw(st.tuples(
            h.fcoords, h.fcoords, h.factors, h.int32s))).value
    else:
        p = attempt(korvel.CParticle_new, pt, draw(h.fcoords), draw(h.fcoords)).value
    if p is None:
        p = korvel.CParticle_new(korvel.part_type_create(), 0.0, 0.0)
    if draw(st.booleans()) and h.has("CParticle_attach_beancounter") and counter():
        attempt(korvel.CParticle_attach_beancounter, p, counter())
    return p


counters = st.builds(counter)

# --- sprites and backgrounds ---------------------------------------------------


@st.composite
def sprites(draw):
    if not h.has("TamSprite"):
        return None
    if h.has("TamSprite_from_surface") and draw(st.booleans()):
        s = attempt(korvel.TamSprite_from_surface, draw(h.small_surfaces)).value
        if s is not None:
            return s
    s = korvel.TamSprite()
    s.subimages = draw(st.one_of(st.lists(h.small_surfaces, max_size=3), h.anything()))
    s.w, s.h = draw(h.int32s), draw(h.int32s)
    return s


@st.composite
def backgrounds(draw):
    if not h.has("BackgroundData"):
        return draw(h.anything())
    bg = korvel.BackgroundData()
    surf = draw(h.weighted((2, h.small_surfaces), (1, h.odd_surfaces), (1, h.anything())))
    attempt(setattr, bg, "surf", surf)
    if draw(st.integers(0, 5)) == 0:
        attempt(delattr, bg, "surf")
    return bg


# --- rooms -----------------------------------------------------------------------

SIZEISH = h.pick([64, 48, 32, 16, 8, 1, 0, -1, 0.5, h.NAN, h.INF, -h.INF, 1e30,
                           -1e30, 3e9, 1e-30])
VIEW_VALUES = {
    "view_xview": h.fcoords, "view_yview": h.fcoords,
    "view_object": h.pick([-1, -1, -1, 0, 1, 2, 5, 1e9, h.NAN, -1e30]),
    "view_hborder": h.fcoords, "view_vborder": h.fcoords,
    "view_wview": SIZEISH, "view_hview": SIZEISH,
    "view_xport": st.one_of(h.pick([0, 0, 10, -10, 1e30, h.NAN]), st.integers(-70, 70)),
    "view_yport": st.one_of(h.pick([0, 0, 10, -10, 1e30, h.NAN]), st.integers(-70, 70)),
    "view_wport": SIZEISH, "view_hport": SIZEISH,
}


def floatlist(values):
    fl = korvel.Floatlist8()
    for i, v in enumerate(values[:8]):
        attempt(operator.setitem, fl, i, v)
    return fl


class Action:
    def __init__(self, python):
        self.python = python


class ObjectData:
    def __init__(self, events):
        self.events = events


class ObjectRecord:
    def __init__(self, instances=(), children=(), events=None):
        self.instances, self.children = list(instances), list(children)
        self.py_objectdata = ObjectData(events)


def code(source):
    return compile(source, "<fuzz draw>", "exec")


DRAW_EVENTS = [
    [[]] * 12, [[]] * 3, None, [[]] * 8 + [[Action(code("x = 1"))]],
    [[]] * 8 + [[Action(code("raise ValueError('draw')"))]],
    [[]] * 8 + [[Action("not code")]], [[]] * 8 + [[Action(None)]], [[]] * 8 + [[object()]],
    [[]] * 8 + [h.Raising()], h.LyingSequence(), h.Raising(),
]
PY_DRAW = [0, 0, 1, 1, 7, True, None, "x = 1", 2.5, code("y = 2"),
           code("raise ValueError('cached draw')"), h.Raising(), -1, 2**70]


class Instance(standins.ObjectInstanceBase):
    """An instance of the runtime; Draw() draws a square or misbehaves."""

    def Draw(self):
        if self.draw_mode == "raise":
            raise h.Hostile("Draw")
        if self.draw_mode == "swap":
            korvel.set_SDL_screen(pygame.Surface((3, 3), 0, 32))
        if self.draw_mode == "close":
            pygame.display.quit()
        if self.draw_mode == "redraw" and self.depth_left > 0:
            self.depth_left -= 1
            attempt(korvel.Room_Draw, self.room, self.surface)
        return self.draw_mode


class ZeroInstance(standins.ObjectInstanceZero):
    Draw = Instance.Draw


class System(standins.ParticleSystem):
    """A particle system; either attribute may be missing (h.DELETE)."""

    def __init__(self, automatic, real):
        if automatic is not h.DELETE:
            self.py_automatic_draw = automatic
        if real is not h.DELETE:
            self.py_RealDraw = real


@st.composite
def instances(draw, room, surface, objects):
    kind = draw(h.pick(["instance"] * 6 + ["zero", "bare", "system", "other"]))
    if kind == "system":
        return System(draw(h.pick([True, False, 1, 0, h.Raising(), h.DELETE])),
                      draw(h.pick([lambda xoff, yoff: None, lambda xoff, yoff: None, h._raise,
                                   h.DELETE, 5, None])))
    if kind == "other":
        return draw(h.anything())
    cls = {"instance": Instance, "zero": ZeroInstance, "bare": standins.ObjectInstanceBase}[kind]
    inst = cls(draw_mode=draw(h.pick(["ok", "ok", "ok", "raise", "swap", "close", "redraw"])),
               room=room, surface=surface, depth_left=1,
               object_index=draw(h.pick(objects + [None, h.Raising()])),
               x=draw(h.weighted((4, h.fcoords), (1, h.anything()))), y=draw(h.fcoords),
               sprite_index=0, image_index=0, image_xscale=1.0, image_yscale=1.0,
               image_angle=draw(h.floats), image_blend=0xFFFFFF, image_alpha=1.0)
    if draw(st.integers(0, 6)):
        inst.py_Draw = draw(h.pick(PY_DRAW))
    if not draw(st.integers(0, 8)):
        inst.Draw = draw(h.pick([None, 5, h._raise]))
    for attribute in draw(st.lists(h.pick(["image_alpha", "sprite_index", "x",
                                                    "image_xscale"]), max_size=2)):
        vars(inst).pop(attribute, None)
    return inst


@st.composite
def tiles(draw, nbackgrounds):
    if not h.has("RoomTileData"):
        return draw(h.anything())
    tile = korvel.RoomTileData()
    tile.background_idx = draw(st.one_of(st.integers(-2, nbackgrounds + 1),
                                         h.pick([2**31 - 1, -2**31])))
    for field in ("x", "y", "tilex", "tiley", "w", "h"):
        setattr(tile, field, draw(h.coords))
    return tile


@st.composite
def rooms(draw, surface=None):
    """A room whose lists, views, tiles and instances are mostly sound; the
    game's objects and backgrounds are set on the stand-in runtime."""
    if not h.has("TamRoom"):
        return draw(h.anything())
    tam6, tamapi = standins.modules()
    room = korvel.TamRoom()
    attempt(setattr, room, "room_width", draw(h.coords))
    attempt(setattr, room, "room_height", draw(h.coords))
    nviews = draw(st.integers(0, 3))
    for field, values in VIEW_VALUES.items():
        attempt(setattr, room, field, floatlist([draw(values) for _ in range(nviews)]))
    attempt(setattr, room, "view_visible",
            floatlist([draw(h.pick([1, 1, 0, h.NAN])) for _ in range(nviews)]))
    attempt(setattr, room, "view_enabled", int(nviews > 0) if draw(st.integers(0, 5)) else 1)
    game = tam6.game if isinstance(getattr(tam6, "game", None), standins.Game) else None
    objects = [ObjectRecord(events=draw(h.pick(DRAW_EVENTS))) for _ in range(2)]
    drawn = draw(st.lists(instances(room, surface, objects), max_size=5))
    if game is not None:
        game.backgrounds = draw(st.lists(backgrounds(), max_size=3))
        followed = [i for i in drawn if isinstance(i, Instance)][:1]
        game.objects = [ObjectRecord(instances=followed), ObjectRecord(children=objects),
                        *draw(st.lists(h.anything(), max_size=1))]
        nbackgrounds = len(game.backgrounds)
    else:
        nbackgrounds = 1
    attempt(setattr, room, "drawn_objects",
            draw(h.weighted((4, st.just(drawn)), (1, st.just(tuple(drawn))), (1, h.anything()))))
    attempt(setattr, room, "tiles", draw(h.weighted(
        (4, st.lists(tiles(nbackgrounds), max_size=3)), (1, h.anything()))))
    # A few fields replaced by anything at all.
    fields = [m for m in dir(korvel.TamRoom) if not m.startswith("_")
              and not callable(getattr(room, m, None))]
    for field in draw(st.lists(h.pick(fields or ["name"]), max_size=2)):
        attempt(setattr, room, field, draw(h.anything()))
    return room
