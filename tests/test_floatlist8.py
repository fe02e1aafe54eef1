# Floatlist8 against a plain model: a list of eight floats, element 0 the value.
import contextlib
import math
import operator

import pytest
from hypothesis import given, settings
from hypothesis import strategies as st

from korvel import Floatlist8, TamVar
from standins import fl8

ARITHMETIC = [operator.add, operator.sub, operator.mul, operator.truediv]
COMPARISONS = [operator.lt, operator.le, operator.eq, operator.ne, operator.gt, operator.ge]
numbers = st.one_of(st.floats(), st.integers(-2**60, 2**60), st.booleans(), st.just("2"),
                    st.sampled_from([2147483647.0, -2147483648.0, 2147483648.0, 1e10, -0.0, -3.0, 0.999]))


def same(a, b):  # equal as doubles, NaN included, -0.0 apart from 0.0
    return (math.isnan(a) and math.isnan(b)) or (a == b and math.copysign(1, a) == math.copysign(1, b))


def ieee(op, a, b):  # op on doubles, a zero divisor giving the IEEE result instead of an error
    if op is operator.truediv and b == 0:
        return math.nan if a == 0 or math.isnan(a) else math.copysign(math.inf, a) * math.copysign(1, b)
    return op(a, b)


# Whole values as 32-bit integers (beyond them the processor's truncation result), others "%f".
def printed(x):
    if math.isnan(x) or math.isfinite(x) and x % 1:
        return "%f"
    return str(int(x) if -2**31 <= x < 2**31 else -2**31)


def threeway(a, b):
    return -1 if b > a else 1 if a > b else 0  # NaN: neither, so equal


@settings(max_examples=150, deadline=None)
@given(st.lists(st.tuples(st.integers(-8, 7), numbers), max_size=10), numbers,
       st.sampled_from(ARITHMETIC + COMPARISONS + ["isub"]), st.booleans(),
       st.sampled_from([lambda x: x, lambda x: fl8(x, 9.0), TamVar]))
def test_items_and_operations_follow_a_list_of_eight_floats(writes, other, op, reflected, wrap):
    fl, model = Floatlist8(), [0.0] * 8
    for k, x in writes:
        fl[k] = x
        model[k] = float(x)
        first = fl8(x, 9.0)  # str, int and float use element 0
        assert str(first) == printed(model[k]) and same(float(first), model[k])
        if math.isfinite(model[k]):
            assert int(first) == int(model[k]) and type(int(first)) is int
        else:
            pytest.raises(ValueError if math.isnan(model[k]) else OverflowError, int, first)
    assert all(type(fl[k]) is float and same(fl[k], model[k]) for k in range(-8, 8))
    assert all(same(a, b) for a, b in zip(fl, model, strict=True)) and len(fl) == 8
    # on the right, another list or a variable counts by its element 0
    b, held, other = float(other), fl, other if reflected else wrap(other)
    if op in COMPARISONS:
        want = threeway(b, model[0]) if reflected else threeway(model[0], b)
        assert (op(other, fl) if reflected else op(fl, other)) is op(want, 0)
        return
    if op == "isub":
        fl -= other
        model[0] -= b
    else:  # element 0 first, whichever side; a new list
        fl = op(other, fl) if reflected else op(fl, other)
        model[0] = ieee(op, model[0], b)
        assert type(fl) is Floatlist8
    assert (fl is held) == (op == "isub") and all(same(a, b) for a, b in zip(fl, model, strict=True))


@pytest.mark.parametrize("key,value,error", [
    *[(k, 1, IndexError) for k in (8, -9, 2**40)], *[(k, 1, TypeError) for k in (1.0, "1", None, slice(0, 2))],
    (3, "x", ValueError), (3, None, TypeError), (3, [], TypeError), (3, 10**400, OverflowError)])
def test_bad_items_raise_and_change_nothing(key, value, error):
    fl = fl8(1, 2, 3)
    if value == 1:
        pytest.raises(error, operator.getitem, fl, key)
    else:  # an operand without a float conversion
        for op in ARITHMETIC + COMPARISONS * (value != 10**400):  # a huge int still compares
            pytest.raises(error, op, fl, value)
            pytest.raises(error, op, value, fl)
        pytest.raises(error, operator.isub, fl, value)
    pytest.raises(error, operator.setitem, fl, key, value)
    pytest.raises(TypeError, operator.delitem, fl, 2)
    assert list(fl) == [1, 2, 3] + [0] * 5


@pytest.mark.parametrize("state,error", [
    (list(range(8)), None), (tuple(range(10)), None), ((1, 2.5, True, 4, 5, 6, 7, 8), None), (None, TypeError),
    (tuple(range(7)), ValueError), (("1",) * 8, TypeError), ((1,) * 7 + (None,), TypeError)])
def test_setstate_reads_eight_numbers_and_refuses_other_states(state, error):
    fl = fl8(5)
    with pytest.raises(error) if error else contextlib.nullcontext():
        fl.__setstate__(state)
    assert list(fl) == ([5.0] + [0.0] * 7 if error else [float(x) for x in state[:8]])
