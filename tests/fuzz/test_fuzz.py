"""Every entry point of korvel, called with hostile arguments, alone and in
sequences that share their objects and change the stored screen and the
runtime in between; every type under hostile use."""
import copy
import gc
import operator
import pickle
import types

import pygame
import pytest
from hypothesis import given
from hypothesis import strategies as st

import hostile as h
import korvel
import nativeapi
import standins
from hostile import attempt, balanced_call, draw, mostly, pick

# --- korvel's richer arguments ------------------------------------------------------

SETTERS = {
    "size": (h.factors,) * 4, "scale": (h.factors,) * 2, "speed": (h.fcoords,) * 4,
    "direction": (h.floats,) * 4, "orientation": (h.floats,) * 5, "gravity": (h.floats,) * 2,
    "life": (st.one_of(st.integers(-3, 40), pick([0.9, 1e30, h.NAN, 2**31])),) * 2,
    "alpha2": (h.floats,) * 2, "alpha3": (h.floats,) * 3, "color3": (h.int32s,) * 3,
    "blend": (pick([0, 1, 128, 2, -1, 129, h.NAN, 1e30]),),
    "shape": (h.weighted((2, h.small_surfaces), (1, h.odd_surfaces), (1, h.anything())),),
}


@st.composite
def particle_types(draw_):
    pt = korvel.part_type_create()
    for name in draw_(st.lists(pick(sorted(SETTERS)), max_size=6, unique=True)):
        attempt(getattr(korvel, "part_type_" + name), pt, *draw_(st.tuples(*SETTERS[name])))
    return korvel.TamVar(pt) if draw_(st.integers(0, 4)) == 0 else pt


@st.composite
def particles(draw_):
    p = attempt(korvel.CParticle_new_size_color, draw_(particle_types()), draw_(h.fcoords),
                draw_(h.fcoords), draw_(h.factors), draw_(h.int32s))
    p = p or korvel.CParticle_new(korvel.part_type_create(), 0.0, 0.0)
    if draw_(st.booleans()):
        korvel.CParticle_attach_beancounter(p, korvel.Beancounter())
    return p


@st.composite
def sprites(draw_):
    s = korvel.TamSprite()
    s.subimages = draw_(st.one_of(st.lists(h.small_surfaces, max_size=3), h.anything()))
    s.w, s.h = draw_(h.int32s), draw_(h.int32s)
    return s


@st.composite
def tiles(draw_):
    tile = korvel.RoomTileData()
    tile.background_idx = draw_(st.one_of(st.integers(-2, 3), pick([2**31 - 1, -2**31])))
    for field in ("x", "y", "tilex", "tiley", "w", "h"):
        setattr(tile, field, draw_(h.coords))
    return tile


class Instance(standins.ObjectInstanceBase):
    """Draw() draws, raises, replaces the screen, closes the display or draws the room again."""

    def Draw(self):
        if self.mode == "raise":
            raise h.Hostile("Draw")
        if self.mode == "swap":
            korvel.set_SDL_screen(pygame.Surface((3, 3), 0, 32))
        if self.mode == "close":
            pygame.display.quit()
        if self.mode == "redraw" and self.depth_left > 0:
            self.depth_left -= 1
            attempt(korvel.Room_Draw, self.room, pygame.display.get_surface())
        return self.mode


def code(source):
    return compile(source, "<fuzz>", "exec")


EVENTS = [[[]] * 12, [[]] * 3, None, h.Raising(), h.LyingSequence(),
          *([[]] * 8 + [[types.SimpleNamespace(python=v)]]
            for v in (code("x = 1"), code("raise ValueError"), "not code", None))]
PY_DRAW = [0, 1, 7, None, "x = 1", 2.5, code("y = 2"), code("raise ValueError"), h.Raising()]
# Ports at and past the 16-bit limits of a blit rectangle, and too large to make.
SIZEISH = pick([64, 48, 16, 1, 0, -1, 0.5, h.NAN, h.INF, 1e30, 3e9, 40000])
PORTS = st.one_of(pick([0, 10, -10, 32767, 65536 + 8, -65536, 1e30, -1e30, h.NAN]),
                  st.integers(-70, 70))
VIEWS = {"xview": h.fcoords, "yview": h.fcoords, "object": pick([-1, -1, 0, 1, 5, 1e9, h.NAN]),
         "hborder": h.fcoords, "vborder": h.fcoords, "wview": SIZEISH, "hview": SIZEISH,
         "xport": PORTS, "yport": PORTS, "wport": SIZEISH, "hport": SIZEISH,
         "visible": pick([1, 1, 0, h.NAN])}


