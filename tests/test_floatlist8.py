import copy
import math
import operator
import pickle
import sys

import pytest

import korvel

Floatlist8 = korvel.Floatlist8

VALUES = [2.5, -1.0, 0.25, 3.0, -7.5, 1e-3, 100.0, -0.0]


def make(values=VALUES):
    fl = Floatlist8()
    for k, x in enumerate(values):
        fl[k] = x
    return fl


def same(a, b):
    """Equal as doubles, NaN included, and -0.0 apart from 0.0."""
    return (math.isnan(a) and math.isnan(b)) or (a == b and math.copysign(1, a) ==
                                                 math.copysign(1, b))


# -- the published type and sequence access ------------------------------------------

def test_type_is_published_with_its_name_and_doc():
    assert Floatlist8.__name__ == "Floatlist8" and Floatlist8.__module__ == "korvel"
    assert Floatlist8.__doc__ == "A list of 8 floats."
    with pytest.raises(TypeError):
        type("Sub", (Floatlist8,), {})


@pytest.mark.parametrize("args,kwds", [((1,), {}), ((), {"x": 1})])
def test_calling_the_type_takes_no_arguments(args, kwds):
    with pytest.raises(TypeError):
        Floatlist8(*args, **kwds)


def test_a_new_list_is_eight_zeros_and_always_true():
    fl = Floatlist8()
    assert list(fl) == [0.0] * 8 and len(fl) == 8 and bool(fl) is True


def test_iteration_and_unpacking_give_exactly_eight_floats():
    fl = make()
    a, b, c, d, e, f, g, h = fl
    assert [a, b, c, d, e, f, g, h] == VALUES == list(fl)
    assert all(type(x) is float for x in fl)


@pytest.mark.parametrize("k", range(-8, 8))
def test_indexing_from_either_end(k):
    fl = make()
    assert fl[k] == VALUES[k]
    fl[k] = 42
    assert fl[k] == 42.0 and fl[k % 8] == 42.0


@pytest.mark.parametrize("k", [8, 9, -9, 2**40, -2**40])
def test_indices_outside_the_list_raise_index_error(k):
    fl = make()
    with pytest.raises(IndexError):
        fl[k]
    with pytest.raises(IndexError):
        fl[k] = 1.0
    assert list(fl) == VALUES


@pytest.mark.parametrize("value,stored", [("2", 2.0), (" -1.5 ", -1.5), (3, 3.0), (True, 1.0),
                                          (2**53, 2.0**53), ("inf", math.inf)])
def test_items_are_stored_through_the_float_conversion(value, stored):
    fl = make()
    fl[3] = value
    assert fl[3] == stored and type(fl[3]) is float


@pytest.mark.parametrize("value,error", [("x", ValueError), (None, TypeError), ([], TypeError),
                                         (10**400, OverflowError)])
def test_items_without_a_float_conversion_raise_and_change_nothing(value, error):
    fl = make()
    with pytest.raises(error):
        fl[3] = value
    assert list(fl) == VALUES


def test_items_cannot_be_deleted():
    fl = make()
    with pytest.raises(TypeError):
        del fl[2]
    assert list(fl) == VALUES


@pytest.mark.parametrize("key", [1.0, "1", None, slice(0, 2)])
def test_non_integer_indices_raise_type_error(key):
    with pytest.raises(TypeError):
        make()[key]


# -- conversions ---------------------------------------------------------------------

@pytest.mark.parametrize("first,text", [
    (2.5, "%f"), (-0.5, "%f"), (math.nan, "%f"),
    (-3.0, "-3"), (0.0, "0"), (-0.0, "0"), (7.0, "7"),
    (2147483647.0, "2147483647"), (-2147483648.0, "-2147483648"),
    # whole values beyond 32 bits keep the processor's truncation result
    (1e10, "-2147483648"), (-1e10, "-2147483648"), (math.inf, "-2147483648"),
])
def test_str_prints_whole_values_as_integers_and_others_as_percent_f(first, text):
    fl = make([first])
    assert str(fl) == text and f"{fl}" == text


