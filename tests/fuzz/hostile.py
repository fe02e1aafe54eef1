"""Hostile input for the fuzz suite and the check every call must pass.

A call may return anything or raise any Exception. It must not crash the
interpreter (the sanitizer build turns a stray read or write into a crash),
return a value with an exception still set, or leave its arguments' reference
counts changed once its result is dropped. Sizes are small or absurd, never
merely large: an absurd size must be refused quickly.
"""
import ctypes
import datetime
import gc
import math
import os
import sys
import types

import pygame
import pytest
from hypothesis import note
from hypothesis import strategies as st

import korvel
import standins

NAN, INF = math.nan, math.inf


class Hostile(Exception):
    pass


def _raise(*_args, **_kwargs):
    raise Hostile("hostile")


def pick(values):
    """One of values by index (sampled_from hashes them, and some raise when hashed)."""
    values = list(values)
    return st.integers(0, len(values) - 1).map(values.__getitem__)


def weighted(*choices):
    table = [strategy for weight, strategy in choices for _ in range(weight)]
    return st.integers(0, len(table) - 1).flatmap(table.__getitem__)


def draw(data, strategy, label="draw"):
    """data.draw without Hypothesis' pretty-printing, which these values do not survive."""
    value = data.conjecture_data.draw(strategy)
    try:
        text = repr(value)[:200]
    except Exception:  # noqa: BLE001 - a hostile repr
        text = f"<{type(value).__name__}>"
    note(f"{label}: {text}")
    return value


# --- numbers, at the edges of the C types they become ------------------------

INT32_EDGES = [0, 1, -1, 2, 8, 255, 256, -256, 32767, 32768, -32769, 65536, 2**31 - 1, -2**31]
EDGE_FLOATS = [0.0, -0.0, 0.5, 0.999, 1.0, -1.0, 1.5, 255.0, 256.0, 359.9, 1e-30, 5e-324,
               1e30, -1e30, 1e300, 3.5e38, 2147483648.0, -2147483649.0, NAN, INF, -INF]
int32s = st.one_of(pick(INT32_EDGES), st.integers(-300, 300), st.integers(-2**31, 2**31 - 1))
uint32s = st.one_of(pick([0, 0xFF, 0xFFFFFF, 0xFF000000, 2**32 - 1, -1]),
                    st.integers(0, 2**32 - 1))
floats = st.one_of(pick(EDGE_FLOATS), st.floats(-1e4, 1e4), st.floats())
factors = st.one_of(pick([0.0, 0.5, 1.0, -1.0, 2.0, 1e-30, NAN, INF, -INF, 1e30, 1e300]),
                    st.floats(-4, 4))
coords = st.one_of(pick(INT32_EDGES), st.integers(-100, 200))
fcoords = st.one_of(pick(EDGE_FLOATS), st.floats(-200, 300))
indices = st.one_of(st.integers(-3, 40), pick([2**31 - 1, 2**31, 2**63, -2**31, -2**63 - 1]))


# --- objects whose protocols raise or lie ------------------------------------

class Raising:
    __int__ = __float__ = __index__ = __len__ = __getitem__ = __setitem__ = _raise
    __iter__ = __bool__ = __hash__ = __call__ = __getattr__ = _raise
    __eq__ = __ne__ = __lt__ = __le__ = __gt__ = __ge__ = _raise
    __add__ = __radd__ = __sub__ = __rsub__ = __mul__ = __rmul__ = __truediv__ = _raise
    __rtruediv__ = __mod__ = __rmod__ = __neg__ = __abs__ = _raise


class LyingSequence:
    """Claims eight items, has two."""

    def __len__(self):
        return 8

    def __getitem__(self, i):
        if i in (0, 1):
            return 1
        raise IndexError(i)


class HugeSequence:
    def __len__(self):
        return sys.maxsize

    def __getitem__(self, i):
        raise IndexError(i)


class WeirdNumber:
    def __float__(self):
        return NAN

    def __index__(self):
        return 2**100

    def __int__(self):
        return True


class ListSub(list):
    pass


class SurfaceSub(pygame.Surface):
    pass


_BLOCK = ctypes.CDLL(None).malloc(1)  # what the foreign capsules point at, never freed
_NAMES = [b"korvel.Unknown", b"korvel.ParticleType.x"]  # outlive their capsules


def _capsule(name):
    new = ctypes.pythonapi.PyCapsule_New
    new.restype, new.argtypes = ctypes.py_object, [ctypes.c_void_p, ctypes.c_char_p,
                                                   ctypes.c_void_p]
    return new(_BLOCK, name, None)