@st.composite
def instances(draw_, room, objects):
    kind = draw_(pick(["instance"] * 6 + ["system", "other"]))
    if kind == "other":
        return draw_(h.anything())
    if kind == "system":
        s = standins.ParticleSystem()
        s.py_automatic_draw = draw_(pick([True, 0, h.Raising()]))
        s.py_RealDraw = draw_(pick([lambda x, y: None, h._raise, 5]))
        return s
    inst = Instance(mode=draw_(pick(["ok"] * 3 + ["raise", "swap", "close", "redraw"])),
                    room=room, depth_left=1, object_index=draw_(pick(objects + [None])),
                    x=draw_(mostly(h.fcoords)), y=draw_(h.fcoords), sprite_index=0,
                    image_index=0, image_xscale=1.0, image_yscale=1.0,
                    image_angle=draw_(h.floats), image_blend=0xFFFFFF, image_alpha=1.0)
    if draw_(st.integers(0, 6)):
        inst.py_Draw = draw_(pick(PY_DRAW))
    for attribute in draw_(st.lists(pick(["image_alpha", "x", "y"]), max_size=2)):
        vars(inst).pop(attribute, None)
    if not draw_(st.integers(0, 8)):
        inst.Draw = draw_(pick([None, 5, h._raise]))
    return inst


@st.composite
def rooms(draw_):
    """A room whose views, tiles and instances are mostly sound; the game's
    objects and backgrounds go to the stand-in runtime."""
    tam6, _ = standins.modules()
    room = korvel.TamRoom()
    room.room_width, room.room_height = draw_(h.coords), draw_(h.coords)
    nviews = draw_(st.integers(0, 3))
    for name, values in VIEWS.items():
        setattr(room, "view_" + name, standins.fl8(*draw_(st.lists(values, min_size=nviews,
                                                                   max_size=nviews))))
    room.view_enabled = int(nviews > 0) if draw_(st.integers(0, 5)) else 1
    objects = [standins.ObjectRecord(events=draw_(pick(EVENTS))) for _ in range(2)]
    drawn = draw_(st.lists(instances(room, objects), max_size=5))
    if isinstance(getattr(tam6, "game", None), standins.Game):
        bgs = [korvel.BackgroundData() for _ in range(draw_(st.integers(0, 2)))]
        for bg in bgs:
            attempt(setattr, bg, "surf", draw_(h.weighted((2, h.small_surfaces),
                                                          (1, h.anything()))))
        tam6.game.backgrounds = bgs
        tam6.game.objects = [standins.ObjectRecord(instances=drawn[:1]),
                             standins.ObjectRecord(children=objects)]
    room.drawn_objects = draw_(h.weighted((4, st.just(drawn)), (1, h.anything())))
    room.tiles = draw_(h.weighted((4, st.lists(tiles(), max_size=3)), (1, h.anything())))
    fields = [m for m in dir(korvel.TamRoom) if not m.startswith("_")
              and not callable(getattr(room, m))]
    for field in draw_(st.lists(pick(fields), max_size=2)):
        attempt(setattr, room, field, draw_(h.anything()))
    return room


# --- the table: every entry point and the kinds of its arguments --------------------

KINDS = {"any": h.anything(), "surface": mostly(h.surfaces), "small": mostly(h.small_surfaces),
         "i": mostly(h.int32s), "c": mostly(h.coords), "I": mostly(h.uint32s),
         "f": mostly(h.floats), "fc": mostly(h.fcoords), "factor": mostly(h.factors),
         "pt": mostly(particle_types()), "particle": mostly(particles()),
         "counter": mostly(st.builds(korvel.Beancounter)), "sprite": mostly(sprites()),
         "room": mostly(rooms()), "index": st.integers(-3, 20), "op": st.integers(-2, 8),
         "name": pick([b"sprites", b"backgrounds", b"objects", b""]),
         "size": st.one_of(st.integers(-40, 40), pick([2**31 - 1, -2**31, 32767, 65536]))}
