"""The shared helpers: member tuples, conversions, resource numbers, self stack."""
import ctypes

import pygame
import pytest

import nativeapi as na
import standins


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


def test_membertuple_pairs_every_member_in_table_order():
    o = Slots()
    o.a, o.b = "x", 2
    assert na.membertuple(o, ()) == (Slots, (), (("a", "x"), ("b", 2)))


@pytest.mark.parametrize("cls,state,error,want", [
    (Slots, (("a", 1), ("nosuch", 9), ("b", 2)), None, (1, 2)),  # unknown names passed over
    (Guarded, (("c", 1), ("a", 5), ("a", "x", 3)), ValueError, (5,)),  # goes on, then raises
    (Slots, 5, TypeError, ()),
    (Slots, [("a",)], TypeError, ()),
    (Slots, [(1, 2)], TypeError, ()),
])
def test_load_membertuple_rejects_malformed_states(cls, state, error, want):
    o = cls()
    if error:
        with pytest.raises(error):
            na.load_membertuple(o, (state,))
    else:
        assert na.load_membertuple(o, (state,)) is None
    assert tuple(getattr(o, n) for n in "ab"[:len(want)]) == want


class Numbered:
    def __init__(self, n):
        self.n = n

    def __int__(self):
        return self.n


@pytest.mark.parametrize("a,b,want", [
    (Numbered(3), 3, 0), (Numbered(3), 4.9, -1), (Numbered(3), 2.5, 1),
    (3, Numbered(3), 0), (10**30, 1, 1), ("x", 1, ValueError), (1, None, TypeError),
])
def test_three_way_compare_by_integer_value(capfd, a, b, want):
    if isinstance(want, int):
        assert na.Object_AsInt_compare(a, b) == want
    else:
        with pytest.raises(want):
            na.Object_AsInt_compare(a, b)
        assert capfd.readouterr().err == "XXX need to set an exception.\n"


@pytest.mark.parametrize("cond", range(-1, 7))
@pytest.mark.parametrize("b", [3, 4.9, 2, 10**30, None])
def test_rich_compare_by_integer_value(cond, b):
    ops = [int.__lt__, int.__le__, int.__eq__, int.__ne__, int.__gt__, int.__ge__]
    if b is None:
        with pytest.raises(TypeError):
            na.Object_AsInt_richcompare(Numbered(3), b, cond)
    elif cond in (-1, 6):  # an unknown operator: null without an exception
        with pytest.raises(ValueError, match=na.NULL_RESULT):
            na.Object_AsInt_richcompare(Numbered(3), b, cond)
    else:
        assert na.Object_AsInt_richcompare(Numbered(3), b, cond) is ops[cond](3, int(b))


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

def test_sequence_index_variants_give_the_position_by_identity(runtime):
    game = runtime[0].game
    items = [object() for _ in range(4)]
    game.sprites, game.backgrounds = items, tuple(items)
    for name in (b"sprites", b"backgrounds"):
        f = na.Game_Sequence_Index_F(items[2], name)
        assert (na.Game_Sequence_Index(items[2], name), f, type(f)) == (2, 2.0, float)
        assert na.Game_Sequence_Index_S(items[2], name) == "2"
    for game.sprites, probe in (([], object()), ([object()], object()),
                                ([1000, 2000], int("2000"))):
        for f in (na.Game_Sequence_Index, na.Game_Sequence_Index_F):
            with pytest.raises(ValueError, match=na.NULL_RESULT):  # null, no exception
                f(probe, b"sprites")
        assert na.Game_Sequence_Index_S(probe, b"sprites") == "-1"


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

def test_nested_push_and_pop_restore_self_and_an_empty_pop_changes_nothing(runtime, capfd):
    _, tamapi = runtime
    original, a, b = object(), object(), object()
    tamapi.self = original
    assert na.PushSelf(a) == 0 and na.PushSelf(b) == 0
    assert tamapi.self is b and tamapi.py_self_stack == [original, a]
    na.PopSelf()
    assert tamapi.self is a
    na.PopSelf()
    assert tamapi.self is original and tamapi.py_self_stack == []
    na.PopSelf()
    assert capfd.readouterr().err == "Error in PyList_GetItem -1\n"
    assert tamapi.self is original and tamapi.py_self_stack == []


@pytest.mark.parametrize("stack,error", [(None, RuntimeError), ((), TypeError)])
def test_self_stack_that_is_missing_or_not_a_list_raises(runtime, stack, error):
    _, tamapi = runtime
    if stack is None:
        del tamapi.py_self_stack
    else:
        tamapi.py_self_stack = stack
    standins.register()
    with pytest.raises(error):
        na.PushSelf(object())
    with pytest.raises(error):
        na.PopSelf()


# --- first instance ---------------------------------------------------------------

Obj = standins.ObjectRecord


def test_first_instance():
    grand, own = object(), object()
    tree = Obj(children=[Obj(), Obj(children=[Obj([grand, object()]), Obj([object()])]),
                         Obj([object()])])
    assert na.GetFirstInstance(tree) is grand  # depth first, pre-order
    assert na.GetFirstInstance(Obj([own], children=[Obj([object()])])) is own
    with pytest.raises(ValueError, match=na.NULL_RESULT):  # none anywhere
        na.GetFirstInstance(Obj(children=[Obj(), Obj()]))
    o = Obj()
    o.children.append(o)
    with pytest.raises(RecursionError):
        na.GetFirstInstance(o)
    with pytest.raises(AttributeError):
        na.GetFirstInstance(object())
