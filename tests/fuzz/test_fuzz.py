"""Every entry point and type of korvel under hostile arguments and a hostile runtime: a
call may raise any Exception, but not crash, return with an exception set, or change the
reference counts of its arguments."""
import ctypes
import datetime
import functools
import gc
import math
import operator
import os
import pickle
import resource
import sys
import types

import pygame
import pytest
from hypothesis import HealthCheck, given, note, settings
from hypothesis import strategies as st

import korvel
import standins

# Few examples a test by default, the same every run; KORVEL_FUZZ_EXAMPLES explores anew.
FUZZ = settings(max_examples=int(os.environ.get("KORVEL_FUZZ_EXAMPLES", "20")), deadline=None,
                database=None, derandomize="KORVEL_FUZZ_EXAMPLES" not in os.environ,
                suppress_health_check=list(HealthCheck), print_blob=True)
# Without the sanitizer (whose shadow memory needs the address space), a size
# that slips through to a huge allocation fails here instead of swapping.
if "asan" not in os.environ.get("LD_PRELOAD", ""):
    resource.setrlimit(resource.RLIMIT_AS, (8 << 30, resource.RLIM_INFINITY))
NAN, INF = math.nan, math.inf
TRACE = bool(os.environ.get("KORVEL_FUZZ_TRACE"))
pytestmark = pytest.mark.filterwarnings("ignore:Truncation of value to int")


def _raise(*_args, **_kwargs):
    raise LookupError("hostile")


def pick(values, *weights):
    """One of values by index (sampled_from hashes them, and some raise when hashed)."""
    values = [v for v, w in zip(values, list(weights) + [1] * len(values)) for _ in range(w)]
    return st.integers(0, len(values) - 1).map(values.__getitem__)


def draw(data, strategy, label="draw"):
    """data.draw without Hypothesis' pretty-printing, which these values do not survive."""
    value = data.conjecture_data.draw(strategy)
    try:
        note(f"{label}: {repr(value)[:200]}")
    except Exception:  # noqa: BLE001 - a hostile repr
        note(f"{label}: <{type(value).__name__}>")
    return value


# Numbers at the edges of the C types they become: sizes small or absurd, never merely large.
INTS = [0, 1, -1, 255, 256, 32767, 32768, -32769, 65536, 2**31 - 1, -2**31, 2**32 - 1]
FLOATS = [0.0, -0.0, 0.5, -1.0, 359.9, 5e-324, 1e30, -1e30, 1e300, 2147483648.0, NAN, INF, -INF]
ints = st.one_of(pick(INTS), st.integers(-300, 300), st.integers(-2**31, 2**32 - 1))
floats = st.one_of(pick(FLOATS), st.floats(-4, 4), st.floats(-200, 300), st.floats())
numbers = st.one_of(ints, floats)

# Objects whose protocols raise or lie; foreign and misnamed capsules.
Raising = type("Raising", (), {f"__{n}__": _raise for n in (
    "int float index len getitem setitem iter bool hash call getattr eq lt add radd sub mul "
    "truediv mod neg").split()})
Lying = type("Lying", (), {"__len__": lambda s: 8, "__getitem__": lambda s, i: (1, 1)[i]})
Huge = type("Huge", (), {"__len__": lambda s: sys.maxsize, "__getitem__": lambda s, i: ()[i]})
Weird = type("Weird", (), {"__float__": lambda s: NAN, "__index__": lambda s: 2**100})
ListSub = type("ListSub", (list,), {})
_BLOCK = ctypes.CDLL(None).malloc(1)  # what the foreign capsules point at, never freed
_NAMES = [None, b"korvel.Unknown", b"korvel.ParticleType.x"]  # outlive their capsules
_capsule = ctypes.pythonapi.PyCapsule_New
_capsule.restype = ctypes.py_object
_capsule.argtypes = [ctypes.c_void_p, ctypes.c_char_p, ctypes.c_void_p]
CAPSULES = [datetime.datetime_CAPI, pygame.surface._PYGAME_C_API,
            *(_capsule(_BLOCK, n, None) for n in _NAMES)]