@pytest.mark.parametrize("first", [2.5, -2.5, -3.0, 0.0, 1e20, 0.999])
def test_int_and_float_use_element_0(first):
    fl = make([first, 9.0])
    assert int(fl) == int(first) and type(int(fl)) is int
    assert float(fl) == first and type(float(fl)) is float


@pytest.mark.parametrize("first,error", [(math.inf, OverflowError), (math.nan, ValueError)])
def test_int_of_a_value_without_an_integer_raises(first, error):
    with pytest.raises(error):
        int(make([first]))


# -- arithmetic ----------------------------------------------------------------------

ARITHMETIC = [operator.add, operator.sub, operator.mul, operator.truediv]
OTHERS = [1, -3, 0.5, 0, 0.0, -0.0, True, "2", 2**60]


def ieee(op, a, b):
    """op on doubles, with the IEEE result of a zero divisor instead of an error."""
    if op is operator.truediv and b == 0:
        if a == 0 or math.isnan(a):
            return math.nan
        return math.copysign(math.inf, a) * math.copysign(1, b)
    return op(a, b)


@pytest.mark.parametrize("op", ARITHMETIC, ids=lambda op: op.__name__)
@pytest.mark.parametrize("first", [2.5, -4.0, 0.0])
@pytest.mark.parametrize("other", OTHERS)
def test_arithmetic_makes_a_new_list_from_element_0_first(op, first, other):
    fl = make([first] + VALUES[1:])
    want = ieee(op, first, float(other))  # element 0 first, whichever side
    for result in (op(fl, other), op(other, fl)):
        assert type(result) is Floatlist8 and result is not fl
        assert same(result[0], want)
        assert list(result)[1:] == VALUES[1:]
    assert list(fl) == [first] + VALUES[1:]


@pytest.mark.parametrize("op", ARITHMETIC, ids=lambda op: op.__name__)
def test_lists_and_variables_combine_by_element_0(op):
    a, b = make([6.0] + VALUES[1:]), make([4.0, 1.0])
    assert same(op(a, b)[0], op(6.0, 4.0)) and list(op(a, b))[1:] == VALUES[1:]
    assert same(op(b, a)[0], op(4.0, 6.0)) and list(op(b, a))[1:] == [1.0] + [0.0] * 6
    v = korvel.TamVar(4)
    assert same(op(a, v)[0], op(6.0, 4.0))


def test_subtracting_in_place_changes_the_list_every_holder_sees():
    fl = make()
    holder = fl
    fl -= 1
    assert fl is holder and fl[0] == VALUES[0] - 1 and list(fl)[1:] == VALUES[1:]
    fl -= korvel.TamVar(0.5)
    assert fl is holder and fl[0] == VALUES[0] - 1.5


@pytest.mark.parametrize("op", [operator.iadd, operator.imul, operator.itruediv],
                         ids=lambda op: op.__name__)
def test_other_inplace_operators_make_a_new_list(op):
    fl = make()
    result = op(fl, 2)
    assert result is not fl and list(fl) == VALUES


@pytest.mark.parametrize("op", [operator.neg, abs, operator.invert],
                         ids=lambda op: op.__name__)
def test_absent_unary_slots_fail(op):
    with pytest.raises(TypeError):
        op(make())


@pytest.mark.parametrize("op", [operator.mod, operator.floordiv, operator.pow],
                         ids=lambda op: op.__name__)
def test_absent_binary_slots_fail(op):
    with pytest.raises(TypeError, match="unsupported operand"):
        op(make(), 2)


@pytest.mark.parametrize("op", ARITHMETIC + [operator.isub], ids=lambda op: op.__name__)
@pytest.mark.parametrize("other,error", [(None, TypeError), ("x", ValueError),
                                         ([1], TypeError), (10**400, OverflowError)])
def test_operands_without_a_float_conversion_raise(op, other, error):
    fl = make()
    with pytest.raises(error):
        op(fl, other)
    if op is not operator.isub:
        with pytest.raises(error):
            op(other, fl)
    assert list(fl) == VALUES


# -- comparison ----------------------------------------------------------------------

