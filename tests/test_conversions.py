# The shared helpers that no type reaches whole: member reading, colours and the
# self stack.
import pytest

import nativeapi as na
import standins


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
# sequences white (anything else is refused).
def test_color_as_int(screen):
    rs, gs, bs, _ = screen.get_shifts()
    for o in [(255, 0, 0), (1, 2, 3, 99), [0, 300, 0], (-1, 0, 0), 0x00FF00, -5, (1, 2), (), [7]]:
        want = o if isinstance(o, int) else sum(screen.get_masks()[:3]) if len(o) < 3 else \
            (o[0] << rs) + (o[1] << gs) + (o[2] << bs)
        assert na.color_as_int(o) == want, o


# Popping an empty stack prints its line and keeps self (a push and its pop
# around draw code are the room drawing's); a missing self stack is a RuntimeError,
# one that is not a list a TypeError.
@pytest.mark.filterwarnings("ignore:RegisterInstancesDict:RuntimeWarning")  # removed on purpose
def test_a_bad_self_stack_raises(runtime, capfd):
    tamapi, kept = runtime[1], object()
    tamapi.self = kept
    na.PopSelf()
    assert tamapi.self is kept and capfd.readouterr().err == "Error in PyList_GetItem -1\n"
    del tamapi.py_self_stack
    for error in (RuntimeError, TypeError):  # missing, then not a list
        standins.register()
        pytest.raises(error, na.PushSelf, kept)
        pytest.raises(error, na.PopSelf)
        tamapi.py_self_stack = ()
