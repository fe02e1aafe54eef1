"""Hostile inputs for the fuzz suite: odd numbers, objects whose protocols
raise or lie, foreign capsules, surfaces of every kind, korvel's own objects
in odd states, and a runtime whose attributes are missing or misbehave.

Sizes stay small or absurd, never in between: an absurd size must be
refused quickly, while a merely large one would make the suite allocate
gigabytes without finding anything.
"""
import ctypes
import datetime
import math
import sys

import pygame
from hypothesis import note
from hypothesis import strategies as st

import korvel
import standins

NAN, INF = math.nan, math.inf


class Hostile(Exception):
    """What the hostile objects below raise."""


def pick(values):
    """One of values, chosen by index: Hypothesis hashes what sampled_from
    holds, and some of these values raise when hashed."""
    values = list(values)
    return st.integers(0, len(values) - 1).map(values.__getitem__)


def weighted(*choices):
    """One of the strategies, chosen with the given weights. (st.one_of
    counts a repeated strategy once and flattens nested choices, so
    repeating a strategy there does not weigh it.)"""
    table = [strategy for weight, strategy in choices for _ in range(weight)]
    return st.integers(0, len(table) - 1).flatmap(table.__getitem__)


# --- numbers ---------------------------------------------------------------

EDGE_INTS = [0, 1, -1, 2, 7, 8, 255, 256, -256, 2**15, 2**16, 2**31 - 1, -2**31, 2**31,
             -2**31 - 1, 2**32 - 1, 2**32, 2**63 - 1, -2**63, 2**64, 10**30, -10**30]
INT32_EDGES = [0, 1, -1, 2, 3, 8, 255, 256, -256, 32767, 32768, -32769, 65536,
               2**31 - 1, -2**31]
UINT32_EDGES = [0, 1, 0xFF, 0xFF00, 0xFF0000, 0xFFFFFF, 0xFFFFFF00, 0xFF000000,
                2**32 - 1, -1]
EDGE_FLOATS = [0.0, -0.0, 0.25, 0.5, 0.999, 1.0, -1.0, 1.5, 255.0, 256.0, 359.9, 360.0,
               -5.0, 1e-30, 5e-324, 1e30, -1e30, 1e300, -1e300, 3.4e38, 3.5e38,
               2147483648.0, -2147483649.0, NAN, INF, -INF]
# Factors that end up as sizes: modest, or so absurd that no surface can be made.
ABSURD_FACTORS = [NAN, INF, -INF, 1e30, -1e30, 1e300]

int32s = st.one_of(pick(INT32_EDGES), st.integers(-300, 300),
                   st.integers(-2**31, 2**31 - 1))
uint32s = st.one_of(pick(UINT32_EDGES), st.integers(0, 2**32 - 1))
floats = st.one_of(pick(EDGE_FLOATS), st.floats(-1e4, 1e4),
                   st.floats(allow_nan=True, allow_infinity=True))
factors = st.one_of(pick([0.0, -0.0, 0.5, 1.0, -1.0, 2.0, 1e-30]),
                    st.floats(-4, 4), pick(ABSURD_FACTORS))
coords = st.one_of(pick(INT32_EDGES), st.integers(-100, 200))
fcoords = st.one_of(pick(EDGE_FLOATS), st.floats(-200, 300))
indices = st.one_of(st.integers(-3, 40), pick([2**31 - 1, 2**31, 2**63, 10**30,
                                                          -2**31, -2**63 - 1]))


# --- objects whose protocols misbehave ---------------------------------------

def _raise(*_args, **_kwargs):
    raise Hostile("hostile")


class Raising:
    """Every protocol raises: conversion, length, items, truth, hashing,
    comparison, calls and attribute lookup."""

    __int__ = __float__ = __index__ = __len__ = __getitem__ = __setitem__ = _raise
    __iter__ = __bool__ = __hash__ = __call__ = __getattr__ = _raise
    __eq__ = __ne__ = __lt__ = __le__ = __gt__ = __ge__ = _raise
    __add__ = __radd__ = __sub__ = __rsub__ = __mul__ = __rmul__ = _raise
    __truediv__ = __rtruediv__ = __and__ = __rand__ = __or__ = __ror__ = _raise
    __xor__ = __rxor__ = __mod__ = __rmod__ = __neg__ = __abs__ = _raise


