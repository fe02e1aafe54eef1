"""The shared helpers: member tuples, conversions, resource numbers, self stack."""
import ctypes
import os
import subprocess
import sys

import pygame
import pytest

import nativeapi as na
import standins

EQ = 2


class ListSub(list):
    pass


@pytest.mark.parametrize("seq,idx,want", [
    ([5, 6], 1, 6), ((5, 6), 1, 6), (ListSub([5, 6]), 1, 6),
    ([5, 6], 2, IndexError),     # guard: no read past the items
    ((5,), -1, IndexError),
    ((5, "x"), 1, TypeError),
    ((5, 6.5), 1, TypeError),    # integer reading, not float truncation
    ({0: 5}, 0, TypeError),      # guard: neither list nor tuple
])
def test_seqi_reads_lists_and_tuples_only(seq, idx, want):
    if isinstance(want, int):
        assert na.seqi(seq, idx) == want
    else:
        with pytest.raises(want):
            na.seqi(seq, idx)


class Slots:
    __slots__ = ("a", "b")


class Guarded:
    __slots__ = ("a", "_c")

    @property
    def c(self):
        return self._c

    @c.setter
    def c(self, v):
        raise ValueError("c refuses")


def test_membertuple_pairs_every_member_in_table_order_and_balances_references():
    o = Slots()
    value = object()
    o.a, o.b = value, 2
    before = sys.getrefcount(value)
    reduced = na.membertuple(o, ())
    assert reduced == (Slots, (), (("a", value), ("b", 2)))
    del reduced
    assert sys.getrefcount(value) == before


def test_load_membertuple_restores_pairs_and_passes_over_unknown_names():
    o = Slots()
    assert na.load_membertuple(o, ((("a", 1), ("nosuch", 9), ("b", 2)),)) is None
    assert (o.a, o.b) == (1, 2)


def test_load_membertuple_keeps_going_past_a_failing_pair_then_raises_it():
    o = Guarded()
    with pytest.raises(ValueError, match="c refuses"):
        na.load_membertuple(o, ((("c", 1), ("a", 5), ("a", "x", 3)),))
    assert o.a == 5


@pytest.mark.parametrize("state", [5, [("a",)], [(1, 2)]])
def test_load_membertuple_rejects_malformed_states(state):
    with pytest.raises(TypeError):
        na.load_membertuple(Slots(), (state,))


@pytest.mark.parametrize("cond,want", [(0, False), (1, True), (-7, True)])
def test_truth(cond, want):
    assert na.Truth(cond) is want


class Numbered:
    def __init__(self, n):
        self.n = n

    def __int__(self):
        return self.n


@pytest.mark.parametrize("a,b,want", [
    (Numbered(3), 3, 0), (Numbered(3), 4.9, -1), (Numbered(3), 2.5, 1),
    (3, Numbered(3), 0), (10**30, 1, 1),
])
def test_three_way_compare_by_integer_value(a, b, want):
    assert na.Object_AsInt_compare(a, b) == want


@pytest.mark.parametrize("a,b", [("x", 1), (1, None)])
def test_three_way_compare_failure_prints_and_raises(capfd, a, b):
    with pytest.raises((TypeError, ValueError)):
        na.Object_AsInt_compare(a, b)
    assert capfd.readouterr().err == "XXX need to set an exception.\n"


@pytest.mark.parametrize("cond", range(6))
@pytest.mark.parametrize("b", [3, 4.9, 2, 10**30])
def test_rich_compare_by_integer_value(cond, b):
    ops = [int.__lt__, int.__le__, int.__eq__, int.__ne__, int.__gt__, int.__ge__]
    assert na.Object_AsInt_richcompare(Numbered(3), b, cond) is ops[cond](3, int(b))


@pytest.mark.parametrize("cond", [6, -1])
def test_rich_compare_unknown_operator_is_null_without_exception(cond):
    with pytest.raises(ValueError, match=na.NULL_RESULT):
        na.Object_AsInt_richcompare(1, 2, cond)


def test_rich_compare_conversion_failure_raises():
    with pytest.raises(TypeError):
        na.Object_AsInt_richcompare(Numbered(1), None, EQ)