def cleared(obj):
    """obj after the collector's clear slot ran, as a finaliser in a cycle may see it."""
    get_slot = ctypes.pythonapi.PyType_GetSlot
    get_slot.restype, get_slot.argtypes = ctypes.c_void_p, [ctypes.py_object, ctypes.c_int]
    address = get_slot(type(obj), 51)  # Py_tp_clear
    if address:
        ctypes.PYFUNCTYPE(ctypes.c_int, ctypes.py_object)(address)(obj)
    return obj


CLASSES = (korvel.Floatlist8, korvel.TamSprite, korvel.BackgroundData, korvel.RoomTileData,
           korvel.InstanceList, korvel.TamRoom, korvel.Beancounter)
FACTORIES = [object, dict, Raising, Lying, Huge, Weird, lambda: ListSub([1, 2]),
             lambda: pygame.Rect(1, 2, 3, 4), lambda: pygame.Color(1, 2, 3, 4),
             lambda: korvel.TamVar(0), lambda: cleared(korvel.TamVar(1)), korvel.part_type_create,
             lambda: korvel.CParticle_new(korvel.part_type_create(), 1.0, 2.0),
             *CLASSES, *(lambda c=c: cleared(c()) for c in CLASSES)]
PLAIN = [None, True, 2**64, 1j, "", "\udcff", b"\xff", (), (255, 0, 0, 128), ((1, 2), (3, 4)),
         korvel, _raise]

# Surfaces of every depth, subsurfaces (a wider pitch), empty, huge and odd ones.
SIZES = [(1, 1), (2, 3), (5, 7), (17, 9), (64, 48), (0, 0), (0, 5), (6, 0), (1, 300), (300, 1)]
FORMATS = [(32, 0), (32, pygame.SRCALPHA), (32, "abgr"), (24, 0), (16, 0), (8, 0)]


def build_surface(recipe):
    (w, h), (depth, kind), sub, seed = recipe
    size = (w + 3 * sub, h + 2 * sub)
    if kind == "abgr":
        s = pygame.Surface(size, 0, 32, (0xFF, 0xFF00, 0xFF0000, 0))
    else:
        s = pygame.Surface(size, kind, depth)
    s.fill((seed * 37 % 256, seed * 91 % 256, seed * 13 % 256, 128))
    return s.subsurface((2, 1, w, h)) if sub else s


def surfaces(sizes=SIZES, formats=FORMATS):
    return st.tuples(pick(sizes), pick(formats), st.booleans(), st.integers(0, 255)).map(
        build_surface)


small_surfaces = surfaces(SIZES[:4])
odd_surfaces = pick([lambda: pygame.Surface.__new__(pygame.Surface),  # no SDL surface inside
                     lambda: type("SurfaceSub", (pygame.Surface,), {})((3, 3), 0, 32),
                     lambda: pygame.Surface((1024, 768)),
                     lambda: pygame.display.get_surface() or pygame.Surface((1, 1))]).map(
    lambda make: make())


@functools.cache  # one strategy: building it anew for every draw was most of the run
def anything():
    """Any object a script could pass where korvel wants something else."""
    return st.one_of(pick(PLAIN + INTS + FLOATS + CAPSULES), st.text(max_size=4),
                     pick(FACTORIES).map(lambda make: make()), small_surfaces, odd_surfaces)


def mostly(valid):
    return st.one_of(valid, valid, valid, anything())


# A runtime that misbehaves, also by replacing the screen or closing the display mid-call.
def swap(*_args):
    korvel.set_SDL_screen(pygame.Surface((2, 2), 0, 32))


def close(*_args):
    pygame.display.quit()