GRADIENT = "surface c c c c I I"
# name -> (argument kinds, positions whose references the call may keep by design)
FUNCTIONS = {
    "breakable": ("any any", ()), "init_subsystems": ("any", ()),
    "fast_draw_gradient_v": (GRADIENT + " i", ()),
    "fast_draw_gradients_vc": (GRADIENT + " f I f", ()),
    "fast_draw_gradients_vv": (GRADIENT + " f I I f", ()),
    "fast_draw_gradients_vcv": (GRADIENT + " f I f I I f", ()),
    "fast_draw_gradients_vcvvc": (GRADIENT + " f I f I I f I I f I f", ()),
    "fast_draw_rectangle_color": ("c c c c I I I I f i", ()),
    "draw_rectangle": ("fc fc fc fc f", ()),
    "fill_translucent": ("surface c c c c i i", ()),
    "CParticle_new": ("pt fc fc", ()), "CParticle_new_size_color": ("pt fc fc factor i", ()),
    "CParticle_step": ("particle", ()), "CParticle_dec_ttl": ("particle", ()),
    "CParticle_dec_ttl_and_render": ("particle c c", ()),
    "CParticle_attach_beancounter": ("particle counter", (1,)),
    "CParticle_type_cache_clear": ("pt", ()),
    "flip_vh": ("surface", ()), "flip_v": ("surface", ()), "flip_h": ("surface", ()),
    "rotoscale": ("small factor factor f", ()), "scale": ("small factor factor", ()),
    "part_type_create": ("any", ()), "part_type_sprite": ("pt sprite f f f", (1,)),
    **{"part_type_" + n: ("pt " + " ".join("f" for _ in a), (1,) if n == "shape" else ())
       for n, a in SETTERS.items()},
    "set_SDL_screen": ("surface", (0,)),
    "RegisterInstancesDict": ("any any any any", (0, 1, 2, 3)),
    "TamSprite_from_surface": ("surface any", ()), "Room_Draw": ("room surface", ()),
    "draw_sprite_ext": ("any any", ()),
}
NATIVE = {
    "sprite_scalecache_add": ("sprite any index size size i any i i index", (0, 1)),
    "seqi": ("any index", ()), "membertuple": ("any any", ()),
    "load_membertuple": ("room any", (0,)), "Object_AsInt_compare": ("any any", ()),
    "Object_AsInt_richcompare": ("any any op", ()), "color_as_int": ("any", ()),
    "Game_Sequence_Index": ("any name", ()), "Game_Sequence_Index_F": ("any name", ()),
    "Game_Sequence_Index_S": ("any name", ()), "GetFirstInstance": ("any", ()),
    "PushSelf": ("any", (0,)), "invoke": ("any any", ()), "invoke_4": ("any " * 5, ()),
}
ENTRY_POINTS = {**{n: (getattr(korvel, n),) + FUNCTIONS[n] for n in FUNCTIONS},
                **{n: (getattr(nativeapi, n),) + NATIVE[n] for n in NATIVE
                   if hasattr(nativeapi, n)}}


def store_screen(data):
    """A stored screen only korvel holds (a stale pointer to it would point at
    freed memory), or the display's own, then set up again or closed."""
    how = draw(data, pick(["surface"] * 6 + ["display", "reopened", "closed"]), "screen")
    if how == "surface":
        korvel.set_SDL_screen(h.build_surface(draw(data, h.weighted(
            (3, st.tuples(pick([(64, 48), (8, 8), (300, 1)]), pick(h.FORMATS[:3]),
                          st.booleans(), st.integers(0, 255))), (1, h.surface_specs)))))
        return
    korvel.set_SDL_screen(pygame.display.get_surface())
    if how == "reopened":
        pygame.display.set_mode(draw(data, pick([(80, 60), (8, 8)])), 0, 32)
    elif how == "closed":
        pygame.display.quit()


def hostile_runtime(data, room=True):
    _, tamapi = standins.modules()
    if room:  # draw_rectangle reads it
        vars(tamapi)["room"] = draw(data, KINDS["room"], "tamapi.room")
    h.apply_mutations(draw(data, st.lists(pick(h.MUTATIONS), max_size=2), "runtime"))


def call(data, name, pool=()):
    """One call of the entry point; its first argument may be an object an earlier call used."""
    f, kinds, keeps = ENTRY_POINTS[name]
    args = [draw(data, KINDS[k], f"{name} arg {i}") for i, k in enumerate(kinds.split())]
    if pool and args:
        args[0] = draw(data, pick(pool), "reused")
    shape = draw(data, pick(["exact"] * 9 + ["fewer", "more"]), "call shape")
    if shape == "fewer" and args:
        args.pop()
    elif shape == "more":
        args.append(draw(data, h.anything()))
    if name == "load_membertuple":
        args = [args[0], tuple(args[1:])]  # the method's own argument tuple
    balanced_call(f, args, keeps=keeps)
    if name == "PushSelf":
        balanced_call(nativeapi.PopSelf, ())
    return args


@pytest.mark.parametrize("name", ENTRY_POINTS)
@given(data=st.data())
def test_entry_point_survives_hostile_arguments(name, data):
    h.fresh_example()
    store_screen(data)
    hostile_runtime(data, room=name == "draw_rectangle")
    call(data, name)


@given(data=st.data())
def test_sequences_of_calls_survive(data):
    h.fresh_example()
    store_screen(data)
    pool = []
    for _ in range(draw(data, st.integers(1, 10), "steps")):
        step = draw(data, pick(["call"] * 6 + ["screen", "runtime", "reuse"]))
        if step == "screen":
            store_screen(data)
        elif step == "runtime":
            hostile_runtime(data)
        else:
            name = draw(data, pick(sorted(FUNCTIONS)), "function")
            args = call(data, name, pool if step == "reuse" else ())
            pool += [a for a in args if isinstance(a, pygame.Surface)
                     or type(a).__module__ == "korvel" or type(a).__name__ == "PyCapsule"]


