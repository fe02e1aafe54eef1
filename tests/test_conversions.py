"""The shared helpers that no type reaches whole: item and member reading,
colours, resource lookups in a broken runtime, the self stack, first instances."""
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


# --- resource numbers ---------------------------------------------------------

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