class LyingSequence:
    """Claims eight items but has two; the third read raises IndexError."""

    def __len__(self):
        return 8

    def __getitem__(self, i):
        if isinstance(i, slice):
            return [1, 2]
        if i in (0, 1, -8, -7):
            return 1
        raise IndexError(i)


class HugeSequence:
    """Claims more items than memory could hold."""

    def __len__(self):
        return sys.maxsize

    def __getitem__(self, i):
        if isinstance(i, int) and 0 <= i < 4:
            return i
        raise IndexError(i)


class SelfItems:
    """Every item is the sequence itself."""

    def __len__(self):
        return 3

    def __getitem__(self, i):
        if isinstance(i, int) and -3 <= i < 3:
            return self
        raise IndexError(i)


class WeirdNumber:
    """Converts, but to values at the edge: NaN, a huge index, a bool."""

    def __float__(self):
        return NAN

    def __index__(self):
        return 2**100

    def __int__(self):
        return True


class ListSub(list):
    pass


class TupleSub(tuple):
    pass


class DictSub(dict):
    def __getitem__(self, key):
        raise Hostile("dict item")


class SurfaceSub(pygame.Surface):
    pass


def _capsule(name):
    new = ctypes.pythonapi.PyCapsule_New
    new.restype = ctypes.py_object
    new.argtypes = [ctypes.c_void_p, ctypes.c_char_p, ctypes.c_void_p]
    return new(_BLOCK, name, None)


# One byte, never freed: what the foreign capsules point at.
_BLOCK = ctypes.CDLL(None).malloc(1)
# The names must outlive the capsules that point at them.
_NAMES = [b"korvel.Unknown", b"korvel", b"korvel.ParticleType.x"]
FOREIGN_CAPSULES = [datetime.datetime_CAPI, pygame.base._PYGAME_C_API,
                    pygame.surface._PYGAME_C_API, _capsule(None),
                    *(_capsule(n) for n in _NAMES)]


def _generator():
    yield 1


def _cleared(obj):
    """obj after the collector's clear slot ran on it, as an object caught in
    a cycle may be seen by a finaliser. None for types without the slot."""
    get_slot = ctypes.pythonapi.PyType_GetSlot
    get_slot.restype = ctypes.c_void_p
    get_slot.argtypes = [ctypes.py_object, ctypes.c_int]
    address = get_slot(type(obj), 51)  # Py_tp_clear
    if not address:
        return obj
    ctypes.PYFUNCTYPE(ctypes.c_int, ctypes.py_object)(address)(obj)
    return obj


# --- korvel's own objects ------------------------------------------------------

def has(name):
    return hasattr(korvel, name)


def constructible(name):
    if not has(name):
        return False
    try:
        getattr(korvel, name)()
    except TypeError:
        return False
    return True


def particle_type():
    return korvel.part_type_create() if has("part_type_create") else None


def particle(pt=None):
    if not has("CParticle_new"):
        return None
    return korvel.CParticle_new(pt if pt is not None else korvel.part_type_create(), 1.0, 2.0)


def new(name, *args):
    return getattr(korvel, name)(*args) if constructible(name) or args else None


def korvel_objects():
    """Fresh objects of every korvel type there is, in plain and cleared states."""
    makers = [lambda: korvel.TamVar(0) if has("TamVar") else None,
              lambda: korvel.TamVar(None) if has("TamVar") else None,
              lambda: _cleared(korvel.TamVar(1)) if has("TamVar") else None]
    for name in ("Floatlist8", "TamSprite", "BackgroundData", "RoomTileData", "InstanceList",
                 "TamRoom", "Beancounter"):
        makers.append(lambda name=name: new(name))
        makers.append(lambda name=name: _cleared(new(name)) if constructible(name) else None)
    makers += [particle_type, particle,
               lambda: korvel.TamVar(particle_type()) if has("TamVar") else None,
               lambda: korvel.TamVar(particle()) if has("TamVar") else None]
    return makers