# --- the types ------------------------------------------------------------------------

TYPES = {"TamVar": st.builds(korvel.TamVar, h.anything()), "TamSprite": sprites(),
         "BackgroundData": st.builds(korvel.BackgroundData), "RoomTileData": tiles(),
         "InstanceList": st.lists(st.one_of(st.builds(standins.ObjectInstanceBase),
                                            h.anything()), max_size=4).map(korvel.InstanceList),
         "TamRoom": rooms(), "Floatlist8": st.lists(mostly(h.floats), max_size=8).map(
             lambda xs: standins.fl8(*xs) if all(isinstance(x, (int, float)) for x in xs)
             else korvel.Floatlist8()),
         "Beancounter": st.builds(korvel.Beancounter)}
BINARY = [operator.add, operator.sub, operator.mul, operator.truediv, operator.floordiv,
          operator.mod, operator.pow, operator.and_, operator.or_, operator.xor, operator.lt,
          operator.le, operator.eq, operator.ne, operator.gt, operator.ge, operator.contains]
INPLACE = [operator.iadd, operator.isub, operator.imul, operator.itruediv, operator.ior]
UNARY = [operator.neg, operator.pos, abs, operator.invert, int, float, bool, str, repr, hash,
         len, list, operator.index, gc.get_referents, copy.copy, copy.deepcopy, h.cleared,
         lambda o: pickle.loads(pickle.dumps(o))]


def operations(cls):
    names = sorted(n for n in vars(cls) if n not in ("__doc__", "__new__")) + ["x"]
    members = [n for n, d in vars(cls).items() if type(d).__name__ in
               ("member_descriptor", "getset_descriptor")] or ["x"]
    key = st.one_of(h.indices, st.tuples(h.indices, h.indices), h.anything())
    value = h.anything()
    return st.one_of(
        st.tuples(st.just(getattr), st.tuples(pick(names))),
        st.tuples(st.just(setattr), st.tuples(pick(members), value)),
        st.tuples(st.just(delattr), st.tuples(pick(members))),
        st.tuples(st.just("method"), st.tuples(pick(names), st.lists(value, max_size=3))),
        st.tuples(pick(BINARY), st.tuples(value)),
        st.tuples(st.just("reflected"), st.tuples(pick(BINARY), value)),
        st.tuples(pick(INPLACE), st.tuples(value)),
        st.tuples(pick(UNARY), st.just(())),
        st.tuples(st.just(operator.getitem), st.tuples(key)),
        st.tuples(st.just(operator.setitem), st.tuples(key, value)),
        st.tuples(st.just(operator.delitem), st.tuples(key)),
        st.tuples(st.just("itself"), st.tuples(pick(members + [0, (1, 1)]))),
        st.tuples(st.just("new"), st.tuples(st.lists(value, max_size=2))))


def run(obj, f, args):
    """One operation; the operands' counts must balance unless it stores them."""
    if f == "method":
        method = attempt(getattr, obj, args[0])
        if callable(method):
            attempt(method, *args[1])
    elif f == "reflected":
        balanced_call(args[0], (args[1], obj))
    elif f == "itself":  # stored in itself, then used
        for value in (obj, (obj,)):
            setter = operator.setitem if not isinstance(args[0], str) else setattr
            attempt(setter, obj, args[0], value)
            for g in (hash, str, len, int, pickle.dumps, lambda o: o == o, lambda o: o + o):
                attempt(g, obj)
    elif f == "new":
        balanced_call(type(obj), tuple(args[0]))
        attempt(obj.__init__, *args[0])
    elif f in (setattr, operator.setitem, delattr, operator.delitem) or f in INPLACE:
        # a store or delete may release a stored value that held obj itself
        attempt(f, obj, *args)
    else:
        balanced_call(f, (obj, *args))


@pytest.mark.parametrize("name", TYPES)
@given(data=st.data())
def test_type_survives_hostile_use(name, data):
    h.fresh_example()
    h.apply_mutations(draw(data, st.lists(pick(h.MUTATIONS), max_size=2), "runtime"))
    obj = draw(data, TYPES[name], name)
    if draw(data, st.integers(0, 5), "cleared") == 0:
        h.cleared(obj)
    for f, args in draw(data, st.lists(operations(type(obj)), min_size=1, max_size=8), "ops"):
        run(obj, f, args)
    del obj
    gc.collect(0)


def test_every_public_name_and_exported_helper_is_fuzzed():
    public = {n for n in dir(korvel) if not n.startswith("_")}
    assert public <= set(FUNCTIONS) | set(TYPES)
    for name in NATIVE:
        assert hasattr(nativeapi, name), name