class Props(types.SimpleNamespace):
    """Draw properties; reading `hooked` runs `hook` first."""

    def __getattribute__(self, name):
        if name == object.__getattribute__(self, "hooked"):
            object.__getattribute__(self, "hook")()
        return object.__getattribute__(self, name)


def props(alpha=1.0, color=(200, 100, 0), hook=len, hooked="color"):
    return Props(alpha=alpha, color=color, hook=hook, hooked=hooked)


DELETE = object()
BAD_CALLABLES = [None, 5, _raise, lambda *a: Raising(), lambda *a: 2**100, swap, close]
BAD_GAME = types.SimpleNamespace(sprites=Lying(), backgrounds=Huge(), objects=[Raising()])
MUTATIONS = (
    [("tam6", n, v) for n in ("game",) + standins.HANDLERS for v in [DELETE] + BAD_CALLABLES]
    + [("tam6", "game", types.SimpleNamespace(sprites=None, backgrounds=5, rooms="x", objects=())),
       ("tam6", "game", BAD_GAME), ("tam6", "view_xscale", Raising())]
    + [("tamapi", n, DELETE) for n in ("game", "room", "self", "py_self_stack", "py_draw_props",
                                       "py_ParticleSystem", "draw_sprite_ext", "pygame")]
    + [("tamapi", "py_self_stack", v) for v in (None, (), ListSub(), {})]
    + [("tamapi", "py_draw_props", p) for p in (
        None, props(color=Raising()), props(hook=close), props(0.5, hook=swap, hooked="alpha"),
        props(1.0, hook=swap, hooked="alpha"), props("x"), props(NAN, 0), props(-1e300, None),
        props(0.5, (2**70, -1, 3)))]
    + [("tamapi", n, v) for n in ("__color_to_int", "draw_sprite_ext") for v in BAD_CALLABLES]
    + [("tamapi", "pygame", sys), ("tamapi", "py_ParticleSystem", 5),
       ("tamapi", "room", Raising()), ("tamapi", "game", BAD_GAME), ("tam6", "__class__", 0),
       ("tamapi", "__class__", 0)])
RUNTIME_CHANGES = st.lists(pick(MUTATIONS), max_size=2)
FrozenModule = type("FrozenModule", (types.ModuleType,), {"__setattr__": _raise})


def misbehave(data):
    modules = dict(zip(("tam6", "tamapi"), standins.modules()))
    for module, name, value in draw(data, RUNTIME_CHANGES, "runtime"):
        if value is DELETE:
            vars(modules[module]).pop(name, None)
        elif name == "__class__":
            object.__setattr__(modules[module], "__class__", FrozenModule)
        else:
            vars(modules[module])[name] = value


def fresh_example():
    """An open display and the stand-in runtime whose handlers keep nothing (the recorders
    would hold their arguments, which the checks take for leaks)."""
    if not pygame.display.get_init() or pygame.display.get_surface() is None:
        pygame.display.init()
        pygame.display.set_mode((64, 48), 0, 32)
    for module in standins.modules():
        object.__setattr__(module, "__class__", types.ModuleType)
    tam6, tamapi = standins.reset()
    for name in standins.HANDLERS:
        setattr(tam6, name, lambda *args: None)
    tamapi.draw_sprite_ext = lambda *args: None
    standins.register()


@pytest.fixture(autouse=True)
def fuzz_runtime(screen):
    """Afterwards the runtime and display others expect."""
    yield
    fresh_example()


def attempt(f, *args):
    """f's result, or None for an Exception (dropped: its traceback holds the arguments)."""
    try:
        return f(*args)
    except SystemError as e:
        assert "with an exception set" not in str(e), e
    except Exception:  # noqa: BLE001 - any Python error is an allowed outcome
        pass
    return None


SHARED = (type(None), bool, int, float, complex, str, bytes, type, types.ModuleType,
          types.BuiltinFunctionType, types.FunctionType)