# --- surfaces ----------------------------------------------------------------

SIZES = [(1, 1), (1, 1), (2, 3), (3, 2), (4, 4), (5, 7), (8, 8), (17, 9), (64, 48),
         (0, 0), (0, 5), (6, 0), (1, 300), (300, 1)]
LARGE_SIZES = [(1024, 768), (2048, 2)]
FORMATS = [(32, 0), (32, 0), (32, 0), (32, "alpha"), (32, "alpha"), (32, "abgr"),
           (32, "rgba"), (24, 0), (16, 0), (16, "alpha"), (8, 0)]


def make_surface(size, depth, kind, sub=False, seed=0):
    """A pygame Surface of the given size and pixel format; with sub, a
    subsurface (its pitch is its parent's, wider than its rows)."""
    w, h = size
    if kind == "alpha":
        s = pygame.Surface((w + 3 * sub, h + 2 * sub), pygame.SRCALPHA, depth)
    elif kind == "abgr":
        s = pygame.Surface((w + 3 * sub, h + 2 * sub), 0, 32,
                           (0xFF, 0xFF00, 0xFF0000, 0))
    elif kind == "rgba":
        s = pygame.Surface((w + 3 * sub, h + 2 * sub), pygame.SRCALPHA, 32,
                           (0xFF000000, 0xFF0000, 0xFF00, 0xFF))
    else:
        s = pygame.Surface((w + 3 * sub, h + 2 * sub), 0, depth)
    s.fill((seed * 37 % 256, seed * 91 % 256, seed * 13 % 256, 128))
    return s.subsurface((2, 1, w, h)) if sub else s


surface_specs = st.tuples(pick(SIZES), pick(FORMATS), st.booleans(),
                          st.integers(0, 255))
large_surface_specs = st.tuples(pick(LARGE_SIZES), pick(FORMATS[:4]),
                                st.just(False), st.integers(0, 255))


def build_surface(recipe):
    size, (depth, kind), sub, seed = recipe
    return make_surface(size, depth, kind, sub, seed)


surfaces = weighted((12, surface_specs), (1, large_surface_specs)).map(build_surface)
small_surfaces = st.tuples(pick(SIZES[:8]), pick(FORMATS), st.booleans(),
                           st.integers(0, 255)).map(build_surface)
# The display's own surface (a plain one if an example closed the display).
display_surfaces = st.builds(lambda: pygame.display.get_surface() or pygame.Surface((1, 1)))
odd_surfaces = pick([
    lambda: pygame.Surface.__new__(pygame.Surface),  # no SDL surface inside
    lambda: SurfaceSub((3, 3), 0, 32),
    lambda: SurfaceSub((3, 3), pygame.SRCALPHA, 32),
]).map(lambda make: make())


# --- anything at all ---------------------------------------------------------

PLAIN = [None, True, False, Ellipsis, NotImplemented, 0, 1, -1, 2**31, 2**64, -2**63 - 1,
         0.5, NAN, INF, -INF, -0.0, 1e300, complex(1, 2), "", "x", "1", "2.5", "nan",
         "\udcff", b"", b"\x00\xff", (), (1,), (1, 2), (1, 2, 3), (255, 0, 0, 128),
         (0.5, -1, 2**40), (None, None), ((1, 2), (3, 4)), frozenset(), korvel, pygame,
         len, type, object, korvel.TamVar if has("TamVar") else int]
FACTORIES = [object, list, dict, set, bytearray, Raising, LyingSequence, HugeSequence,
             SelfItems, WeirdNumber, _generator, lambda: [1, 2], lambda: [[0, 1], 2.5],
             lambda: {1: 2, "x": None}, lambda: ListSub([1, 2]), lambda: TupleSub((1, 2)),
             lambda: DictSub(a=1), lambda: range(3), lambda: memoryview(b"abcd"),
             lambda: pygame.Rect(1, 2, 3, 4), lambda: pygame.Color(1, 2, 3, 4),
             lambda: _raise, lambda: (lambda *a, **k: None),
             *korvel_objects()]