CAPSULES = [datetime.datetime_CAPI, pygame.surface._PYGAME_C_API, _capsule(None),
            *map(_capsule, _NAMES)]


def cleared(obj):
    """obj after the collector's clear slot ran, as a finaliser in a cycle may see it."""
    get_slot = ctypes.pythonapi.PyType_GetSlot
    get_slot.restype, get_slot.argtypes = ctypes.c_void_p, [ctypes.py_object, ctypes.c_int]
    address = get_slot(type(obj), 51)  # Py_tp_clear
    if address:
        ctypes.PYFUNCTYPE(ctypes.c_int, ctypes.py_object)(address)(obj)
    return obj


def korvel_objects():
    makers = [lambda: korvel.TamVar(0), lambda: cleared(korvel.TamVar(1)),
              korvel.part_type_create,
              lambda: korvel.CParticle_new(korvel.part_type_create(), 1.0, 2.0),
              lambda: korvel.TamVar(korvel.part_type_create())]
    for cls in (korvel.Floatlist8, korvel.TamSprite, korvel.BackgroundData, korvel.RoomTileData,
                korvel.InstanceList, korvel.TamRoom, korvel.Beancounter):
        makers += [cls, lambda cls=cls: cleared(cls())]
    return makers


# --- surfaces: formats, subsurfaces (a wider pitch), empty and odd ones --------

SIZES = [(1, 1), (2, 3), (4, 4), (5, 7), (17, 9), (64, 48), (0, 0), (0, 5), (6, 0), (1, 300),
         (300, 1)]
FORMATS = [(32, 0), (32, 0), (32, pygame.SRCALPHA), (32, "abgr"), (24, 0), (16, 0), (8, 0)]


def build_surface(recipe):
    (w, h), (depth, kind), sub, seed = recipe
    size = (w + 3 * sub, h + 2 * sub)
    if kind == "abgr":
        s = pygame.Surface(size, 0, 32, (0xFF, 0xFF00, 0xFF0000, 0))
    else:
        s = pygame.Surface(size, kind, depth)
    s.fill((seed * 37 % 256, seed * 91 % 256, seed * 13 % 256, 128))
    return s.subsurface((2, 1, w, h)) if sub else s


surface_specs = st.tuples(pick(SIZES), pick(FORMATS), st.booleans(), st.integers(0, 255))
small_surfaces = st.tuples(pick(SIZES[:5]), pick(FORMATS), st.booleans(),
                           st.integers(0, 255)).map(build_surface)
surfaces = weighted((12, surface_specs.map(build_surface)),
                    (1, st.builds(lambda: pygame.Surface((1024, 768), 0, 32))),
                    (1, st.builds(lambda: pygame.display.get_surface() or pygame.Surface((1, 1)))))
odd_surfaces = pick([lambda: pygame.Surface.__new__(pygame.Surface),  # no SDL surface inside
                     lambda: SurfaceSub((3, 3), 0, 32)]).map(lambda make: make())

PLAIN = [None, True, Ellipsis, 0, 1, -1, 2**31, 2**64, 0.5, NAN, INF, -0.0, 1e300, 1j, "", "x",
         "2.5", "\udcff", b"\xff", (), (1,), (1, 2, 3), (255, 0, 0, 128), (None, None),
         ((1, 2), (3, 4)), korvel, len, type, korvel.TamVar]
FACTORIES = [object, list, dict, Raising, LyingSequence, HugeSequence, WeirdNumber,
             lambda: [1, 2], lambda: {1: 2}, lambda: ListSub([1, 2]), lambda: range(3),
             lambda: pygame.Rect(1, 2, 3, 4), lambda: pygame.Color(1, 2, 3, 4), lambda: _raise,
             *korvel_objects()]


def anything():
    """Any object a script could pass where korvel wants something else."""
    return st.one_of(pick(PLAIN), pick(INT32_EDGES), pick(EDGE_FLOATS),
                     pick(FACTORIES).map(lambda make: make()), pick(CAPSULES), small_surfaces,
                     odd_surfaces, st.text(max_size=4))


def mostly(valid):
    return weighted((3, valid), (1, anything()))


# --- a runtime that misbehaves, also by closing or replacing the display mid-call ----

class Swapper:
    def __init__(self, value=None):
        self.value = value

    def __call__(self, *args):
        korvel.set_SDL_screen(pygame.Surface((2, 2), 0, 32))
        return self.value


class Closer(Swapper):
    def __call__(self, *args):
        pygame.display.quit()
        return self.value