def balanced_call(f, args, keeps=()):
    """attempt(f, *args); the arguments not kept (by position) hold their references."""
    if TRACE:  # the last lines before a crash name the call
        print(f"fuzz call: {getattr(f, '__name__', f)}{tuple(map(type, args))}", file=sys.stderr,
              flush=True)
    kept = [args[i] for i in keeps if i < len(args)]
    watched = [a for i, a in enumerate(args) if i not in keeps and not isinstance(a, SHARED)
               and not any(a is k for k in kept)]
    gc.disable()  # a collection would free unrelated garbage that holds an argument
    display = pygame.display.get_surface()
    try:
        before = [sys.getrefcount(a) for a in watched]
        attempt(f, *args)
        after = [sys.getrefcount(a) for a in watched]
    finally:
        gc.enable()
    # pygame drops its own reference to a display closed or replaced during the call
    if display is not None and pygame.display.get_surface() is not display:
        before = [b - (a is display) for a, b in zip(watched, before)]
    assert after == before, (getattr(f, "__name__", f), [type(a).__name__ for a in watched])


# --- korvel's richer arguments: particles, sprites and rooms --------------------------

SETTERS = {"size": 4, "scale": 2, "speed": 4, "direction": 4, "orientation": 5, "gravity": 2,
           "life": 2, "alpha2": 2, "alpha3": 3, "color3": 3, "blend": 1, "shape": 1}


@st.composite
def particle_types(draw_):
    pt = korvel.part_type_create()
    for name in draw_(st.lists(pick(SETTERS), max_size=6, unique=True)):
        # shapes of every depth, mirrored by negative sizes and scales (8-bit ones overran)
        arg = mostly(small_surfaces if name == "shape" else numbers)
        args = draw_(st.lists(arg, min_size=SETTERS[name], max_size=SETTERS[name]))
        attempt(getattr(korvel, "part_type_" + name), pt, *args)
    return korvel.TamVar(pt) if draw_(st.integers(0, 4)) == 0 else pt


@st.composite
def particles(draw_):
    p = attempt(korvel.CParticle_new_size_color, draw_(particle_types()), draw_(floats),
                draw_(floats), draw_(floats), draw_(ints))
    p = p or korvel.CParticle_new(korvel.part_type_create(), 0.0, 0.0)
    if draw_(st.booleans()):
        korvel.CParticle_attach_beancounter(p, korvel.Beancounter())
    return p


@st.composite
def sprites(draw_):
    s = korvel.TamSprite()
    s.subimages = draw_(st.one_of(st.lists(small_surfaces, max_size=3), anything()))
    s.w, s.h = draw_(ints), draw_(ints)
    return s


@st.composite
def tiles(draw_):
    tile = korvel.RoomTileData()
    for field in ("background_idx", "x", "y", "tilex", "tiley", "w", "h"):
        setattr(tile, field, draw_(st.one_of(pick(INTS), st.integers(-2, 200))))
    return tile


class Instance(standins.ObjectInstanceBase):
    """Draw() draws, raises, replaces the screen, closes the display or draws the room again."""

    def Draw(self):
        if self.mode == "redraw" and self.depth_left > 0:
            self.depth_left -= 1
            attempt(korvel.Room_Draw, self.room, pygame.display.get_surface())
        {"raise": _raise, "swap": swap, "close": close}.get(self.mode, len)(self.mode)
        return self.mode


def code(source):
    return compile(source, "<fuzz>", "exec")


EVENTS = [[[]] * 12, [[]] * 3, None, Raising(), Lying(),
          *([[]] * 8 + [[types.SimpleNamespace(python=v)]]
            for v in (code("x = 1"), code("raise ValueError"), "not code", None))]