def anything():
    """Any object a script could pass where korvel wants something else."""
    return st.one_of(
        pick(PLAIN),
        pick(EDGE_INTS),
        pick(EDGE_FLOATS),
        pick(FACTORIES).map(lambda make: make()),
        pick(FOREIGN_CAPSULES),
        small_surfaces,
        odd_surfaces,
        st.text(max_size=4),
    )


def mostly(valid, hostile_share=4):
    """valid values, with about one draw in hostile_share from anything()."""
    return weighted((hostile_share - 1, valid), (1, anything()))


# --- the runtime -----------------------------------------------------------------

class Swapper:
    """A callable or attribute value that replaces the stored screen while
    korvel is in the middle of a call, then behaves normally."""

    def __init__(self, value):
        self.value = value

    def __call__(self, *args):
        korvel.set_SDL_screen(pygame.Surface((2, 2), 0, 32))
        return self.value


class Closer:
    """A callable or attribute value that closes the display while korvel is
    in the middle of a call (fresh_example opens it again)."""

    def __init__(self, value):
        self.value = value

    def __call__(self, *args):
        pygame.display.quit()
        return self.value


class ClosingProps:
    """Draw properties whose colour closes the display when it is read."""

    alpha = 1.0

    @property
    def color(self):
        pygame.display.quit()
        return (200, 100, 0)


class SwappingProps:
    """Draw properties whose "alpha" replaces the stored screen when read."""

    color = (10, 20, 30)

    def __init__(self, alpha):
        self._alpha = alpha

    @property
    def alpha(self):
        korvel.set_SDL_screen(pygame.Surface((2, 2), 0, 32))
        return self._alpha


class BrokenProps:
    color = property(_raise)
    alpha = property(_raise)


class ModuleWithoutSetattr(type(sys)):
    """A runtime module whose attributes cannot be set (korvel writes "fps",
    "view_xscale" and the resources it restores)."""

    def __setattr__(self, name, value):
        raise Hostile(f"cannot set {name}")


def _quiet(*args):
    return None


def _props(alpha, color):
    props = standins.DrawProps()
    props.alpha, props.color = alpha, color
    return props


def _game(**lists):
    game = standins.Game()
    for name, value in lists.items():
        setattr(game, name, value)
    return game


DELETE = object()  # a mutation that removes the attribute
ROOM_HANDLERS = standins.ROOM_HANDLERS
LOADERS = ("SpriteData_load_images", "BackgroundData_load_images")
BAD_CALLABLES = [None, 5, object(), _raise, lambda *a: Raising(), lambda *a: 2**100,
                 Swapper(None), Closer(None)]
BAD_GAMES = [None, object(), _game(sprites=None, backgrounds=5, rooms="x", objects=()),
             _game(sprites=LyingSequence(), backgrounds=HugeSequence(), rooms=[None],
                   objects=[None, 1]),
             _game(sprites=ListSub(), backgrounds=TupleSub(), rooms=(), objects=[Raising()])]