COMPARISONS = [operator.lt, operator.le, operator.eq, operator.ne, operator.gt, operator.ge]


def threeway(a, b):
    return -1 if b > a else 1 if a > b else 0  # NaN: neither, so equal


@pytest.mark.parametrize("op", COMPARISONS, ids=lambda op: op.__name__)
@pytest.mark.parametrize("first", [2.0, -1.5, math.nan])
@pytest.mark.parametrize("other", [2, 3.5, -2, "2", math.nan, True])
def test_comparison_is_by_element_0_against_the_others_float(op, first, other):
    fl = make([first])
    assert op(fl, other) is op(threeway(first, float(other)), 0)
    assert op(other, fl) is op(threeway(float(other), first), 0)


@pytest.mark.parametrize("op", COMPARISONS, ids=lambda op: op.__name__)
def test_lists_compare_with_lists_and_variables_by_element_0(op):
    a, b = make([1.0, 99.0]), make([2.0, -99.0])
    assert op(a, b) is op(1.0, 2.0) and op(b, a) is op(2.0, 1.0)
    v = korvel.TamVar(1)
    assert op(a, v) is op(1.0, 1.0) and op(v, b) is op(1, 2.0)


def test_lists_are_unhashable_and_sort_by_element_0():
    with pytest.raises(TypeError):
        hash(make())
    lists = [make([x]) for x in (3.0, -1.0, 2.0)]
    assert [fl[0] for fl in sorted(lists)] == [-1.0, 2.0, 3.0]


@pytest.mark.parametrize("other,error", [(None, TypeError), ("x", ValueError),
                                         (object(), TypeError)])
def test_comparison_with_no_float_conversion_raises(other, error):
    for op in (operator.eq, operator.lt):
        with pytest.raises(error):
            op(make(), other)
        with pytest.raises(error):
            op(other, make())


# -- pickling ------------------------------------------------------------------------

def test_reduce_names_the_type_and_gives_eight_floats():
    fl = make()
    assert fl.__reduce__() == (Floatlist8, (), tuple(VALUES))


@pytest.mark.parametrize("protocol", range(pickle.HIGHEST_PROTOCOL + 1))
@pytest.mark.parametrize("values", [VALUES, [math.inf, math.nan, -0.0, 1e308, 5e-324]])
def test_pickle_round_trips(protocol, values):
    back = pickle.loads(pickle.dumps(make(values), protocol))
    assert type(back) is Floatlist8
    assert all(same(x, y) for x, y in zip(back, make(values)))


@pytest.mark.parametrize("clone", [copy.copy, copy.deepcopy])
def test_copies_are_new_lists_with_the_same_values(clone):
    fl = make()
    other = clone(fl)
    assert other is not fl and list(other) == VALUES


@pytest.mark.parametrize("state", [tuple(range(8)), list(range(8)), tuple(range(10)),
                                   (1, 2.5, True, 4, 5, 6, 7, 8)])
def test_setstate_reads_the_first_eight_numbers(state):
    fl = make()
    assert fl.__setstate__(state) is None
    assert list(fl) == [float(x) for x in state[:8]]


@pytest.mark.parametrize("args,error", [((), TypeError), ((None,), TypeError),
                                        ((tuple(range(7)),), ValueError),
                                        ((("1",) * 8,), TypeError),
                                        (((1,) * 7 + (None,),), TypeError)])
def test_bad_states_are_refused_with_the_list_unchanged(args, error):
    fl = make()
    with pytest.raises(error):
        fl.__setstate__(*args)
    assert list(fl) == VALUES


# -- references ----------------------------------------------------------------------

def test_operands_keep_their_reference_counts():
    other, state = 10.0**10, tuple(float(x) for x in range(8))
    counts = sys.getrefcount(other), sys.getrefcount(state)
    fl = make()
    for op in ARITHMETIC + COMPARISONS + [operator.isub]:
        op(fl, other)
    for op in ARITHMETIC + COMPARISONS:
        op(other, fl)
    fl[1] = other
    fl.__setstate__(state)
    fl.__reduce__()
    assert (sys.getrefcount(other), sys.getrefcount(state)) == counts
