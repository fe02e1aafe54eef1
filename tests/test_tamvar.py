# TamVar against a plain model: a dict of cells whose (0, 0) is the scalar.
import collections
import gc
import operator

import pytest
from hypothesis import given, settings
from hypothesis import strategies as st

from korvel import TamVar

# A key of any form the runtime uses, and the cell it names.
KEY_FORMS = [lambda i, j: i if j is None else (i, j), lambda i, j: [i, j or 0, 99],
             lambda i, j: i + 0.9 if j is None else (i + 0.5, j + 0.2),
             lambda i, j: TamVar(i) if j is None else (TamVar(i + 0.5), j),
             lambda i, j: (i == 1 or i) if j is None else (i == 1 or i, j)]
keys = st.tuples(st.integers(0, 9), st.none() | st.integers(0, 6), st.sampled_from(KEY_FORMS))


def adding(n):  # an addend whose sum is a variable, stored as its scalar
    return type("Adding", (), {"__radd__": lambda self, o: TamVar(o + n)})()


@settings(max_examples=60, deadline=None)
@given(st.lists(st.tuples(st.sampled_from(["write", "read", "add", "init"]), keys, st.integers(-5, 99)), max_size=15))
def test_cells_follow_a_dict_model(steps):
    v, cells, filled = TamVar(7), {(0, 0): 7}, {(0, 0)}
    for action, (i, j, form), value in steps:
        key, cell = form(i, j), (i, j or 0)
        size = [max(c[n] for c in cells) + 1 for n in (0, 1)]
        if action == "write":  # a variable stores its scalar
            v[key] = value if value % 3 else TamVar(value)
            cells[cell] = value
            filled.add(cell)
        elif action == "read":
            got = v[key]
            assert got == cells.get(cell, 0) and type(got) is int
            if isinstance(key, (tuple, list)) and i < size[0] and cell[1] < size[1]:
                filled.add(cell)  # a two-index read inside the array stores its 0
        elif action == "add":
            assert operator.iadd(v, (value, TamVar(value), adding(value))[value % 3]) is v
            cells[(0, 0)] += value
        else:  # a variable given copies only its scalar
            TamVar.__init__(v, v if value % 2 else value)
            cells, filled = {(0, 0): cells[(0, 0)] if value % 2 else value}, {(0, 0)}
        size = [max(c[n] for c in cells) + 1 for n in (0, 1)]
        assert len(v) == size[0] * size[1]
        stored = collections.Counter((type(x), x) for x in gc.get_referents(v))
        assert stored == collections.Counter((int, cells.get(c, 0)) for c in filled)


@pytest.mark.parametrize("key,error", [
    *[(k, IndexError) for k in (-1, -1.5, TamVar(-3), (), (1,), "a", (-1, 0), (0, -2))],
    *[(k, TypeError) for k in (("a", 0), (0, None), None, object())],
    (float("nan"), ValueError), (TamVar("x"), ValueError), (float("inf"), OverflowError),
    (2**70, OverflowError), *[(k, MemoryError) for k in (2**31, (0, 2**31), (2**16, 2**16))]])
def test_bad_keys_fail_clearly_and_change_nothing(capfd, key, error):
    v = TamVar(5)
    pytest.raises(error, operator.setitem, v, key, 1)
    pytest.raises(TypeError, operator.delitem, v, key)  # a deletion prints its line, whatever the key
    assert capfd.readouterr().out == "Assigning a blank val\n"
    assert error not in (TypeError, MemoryError) or v[key] == 0  # reading a cell of a bad type or size is 0
    assert len(v) == 1 and gc.get_referents(v) == [5]


# -- element 0 is the value for everything else ------------------------------------------

def outcome(f, *args):
    try:
        return type(r := f(*args)), r
    except Exception as e:  # the host's own error is part of the result
        return type(e)


def classic_div(a, b):
    return a // b if isinstance(a, int) and isinstance(b, int) else a / b


OPS = [getattr(operator, n) for n in "add sub mod and_ xor or_ lt le eq ne gt ge".split()] + [classic_div]


@pytest.mark.parametrize("a,b", [(7, 3), (-7, 2), (2.5, 0), (True, -0.5), (3, 0), ("ab", "c"),
                                 ("%d!", 5), ([1], [2]), ("a", 1), (None, None), ((1, 2), (1, 3))])
def test_operations_give_the_hosts_result_on_element_0(a, b):
    for op in OPS:
        slot = operator.truediv if op is classic_div else op
        sides = [(TamVar(a), b), (TamVar(a), TamVar(b))]
        if not (op is operator.mod and isinstance(a, str)):  # right of %: a mapping
            sides.append((a, TamVar(b)))
        for x, y in sides:
            assert outcome(slot, x, y) == outcome(op, a, b), op
    for op in (operator.neg, abs, int, float, str, bool, hash):
        assert outcome(op, TamVar(a)) == outcome(op, a), op
    assert len(TamVar(a)) == (len(a) if hasattr(a, "__len__") else 1)
    # the product is always a float, or the float conversion's error
    assert outcome(operator.mul, TamVar(a), b) == outcome(lambda: float(a) * float(b))
    assert outcome(operator.mul, b, TamVar(a)) == outcome(lambda: float(b) * float(a))


def test_a_variable_that_holds_itself_or_loses_element_0_mid_call():
    v = TamVar(0)
    v[0] = (v,)
    pytest.raises(RecursionError, hash, v)

    class Thing:
        size, __hash__ = 3, object.__hash__

        def __call__(self, *args, **kwds):
            v[0] = 1  # drops the variable's reference to this object
            return args, kwds, self.size

        def __eq__(self, other):
            v[0] = 2
            return True

    v[0] = Thing()  # calls and attributes go to element 0
    v.colour = "red"
    assert v[0].colour == "red" and v.size == 3 and v.__class__ is Thing
    del v.colour
    assert not hasattr(v[0], "colour")
    assert v(1, k=2) == ((1,), {"k": 2}, 3) and v[0] == 1
    v[0] = Thing()
    assert v == 0 and v[0] == 2