PY_DRAW = [0, 7, None, "x = 1", code("y = 2"), code("raise ValueError"), Raising()]
# Ports at and past the 16-bit limits of a blit rectangle, and too large to make.
SIDES = pick([64, 48, 16, 1, 0, -1, 0.5, NAN, INF, 1e30, 3e9, 40000])
PORTS = st.one_of(pick([0, 10, -10, 32767, 65536 + 8, -65536, 1e30, -1e30, NAN]),
                  st.integers(-70, 70))
VIEWS = {"xview": floats, "yview": floats, "object": pick([-1, 0, 1, 5, 1e9, NAN], 2),
         "hborder": floats, "vborder": floats, "wview": SIDES, "hview": SIDES, "xport": PORTS,
         "yport": PORTS, "wport": SIDES, "hport": SIDES, "visible": pick([1, 0, NAN], 2)}


@st.composite
def instances(draw_, room, objects):
    kind = draw_(pick(["instance", "system", "other"], 6))
    if kind != "instance":
        system = standins.ParticleSystem()
        system.py_automatic_draw = draw_(pick([True, 0, Raising()]))
        system.py_RealDraw = draw_(pick([lambda x, y: None, _raise, 5]))
        return draw_(anything()) if kind == "other" else system
    inst = Instance(mode=draw_(pick(["ok", "raise", "swap", "close", "redraw"], 3)), room=room,
                    depth_left=1, object_index=draw_(pick(objects + [None])),
                    x=draw_(mostly(floats)), y=draw_(floats), sprite_index=0, image_index=0,
                    image_xscale=1.0, image_yscale=1.0, image_angle=draw_(floats),
                    image_blend=0xFFFFFF, image_alpha=1.0)
    if draw_(st.integers(0, 6)):
        inst.py_Draw = draw_(pick(PY_DRAW))
    for attribute in draw_(st.lists(pick(["image_alpha", "x", "y"]), max_size=2)):
        vars(inst).pop(attribute, None)
    if not draw_(st.integers(0, 8)):
        inst.Draw = draw_(pick([None, 5, _raise]))
    return inst


@st.composite
def rooms(draw_):
    """A room whose views, tiles and instances are mostly sound, and the game's objects."""
    tam6, _ = standins.modules()
    room = korvel.TamRoom()
    room.room_width, room.room_height = draw_(ints), draw_(ints)
    nviews = draw_(st.integers(0, 3))
    for name, values in VIEWS.items():
        setattr(room, "view_" + name,
                standins.fl8(*draw_(st.lists(values, min_size=nviews, max_size=nviews))))
    room.view_enabled = int(nviews > 0) if draw_(st.integers(0, 5)) else 1
    objects = [standins.ObjectRecord(events=draw_(pick(EVENTS))) for _ in range(2)]
    drawn = draw_(st.lists(instances(room, objects), max_size=5))
    if isinstance(getattr(tam6, "game", None), standins.Game):
        tam6.game.backgrounds = [korvel.BackgroundData() for _ in range(draw_(st.integers(0, 2)))]
        for bg in tam6.game.backgrounds:
            attempt(setattr, bg, "surf", draw_(mostly(small_surfaces)))
        tam6.game.objects = [standins.ObjectRecord(instances=drawn[:1]),
                             standins.ObjectRecord(children=objects)]
    room.drawn_objects = draw_(st.one_of(*[st.just(drawn)] * 4, anything()))
    room.tiles = draw_(mostly(st.lists(tiles(), max_size=3)))
    fields = [m for m in dir(korvel.TamRoom) if not m.startswith("_")
              and not callable(getattr(room, m))]
    for field in draw_(st.lists(pick(fields), max_size=2)):
        attempt(setattr, room, field, draw_(anything()))
    return room


# --- the table: every entry point and the kinds of its arguments --------------------

KINDS = {"any": anything(), "surface": mostly(surfaces()), "small": mostly(small_surfaces),
         "i": mostly(ints), "f": mostly(floats), "n": mostly(numbers), "pt": mostly(particle_types()),
         "particle": mostly(particles()), "counter": mostly(st.builds(korvel.Beancounter)),
         "sprite": mostly(sprites()), "room": mostly(rooms())}
