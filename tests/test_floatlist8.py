import copy
import math
import operator
import pickle
import sys

import pytest

import korvel
from standins import fl8

Floatlist8 = korvel.Floatlist8

VALUES = [2.5, -1.0, 0.25, 3.0, -7.5, 1e-3, 100.0, -0.0]
ARITHMETIC = [operator.add, operator.sub, operator.mul, operator.truediv]
COMPARISONS = [operator.lt, operator.le, operator.eq, operator.ne, operator.gt, operator.ge]
NAME = dict(ids=lambda op: getattr(op, "__name__", "op"))


def same(a, b):
    """Equal as doubles, NaN included, and -0.0 apart from 0.0."""
    return (math.isnan(a) and math.isnan(b)) or (a == b and math.copysign(1, a) ==
                                                 math.copysign(1, b))


def test_type_new_lists_iteration_and_unpacking():
    for make_bad in [lambda: type("Sub", (Floatlist8,), {}), lambda: Floatlist8(1),
                     lambda: Floatlist8(x=1), lambda: hash(Floatlist8())]:
        with pytest.raises(TypeError):
            make_bad()
    fl = Floatlist8()
    assert list(fl) == [0.0] * 8 and len(fl) == 8 and bool(fl) is True
    a, b, c, d, e, f, g, h = fl8(*VALUES)
    assert [a, b, c, d, e, f, g, h] == VALUES and all(type(x) is float for x in fl)


@pytest.mark.parametrize("k", range(-8, 8))
def test_indexing_from_either_end(k):
    fl = fl8(*VALUES)
    assert fl[k] == VALUES[k]
    fl[k] = 42
    assert fl[k] == 42.0 and fl[k % 8] == 42.0


@pytest.mark.parametrize("key,value,want", [
    *[(k, 1, IndexError) for k in (8, 9, -9, 2**40, -2**40)],
    *[(k, 1, TypeError) for k in (1.0, "1", None, slice(0, 2))],
    (3, "x", ValueError), (3, None, TypeError), (3, [], TypeError), (3, 10**400, OverflowError),
    (3, "2", 2.0), (3, " -1.5 ", -1.5), (3, 3, 3.0), (3, True, 1.0), (3, 2**53, 2.0**53),
    (3, "inf", math.inf)])
def test_items_go_through_the_float_conversion_and_bad_ones_change_nothing(key, value, want):
    fl = fl8(*VALUES)
    with pytest.raises(TypeError):
        del fl[2]
    if type(want) is float:
        fl[key] = value
        assert fl[key] == want and type(fl[key]) is float
        return
    if value == 1:  # a bad index fails the read too
        with pytest.raises(want):
            fl[key]
    with pytest.raises(want):
        fl[key] = value
    assert list(fl) == VALUES


@pytest.mark.parametrize("first,text", [
    (2.5, "%f"), (-0.5, "%f"), (math.nan, "%f"),
    (-3.0, "-3"), (0.0, "0"), (-0.0, "0"), (7.0, "7"),
    (2147483647.0, "2147483647"), (-2147483648.0, "-2147483648"),
    # whole values beyond 32 bits keep the processor's truncation result
    (1e10, "-2147483648"), (-1e10, "-2147483648"), (math.inf, "-2147483648"),
])
def test_str_prints_whole_values_as_integers_and_others_as_percent_f(first, text):
    fl = fl8(first)
    assert str(fl) == text and f"{fl}" == text


@pytest.mark.parametrize("first", [2.5, -2.5, -3.0, 0.0, 1e20, 0.999, math.inf, math.nan])
def test_int_and_float_use_element_0(first):
    fl = fl8(first, 9.0)
    assert float(fl) == first or math.isnan(first)
    assert type(float(fl)) is float
    try:
        want = int(first)
    except (OverflowError, ValueError) as e:
        with pytest.raises(type(e)):
            int(fl)
    else:
        assert int(fl) == want and type(int(fl)) is int


# -- arithmetic ----------------------------------------------------------------------

def ieee(op, a, b):
    """op on doubles, with the IEEE result of a zero divisor instead of an error."""
    if op is operator.truediv and b == 0:
        if a == 0 or math.isnan(a):
            return math.nan
        return math.copysign(math.inf, a) * math.copysign(1, b)
    return op(a, b)


@pytest.mark.parametrize("op", ARITHMETIC, **NAME)
@pytest.mark.parametrize("first", [2.5, -4.0, 0.0])
@pytest.mark.parametrize("other", [1, -3, 0.5, 0, 0.0, -0.0, True, "2", 2**60])
def test_arithmetic_makes_a_new_list_from_element_0_first(op, first, other):
    fl = fl8(first, *VALUES[1:])
    want = ieee(op, first, float(other))  # element 0 first, whichever side
    for result in (op(fl, other), op(other, fl)):
        assert type(result) is Floatlist8 and result is not fl
        assert same(result[0], want) and list(result)[1:] == VALUES[1:]
    assert list(fl) == [first] + VALUES[1:]