@pytest.mark.parametrize("o", [(255, 0, 0), (1, 2, 3), (1, 2, 3, 99), [0, 300, 0], (-1, 0, 0),
                               0x00FF00, -5, (1, 2), (), [7], (1, "g", 3), 2.5, None])
def test_color_as_int(screen, o):
    """Components packed in the screen's format, integers passed through, short
    sequences white, anything else a TypeError."""
    rs, gs, bs, _ = screen.get_shifts()
    if isinstance(o, int):
        assert na.color_as_int(o) == o
    elif o is None or isinstance(o, float) or "g" in o:
        with pytest.raises(TypeError):
            na.color_as_int(o)
    elif len(o) < 3:
        assert na.color_as_int(o) == sum(screen.get_masks()[:3])
    else:
        assert na.color_as_int(o) == (o[0] << rs) + (o[1] << gs) + (o[2] << bs)


class SDLFormat(ctypes.Structure):
    _fields_ = [("format", ctypes.c_uint32), ("palette", ctypes.c_void_p),
                ("BitsPerPixel", ctypes.c_uint8)]


class SDLSurface(ctypes.Structure):
    _fields_ = [("flags", ctypes.c_uint32), ("format", ctypes.POINTER(SDLFormat)),
                ("w", ctypes.c_int), ("h", ctypes.c_int)]


SDL_PIXELFORMAT_ARGB8888 = 0x16362004


@pytest.mark.parametrize("depth", [16, 24, 32])
def test_RGBA_copy_is_a_new_argb_surface_of_the_same_size(depth):
    sdl = ctypes.CDLL("libSDL2-2.0.so.0")
    sdl.SDL_FreeSurface.argtypes = [ctypes.c_void_p]
    source = pygame.Surface((7, 5), 0, depth)
    copy = na.RGBA_copy(na.sdl_surface_pointer(source))
    assert copy and copy != na.sdl_surface_pointer(source)
    s = SDLSurface.from_address(copy)
    assert (s.w, s.h, s.format.contents.format) == (7, 5, SDL_PIXELFORMAT_ARGB8888)
    sdl.SDL_FreeSurface(copy)


# --- resource numbers ---------------------------------------------------------

@pytest.fixture
def resources(runtime):
    tam6, _ = runtime
    items = [object() for _ in range(4)]
    tam6.game.sprites = items
    tam6.game.backgrounds = tuple(items)
    return items


@pytest.mark.parametrize("seqname", [b"sprites", b"backgrounds"])
def test_sequence_index_variants_give_the_position(resources, seqname):
    third = resources[2]
    assert na.Game_Sequence_Index(third, seqname) == 2
    assert na.Game_Sequence_Index_F(third, seqname) == 2.0
    assert type(na.Game_Sequence_Index_F(third, seqname)) is float
    assert na.Game_Sequence_Index_S(third, seqname) == "2"


def test_sequence_index_goes_by_identity_not_equality(runtime):
    tam6, _ = runtime
    tam6.game.sprites = [1000, 2000]
    assert na.Game_Sequence_Index_S(int("2000"), b"sprites") == "-1"


@pytest.mark.parametrize("items", [[], [object()]])
def test_absent_resource_is_null_without_exception_or_minus_one(runtime, items):
    tam6, _ = runtime
    tam6.game.sprites = items
    for f in (na.Game_Sequence_Index, na.Game_Sequence_Index_F):
        with pytest.raises(ValueError, match=na.NULL_RESULT):
            f(object(), b"sprites")
    assert na.Game_Sequence_Index_S(object(), b"sprites") == "-1"


@pytest.mark.parametrize("breakage,error", [
    (lambda tam6: delattr(tam6, "game"), AttributeError),
    (lambda tam6: delattr(tam6.game, "sprites"), AttributeError),
    (lambda tam6: setattr(tam6.game, "sprites", {1: 2}), TypeError),
])
def test_sequence_index_with_a_broken_runtime_raises(runtime, breakage, error):
    breakage(runtime[0])
    for f in (na.Game_Sequence_Index, na.Game_Sequence_Index_F, na.Game_Sequence_Index_S):
        with pytest.raises(error):
            f(object(), b"sprites")