class Props:
    """Draw properties; reading the colour or the opacity may run `hook` first."""

    def __init__(self, alpha=1.0, color=(200, 100, 0), hook=None, on="color"):
        self._alpha, self._color, self._hook, self._on = alpha, color, hook, on

    def _read(self, name, value):
        if self._hook and self._on == name:
            self._hook()
        return value

    color = property(lambda self: self._read("color", self._color))
    alpha = property(lambda self: self._read("alpha", self._alpha))


class FrozenModule(types.ModuleType):
    def __setattr__(self, name, value):
        raise Hostile(name)


def _game(**lists):
    game = standins.Game()
    vars(game).update(lists)
    return game


DELETE = object()
HANDLERS = standins.ROOM_HANDLERS + ("SpriteData_load_images", "BackgroundData_load_images")
BAD_CALLABLES = [None, 5, _raise, lambda *a: Raising(), lambda *a: 2**100, Swapper(), Closer()]
BAD_GAMES = [None, _game(sprites=None, backgrounds=5, rooms="x", objects=()),
             _game(sprites=LyingSequence(), backgrounds=HugeSequence(), objects=[Raising()])]
MUTATIONS = (
    [("tam6", n, DELETE) for n in ("game",) + HANDLERS]
    + [("tam6", n, v) for n in HANDLERS for v in BAD_CALLABLES]
    + [("tam6", "game", g) for g in BAD_GAMES] + [("tam6", "view_xscale", Raising())]
    + [("tamapi", n, DELETE) for n in ("game", "room", "self", "py_self_stack", "py_draw_props",
                                       "py_ParticleSystem", "draw_sprite_ext", "pygame")]
    + [("tamapi", "py_self_stack", v) for v in (None, (), ListSub(), {})]
    + [("tamapi", "py_draw_props", p) for p in (
        None, Props(color=Raising()), Props(hook=pygame.display.quit),
        Props(0.5, hook=Swapper(), on="alpha"), Props(1.0, hook=Swapper(), on="alpha"),
        Props("x"), Props(NAN, 0), Props(-1e300, None), Props(0.5, (2**70, -1, 3)))]
    + [("tamapi", n, v) for n in ("__color_to_int", "draw_sprite_ext") for v in BAD_CALLABLES]
    + [("tamapi", "pygame", sys), ("tamapi", "py_ParticleSystem", 5),
       ("tamapi", "room", Raising()), ("tamapi", "game", BAD_GAMES[2])]
    + [(m, "__class__", FrozenModule) for m in ("tam6", "tamapi")])


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


def _quiet(*args):
    return None


def fresh_example():
    """An open display and the stand-in runtime, registered, whose handlers keep nothing
    (the recorders would hold their arguments, which the checks take for leaks)."""
    if not pygame.display.get_init() or pygame.display.get_surface() is None:
        pygame.display.init()
        pygame.display.set_mode((64, 48), 0, 32)
    for module in standins.modules():
        object.__setattr__(module, "__class__", types.ModuleType)
    tam6, tamapi = standins.reset()
    for name in HANDLERS:
        setattr(tam6, name, _quiet)
    tamapi.draw_sprite_ext = _quiet
    standins.register()


# --- the check -------------------------------------------------------------------

SHARED = (type(None), bool, int, float, complex, str, bytes, type, types.ModuleType,
          types.BuiltinFunctionType, types.FunctionType, type(Ellipsis))


def attempt(f, *args, **kwargs):
    """f's result, or None for an Exception (dropped with its traceback, which
    would hold the arguments); a result with an exception still set fails."""
    try:
        return f(*args, **kwargs)
    except SystemError as e:
        assert "with an exception set" not in str(e), e
    except Exception:  # noqa: BLE001 - any Python error is an allowed outcome
        pass
    return None


TRACE = bool(os.environ.get("KORVEL_FUZZ_TRACE"))


def balanced_call(f, args, kwargs=None, keeps=()):
    """attempt(f, *args), checking that every argument not in `keeps` (by
    position) holds as many references after the call as before."""
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
        attempt(f, *args, **(kwargs or {}))
        after = [sys.getrefcount(a) for a in watched]
    finally:
        gc.enable()
    # pygame drops its own reference to a display closed or replaced during the call
    if display is not None and pygame.display.get_surface() is not display:
        before = [b - (a is display) for a, b in zip(watched, before)]
    if after != before:
        pytest.fail(f"{getattr(f, '__name__', f)}: references changed: "
                    f"{[(type(a).__name__, b, c) for a, b, c in zip(watched, before, after)]}")