@pytest.mark.parametrize("op", ARITHMETIC + COMPARISONS, **NAME)
def test_lists_and_variables_combine_and_compare_by_element_0(op):
    a, b = fl8(6.0, *VALUES[1:]), fl8(4.0, 1.0)
    for x, y in [(a, b), (b, a), (a, korvel.TamVar(4))]:
        r = op(x, y)
        if op in ARITHMETIC:
            assert same(r[0], op(x[0], float(y[0]))) and list(r)[1:] == list(x)[1:]
        else:
            assert r is op(x[0], float(y[0]))
    if op in COMPARISONS:
        assert op(korvel.TamVar(1), b) is op(1, 2.0)


def test_subtracting_in_place_changes_the_list_and_other_inplace_ops_make_new_ones():
    fl = holder = fl8(*VALUES)
    fl -= 1
    assert fl is holder and fl[0] == VALUES[0] - 1 and list(fl)[1:] == VALUES[1:]
    fl -= korvel.TamVar(0.5)
    assert fl is holder and fl[0] == VALUES[0] - 1.5
    for op in (operator.iadd, operator.imul, operator.itruediv):
        fl = fl8(*VALUES)
        assert op(fl, 2) is not fl and list(fl) == VALUES


@pytest.mark.parametrize("op", [operator.neg, abs, operator.invert, operator.mod,
                                operator.floordiv, operator.pow], **NAME)
def test_absent_slots_fail(op):
    with pytest.raises(TypeError, match="unsupported operand|bad operand"):
        op(fl8(), 2) if op in (operator.mod, operator.floordiv, operator.pow) else op(fl8())


@pytest.mark.parametrize("op", ARITHMETIC + COMPARISONS + [operator.isub], **NAME)
@pytest.mark.parametrize("other,error", [(None, TypeError), ("x", ValueError),
                                         ([1], TypeError), (object(), TypeError),
                                         (10**400, OverflowError)])
def test_operands_without_a_float_conversion_raise(op, other, error):
    if op in COMPARISONS and other == 10**400:
        return  # a float conversion exists: the comparison itself is fine
    fl = fl8(*VALUES)
    with pytest.raises(error):
        op(fl, other)
    if op is not operator.isub:
        with pytest.raises(error):
            op(other, fl)
    assert list(fl) == VALUES


# -- comparison ----------------------------------------------------------------------

def threeway(a, b):
    return -1 if b > a else 1 if a > b else 0  # NaN: neither, so equal


@pytest.mark.parametrize("op", COMPARISONS, **NAME)
@pytest.mark.parametrize("first", [2.0, -1.5, math.nan])
@pytest.mark.parametrize("other", [2, 3.5, -2, "2", math.nan, True])
def test_comparison_is_by_element_0_against_the_others_float(op, first, other):
    fl = fl8(first)
    assert op(fl, other) is op(threeway(first, float(other)), 0)
    assert op(other, fl) is op(threeway(float(other), first), 0)


# -- pickling ------------------------------------------------------------------------

@pytest.mark.parametrize("protocol", range(pickle.HIGHEST_PROTOCOL + 1))
@pytest.mark.parametrize("values", [VALUES, [math.inf, math.nan, -0.0, 1e308, 5e-324]])
def test_pickle_and_copies_round_trip(protocol, values):
    fl = fl8(*values)
    cls, args, state = fl.__reduce__()
    assert (cls, args, type(state)) == (Floatlist8, (), tuple)
    assert all(same(x, y) for x, y in zip(state, (values + [0.0] * 8)[:8], strict=True))
    for back in (pickle.loads(pickle.dumps(fl, protocol)), copy.copy(fl), copy.deepcopy(fl)):
        assert type(back) is Floatlist8 and back is not fl
        assert all(same(x, y) for x, y in zip(back, values))


@pytest.mark.parametrize("args,error", [
    ((tuple(range(8)),), None), ((list(range(8)),), None), ((tuple(range(10)),), None),
    (((1, 2.5, True, 4, 5, 6, 7, 8),), None),
    ((), TypeError), ((None,), TypeError), ((tuple(range(7)),), ValueError),
    ((("1",) * 8,), TypeError), (((1,) * 7 + (None,),), TypeError)])
def test_setstate_reads_eight_numbers_and_refuses_other_states(args, error):
    fl = fl8(*VALUES)
    if error is None:
        assert fl.__setstate__(*args) is None
        assert list(fl) == [float(x) for x in args[0][:8]]
        return
    with pytest.raises(error):
        fl.__setstate__(*args)
    assert list(fl) == VALUES


def test_operands_keep_their_reference_counts():
    other, state = 10.0**10, tuple(float(x) for x in range(8))
    counts = sys.getrefcount(other), sys.getrefcount(state)
    fl = fl8(*VALUES)
    for op in ARITHMETIC + COMPARISONS + [operator.isub]:
        op(fl, other)
    for op in ARITHMETIC + COMPARISONS:
        op(other, fl)
    fl[1] = other
    fl.__setstate__(state)
    fl.__reduce__()
    assert (sys.getrefcount(other), sys.getrefcount(state)) == counts
    assert [fl[0] for fl in sorted(fl8(x) for x in (3.0, -1.0, 2.0))] == [-1.0, 2.0, 3.0]