# --- call helpers ---------------------------------------------------------------

def test_invoke_helpers_pass_their_arguments_result_and_exception():
    f = standins.Recorder("f", result="done")
    assert na.invoke_4(f, 1, 2, 3, 4) == "done" and na.invoke(f, (5,)) == "done"
    assert f.calls == [(1, 2, 3, 4), ((5,),)]
    with pytest.raises(KeyError):
        na.invoke(standins.Recorder("f", result=KeyError("k")), 1)
    with pytest.raises(RuntimeError, match="not registered"):
        na.invoke_null(None, 1)


# --- the self stack -------------------------------------------------------------

def test_nested_push_and_pop_restore_self(runtime):
    _, tamapi = runtime
    original, a, b = object(), object(), object()
    tamapi.self = original
    counts = [sys.getrefcount(o) for o in (original, a, b)]
    assert na.PushSelf(a) == 0
    assert na.PushSelf(b) == 0
    assert tamapi.self is b and tamapi.py_self_stack == [original, a]
    na.PopSelf()
    assert tamapi.self is a
    na.PopSelf()
    assert tamapi.self is original and tamapi.py_self_stack == []
    assert [sys.getrefcount(o) for o in (original, a, b)] == counts


def test_pop_of_an_empty_stack_prints_and_changes_nothing(runtime, capfd):
    _, tamapi = runtime
    keep = tamapi.self = object()
    na.PopSelf()
    assert capfd.readouterr().err == "Error in PyList_GetItem -1\n"
    assert tamapi.self is keep and tamapi.py_self_stack == []


@pytest.mark.parametrize("stack,error", [(None, RuntimeError), ((), TypeError)])
def test_self_stack_that_is_missing_or_not_a_list_raises(runtime, stack, error):
    import korvel
    tam6, tamapi = runtime
    if stack is None:
        del tamapi.py_self_stack
    else:
        tamapi.py_self_stack = stack
    korvel.RegisterInstancesDict({}, object, object, object)
    with pytest.raises(error):
        na.PushSelf(object())
    with pytest.raises(error):
        na.PopSelf()


# --- first instance ---------------------------------------------------------------

class Obj:
    def __init__(self, instances=(), children=()):
        self.instances = list(instances)
        self.children = list(children)


def test_first_instance_is_depth_first_pre_order_own_instances_first():
    grand, own = object(), object()
    tree = Obj(children=[Obj(), Obj(children=[Obj([grand, object()]), Obj([object()])]),
                         Obj([object()])])
    before = sys.getrefcount(grand)
    assert na.GetFirstInstance(tree) is grand
    assert sys.getrefcount(grand) == before
    assert na.GetFirstInstance(Obj([own], children=[Obj([object()])])) is own


def test_first_instance_failures():
    with pytest.raises(ValueError, match=na.NULL_RESULT):  # none anywhere
        na.GetFirstInstance(Obj(children=[Obj(), Obj()]))
    o = Obj()
    o.children.append(o)
    with pytest.raises(RecursionError):
        na.GetFirstInstance(o)
    with pytest.raises(AttributeError):
        na.GetFirstInstance(object())


def test_helpers_that_need_the_screen_raise_before_it_is_stored():
    code = (
        "import os; os.environ['SDL_VIDEODRIVER'] = 'dummy'\n"
        "import standins; standins.modules()\n"
        "import pygame, korvel, nativeapi as na\n"
        "print(hex(na.color_as_int((1, 2))))\n"
        "for f, arg in [(na.color_as_int, (1, 2, 3)),\n"
        "               (korvel.TamSprite_from_surface, pygame.Surface((2, 2)))]:\n"
        "    try:\n"
        "        f(arg)\n"
        "    except RuntimeError as e:\n"
        "        print('RuntimeError', e)\n"
    )
    env = dict(os.environ, PYTHONPATH=os.pathsep.join(sys.path))
    out = subprocess.run([sys.executable, "-c", code], env=env, capture_output=True,
                         text=True, cwd=os.path.dirname(__file__), check=True).stdout
    stored = "RuntimeError the screen is not stored (call set_SDL_screen)\n"
    assert out.endswith("0xffffff00\n" + stored * 2)