TYPES = [st.builds(korvel.TamVar, anything()), sprites(), st.builds(korvel.BackgroundData),
         tiles(), st.builds(korvel.Beancounter), rooms(),
         st.lists(floats, max_size=8).map(lambda xs: standins.fl8(*xs)),
         st.lists(mostly(st.builds(standins.ObjectInstanceBase)), max_size=4).map(
             korvel.InstanceList)]
NAMES = sorted({n for c in CLASSES + (korvel.TamVar,) for n in dir(c)} - {"__new__", "__class__"})
INDICES = st.one_of(st.integers(-3, 40), pick([2**31 - 1, 2**31, 2**63, -2**31, -2**63 - 1]))
KINDS["obj"] = st.tuples(st.one_of(*TYPES), st.booleans()).map(
    lambda made: cleared(made[0]) if made[1] else made[0])
KINDS["key"] = st.one_of(pick(NAMES), INDICES, st.tuples(INDICES, INDICES), anything())
GRADIENT = "surface i i i i i i f i "
# name -> (argument kinds, positions whose references the call may keep by design)
FUNCTIONS = {
    "breakable": ("any any", ()), "init_subsystems": ("any", ()),
    "fast_draw_gradient_v": ("surface i i i i i i i", ()),
    "fast_draw_gradients_vc": (GRADIENT + "f", ()),
    "fast_draw_gradients_vv": (GRADIENT + "i f", ()),
    "fast_draw_gradients_vcv": (GRADIENT + "f i i f", ()),
    "fast_draw_gradients_vcvvc": (GRADIENT + "f i i f i i f i f", ()),
    "fast_draw_rectangle_color": ("i i i i i i i i f i", ()), "draw_rectangle": ("f f f f f", ()),
    "fill_translucent": ("surface i i i i i i", ()), "CParticle_new": ("pt f f", ()),
    "CParticle_new_size_color": ("pt f f f i", ()), "CParticle_step": ("particle", ()),
    "CParticle_dec_ttl": ("particle", ()), "CParticle_dec_ttl_and_render": ("particle i i", ()),
    "CParticle_attach_beancounter": ("particle counter", (1,)),
    "CParticle_type_cache_clear": ("pt", ()), "flip_vh": ("surface", ()),
    "flip_v": ("surface", ()), "flip_h": ("surface", ()), "rotoscale": ("small f f f", ()),
    "scale": ("small f f", ()), "part_type_create": ("any", ()),
    "part_type_sprite": ("pt sprite f f f", (1,)), "part_type_shape": ("pt small", (1,)),
    **{"part_type_" + n: ("pt" + " n" * k, ()) for n, k in SETTERS.items() if n != "shape"},
    "set_SDL_screen": ("surface", (0,)), "RegisterInstancesDict": ("any any any any", (0, 1, 2, 3)),
    "TamSprite_from_surface": ("surface any", ()), "Room_Draw": ("room surface", ()),
    "draw_sprite_ext": ("any any", ())}


def in_itself(obj, key):
    """obj stored in itself, then used."""
    for stored in (obj, (obj,)):
        attempt(setattr if isinstance(key, str) else operator.setitem, obj, key, stored)
        for use in (hash, str, len, int, pickle.dumps, lambda o: o == o, lambda o: o + o):
            attempt(use, obj)


