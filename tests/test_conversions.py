# The shared helpers that no type reaches whole: item and member reading,
# colours, resource lookups in a broken runtime, the self stack, first instances.
import pytest

import korvel
import nativeapi as na
import standins


@pytest.mark.parametrize("seq,idx,want", [
    ([5, 6], 1, 6), ((5, 6), 1, 6), (type("ListSub", (list,), {})([5, 6]), 1, 6), ([5, 6], 2, IndexError), ((5,), -1, IndexError),
    ((5, "x"), 1, TypeError), ((5, 6.5), 1, TypeError), ({0: 5}, 0, TypeError)])
def test_seqi_reads_lists_and_tuples_only(seq, idx, want):
    assert na.seqi(seq, idx) == want if isinstance(want, int) else pytest.raises(want, na.seqi, seq, idx)


Slots = type("Slots", (), {"__slots__": ("a", "b")})
Guarded = type("Guarded", (), {"__slots__": ("a", "_c"), "c": property(lambda self: self._c, lambda self, v: 1 / 0)})


@pytest.mark.parametrize("cls,state,error,want", [
    (Slots, (("a", 1), ("nosuch", 9), ("b", 2)), None, (1, 2)),  # unknown names passed over
    (Guarded, (("c", 1), ("a", 5), ("a", "x", 3)), ZeroDivisionError, (5,)),  # goes on, then raises
    (Slots, 5, TypeError, ()), (Slots, [("a",)], TypeError, ()), (Slots, [(1, 2)], TypeError, ())])
def test_load_membertuple_rejects_malformed_states(cls, state, error, want):
    o = cls()
    assert pytest.raises(error, na.load_membertuple, o, (state,)) if error else na.load_membertuple(o, (state,)) is None
    assert tuple(getattr(o, n) for n in "ab"[:len(want)]) == want
    if not error:  # and membertuple pairs every member back, in table order
        assert na.membertuple(o, ()) == (Slots, (), (("a", 1), ("b", 2)))


# Components packed in the screen's format, integers passed through, short
# sequences white, anything else a TypeError.
def test_color_as_int(screen):
    rs, gs, bs, _ = screen.get_shifts()
    for o in [(255, 0, 0), (1, 2, 3, 99), [0, 300, 0], (-1, 0, 0), 0x00FF00, -5, (1, 2), (), [7]]:
        want = o if isinstance(o, int) else sum(screen.get_masks()[:3]) if len(o) < 3 else \
            (o[0] << rs) + (o[1] << gs) + (o[2] << bs)
        assert na.color_as_int(o) == want, o
    for o in [(1, "g", 3), 2.5, None]:
        pytest.raises(TypeError, na.color_as_int, o)


# A resource's number is its position in the game's list: a game or list that
# is missing, or a list that is neither list nor tuple, fails the conversion.
@pytest.mark.parametrize("breakage,error", [
    (lambda tam6: delattr(tam6, "game"), AttributeError),
    (lambda tam6: delattr(tam6.game, "backgrounds"), AttributeError),
    (lambda tam6: setattr(tam6.game, "backgrounds", {1: 2}), TypeError)])
def test_sequence_index_with_a_broken_runtime_raises(runtime, breakage, error):
    breakage(runtime[0])
    for convert in (int, float, str):
        pytest.raises(error, convert, korvel.BackgroundData())


# A missing self stack is a RuntimeError, one that is not a list a TypeError.
@pytest.mark.filterwarnings("ignore:RegisterInstancesDict:RuntimeWarning")  # removed on purpose
def test_nested_push_and_pop_restore_self_and_a_bad_stack_raises(runtime, capfd):
    tamapi = runtime[1]
    original, a, b = object(), object(), object()
    tamapi.self = original
    assert na.PushSelf(a) == 0 and na.PushSelf(b) == 0
    assert tamapi.self is b and tamapi.py_self_stack == [original, a]
    na.PopSelf()
    assert tamapi.self is a
    for _ in range(2):
        na.PopSelf()
        assert tamapi.self is original and tamapi.py_self_stack == []
    assert capfd.readouterr().err == "Error in PyList_GetItem -1\n"
    del tamapi.py_self_stack
    for error in (RuntimeError, TypeError):  # missing, then not a list
        standins.register()
        pytest.raises(error, na.PushSelf, a)
        pytest.raises(error, na.PopSelf)
        tamapi.py_self_stack = ()


def test_first_instance():
    Obj, grand, own = standins.ObjectRecord, object(), object()
    tree = Obj(children=[Obj(), Obj(children=[Obj([grand, object()]), Obj([object()])]), Obj([object()])])
    assert na.GetFirstInstance(tree) is grand  # depth first, pre-order
    assert na.GetFirstInstance(Obj([own], children=[Obj([object()])])) is own
    # none anywhere
    pytest.raises(ValueError, na.GetFirstInstance, Obj(children=[Obj(), Obj()])).match(na.NULL_RESULT)
    o = Obj()
    o.children.append(o)
    pytest.raises(RecursionError, na.GetFirstInstance, o)