MUTATIONS = (
    [("tam6", name, DELETE) for name in ("game", *ROOM_HANDLERS, *LOADERS)]
    + [("tam6", name, value) for name in ROOM_HANDLERS + LOADERS for value in BAD_CALLABLES]
    + [("tam6", "game", g) for g in BAD_GAMES]
    + [("tam6", "view_xscale", v) for v in (None, Raising())]
    + [("tamapi", name, DELETE) for name in ("game", "room", "self", "py_self_stack",
                                               "py_draw_props", "py_ParticleSystem",
                                               "draw_sprite_ext", "pygame", "__color_to_int",
                                               "fps")]
    + [("tamapi", "py_self_stack", v) for v in (None, (), ListSub(), "stack", {})]
    + [("tamapi", "py_draw_props", p) for p in
       (None, object(), BrokenProps(), SwappingProps(0.5), SwappingProps(1.0),
        ClosingProps(),
        _props("x", (1, 2, 3)), _props(NAN, 0), _props(INF, (1, 2, 3)), _props(-1e300, None),
        _props(0.5, Raising()), _props(0.5, (2**70, -1, 3)), _props(1.0, "red"))]
    + [("tamapi", "__color_to_int", v) for v in BAD_CALLABLES + [lambda c: 2**70,
                                                                  lambda c: "x"]]
    + [("tamapi", "draw_sprite_ext", v) for v in BAD_CALLABLES]
    + [("tamapi", "pygame", v) for v in (None, object(), sys)]
    + [("tamapi", "py_ParticleSystem", v) for v in (None, 5, object, Raising)]
    + [("tamapi", "room", v) for v in (None, 5, Raising())]
    + [("tamapi", "game", g) for g in BAD_GAMES]
    + [("tamapi", "__class__", ModuleWithoutSetattr), ("tam6", "__class__", ModuleWithoutSetattr)]
)

runtime_mutations = st.lists(pick(MUTATIONS), max_size=4)


def apply_mutations(mutations):
    tam6, tamapi = standins.modules()
    for module_name, name, value in mutations:
        module = tam6 if module_name == "tam6" else tamapi
        if value is DELETE:
            vars(module).pop(name, None)
        elif name == "__class__":
            object.__setattr__(module, "__class__", value)
        else:
            vars(module)[name] = value


def restore_runtime():
    """The stand-in runtime as the other tests expect it, registered again."""
    tam6, tamapi = standins.modules()
    for module in (tam6, tamapi):
        if type(module) is not type(sys):
            object.__setattr__(module, "__class__", type(sys))
    tam6, tamapi = standins.reset()
    # Handlers that keep nothing: the stand-ins' recorders hold their
    # arguments, which the reference checks would take for leaks.
    for name in ROOM_HANDLERS + LOADERS:
        setattr(tam6, name, _quiet)
    tamapi.draw_sprite_ext = _quiet
    korvel.RegisterInstancesDict({}, standins.ObjectInstanceBase, standins.ObjectInstanceZero,
                                 standins.ParticleSystem)


registrations = st.tuples(
    mostly(pick([lambda: {}, lambda: {7: standins.ObjectInstanceBase()},
                            lambda: {1: None}]).map(lambda f: f())),
    mostly(st.just(standins.ObjectInstanceBase)),
    mostly(st.just(standins.ObjectInstanceZero)),
    mostly(st.just(standins.ParticleSystem)),
)


def is_korvel_object(o):
    """True for the objects worth passing from one korvel call to the next."""
    return (isinstance(o, pygame.Surface) or type(o).__module__ in ("korvel", "py_korvel")
            or type(o).__name__ == "PyCapsule")


def open_display():
    """The dummy display at the size the other tests use, opened again if an
    example closed it."""
    if not pygame.display.get_init() or pygame.display.get_surface() is None:
        pygame.display.init()
        pygame.display.set_mode((64, 48), 0, 32)


def fresh_example():
    """Each example starts from the registered stand-in runtime and an open display."""
    open_display()
    restore_runtime()


class Box:
    """A drawn value with a repr that cannot fail, for Hypothesis' notes."""

    def __init__(self, value):
        self.value = value

    def __repr__(self):
        try:
            text = repr(self.value)
        except Exception as e:  # noqa: BLE001 - a hostile repr is expected here
            text = f"<{type(self.value).__name__} whose repr raised {type(e).__name__}>"
        return text if len(text) < 200 else text[:200] + "..."


def draw(data, strategy, label=None):
    """data.draw for hostile values: Hypothesis' own note of a drawn value
    pretty-prints it, which these values do not survive."""
    value = data.conjecture_data.draw(strategy)
    note(f"{label or 'draw'}: {Box(value)!r}")
    return value