# The types' slots, methods and members: the stores may keep their operands (or release
# the object itself, held by what they replace), the others give every reference back.
O = operator
OPERATIONS = [  # (argument kinds, positions the call may keep, operations)
    ("obj key any", (0, 1, 2), (setattr, O.setitem)), ("obj key", (0, 1), (delattr, O.delitem)),
    ("obj any", (0, 1), (O.iadd, O.isub, O.imul, O.itruediv, O.ior)),
    ("obj key", (), (getattr, O.getitem)), ("any obj", (), (O.add,)),
    ("obj any", (), (O.add, O.sub, O.mul, O.truediv, O.floordiv, O.mod, O.pow, O.and_, O.xor,
                     O.lt, O.le, O.eq, O.ne, O.gt, O.contains, lambda o, v: type(o)(v))),
    ("obj", (), (O.neg, abs, O.invert, int, float, bool, str, repr, hash, len, list, O.index,
                 gc.get_referents, cleared, lambda o: pickle.loads(pickle.dumps(o)))),
    ("obj any", (0, 1), (lambda o, v: o.__init__(v),)),
    ("obj key any", (0, 2), (lambda o, n, v: getattr(o, n)(v),)),
    ("obj key", (0, 1), (in_itself,))]
ENTRY_POINTS = {**{n: (getattr(korvel, n),) + k for n, k in FUNCTIONS.items()},
                **{f"{kinds}: {f.__name__} {row}": (f, kinds, keeps)
                   for row, (kinds, keeps, fs) in enumerate(OPERATIONS) for f in fs}}


ANY_ENTRY_POINT = pick(sorted(ENTRY_POINTS))


def store_screen(data):
    """A stored screen only korvel holds (a stale pointer to it would point at freed
    memory), or the display's own, then set up again or closed."""
    how = draw(data, pick(["surface", "display", "reopened", "closed"], 6), "screen")
    if how == "surface":
        korvel.set_SDL_screen(draw(data, st.one_of(
            *[surfaces([(64, 48), (8, 8), (300, 1)], FORMATS[:3])] * 3, surfaces())))
        return
    if pygame.display.get_surface() is None:
        fresh_example()
    korvel.set_SDL_screen(pygame.display.get_surface())
    if how == "reopened":
        pygame.display.set_mode(draw(data, pick([(80, 60), (8, 8)])), 0, 32)
    elif how == "closed":
        pygame.display.quit()


def call(data, name, pool=()):
    """One call of the entry point; its first argument may be an object an earlier call used."""
    f, kinds, keeps = ENTRY_POINTS[name]
    if name == "draw_rectangle":  # the only entry point that reads tamapi.room
        vars(standins.modules()[1])["room"] = draw(data, KINDS["room"], "room")
    args = [draw(data, KINDS[k], f"{name} arg {i}") for i, k in enumerate(kinds.split())]
    if pool and args:
        args[0] = draw(data, pick(pool), "reused")
    shape = draw(data, pick(["exact", "fewer", "more"], 9), "call shape")
    if shape == "fewer" and args:
        args.pop()
    elif shape == "more":
        args.append(draw(data, anything()))
    balanced_call(f, args, keeps=keeps)
    return [a for a in args if isinstance(a, pygame.Surface) or type(a).__module__ == "korvel"
            or type(a).__name__ == "PyCapsule"]


@pytest.mark.parametrize("name", ENTRY_POINTS)
@FUZZ
@given(data=st.data())
def test_entry_point_survives_hostile_arguments_and_the_calls_after_it(name, data):
    """Then a few more calls, sharing objects, with the screen and runtime changed between."""
    fresh_example()
    store_screen(data)
    misbehave(data)
    pool = call(data, name)
    for _ in range(draw(data, st.integers(0, 4), "steps")):
        step = draw(data, pick(["call", "screen", "runtime", "reuse"], 4))
        if step == "screen":
            store_screen(data)
        elif step == "runtime":
            misbehave(data)
        else:
            other = draw(data, ANY_ENTRY_POINT, "function")
            pool += call(data, other, pool if step == "reuse" else ())


def test_every_public_name_is_fuzzed():
    assert {n for n in dir(korvel) if not n.startswith("_")} <= set(FUNCTIONS) | {
        c.__name__ for c in CLASSES + (korvel.TamVar,)}
