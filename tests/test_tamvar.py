import gc
import math
import operator
import sys
import tracemalloc

import pytest
from hypothesis import given, settings
from hypothesis import strategies as st

import korvel

TamVar = korvel.TamVar


class GridModel:
    """What a variable holds: its extents and the elements stored so far."""

    def __init__(self, value):
        self.len, self.rows, self.cells = 1, 1, {(0, 0): value}

    def write(self, i, j, value):
        self.len, self.rows = max(self.len, i + 1), max(self.rows, j + 1)
        self.cells[i, j] = value

    def element(self, i, j=0):
        return self.cells.get((i, j), 0)


def referents(v):
    """The stored elements, as the collector sees them (last slot first)."""
    return gc.get_referents(v)


# -- creation and the published type -------------------------------------------------

def test_type_is_published_with_its_name_and_doc():
    assert TamVar.__name__ == "TamVar" and TamVar.__module__ == "py_korvel"
    assert TamVar.__doc__ == "Tam-compatible magical variable"
    with pytest.raises(TypeError):
        type("Sub", (TamVar,), {})


@pytest.mark.parametrize("value", [5, 2.5, "abc", None, (1, 2), [3]])
def test_new_variable_holds_its_value_in_element_0(value):
    v = TamVar(value)
    assert v[0] is value and v[0, 0] is value
    assert referents(v) == [value]


@pytest.mark.parametrize("args", [(), (1, 2)])
def test_creation_needs_exactly_one_value(args):
    with pytest.raises(TypeError):
        TamVar(*args)


def test_a_variable_built_from_a_variable_copies_its_scalar_only():
    w = TamVar(3)
    w[4] = 9
    v = TamVar(w)
    assert v[0] == 3 and v[4] == 0 and len(v) == 1


def test_reinitialising_releases_the_old_elements():
    held = object()
    v = TamVar(held)
    v[2, 2] = held
    before = sys.getrefcount(held)
    TamVar.__init__(v, 1)
    assert sys.getrefcount(held) == before - 2
    assert v[0] == 1 and len(v) == 1


# -- indexing and growth -------------------------------------------------------------

KEYS = st.one_of(st.tuples(st.integers(0, 9)), st.tuples(st.integers(0, 9), st.integers(0, 6)))


@settings(max_examples=150, deadline=None)
@given(st.lists(st.tuples(KEYS, st.integers(1, 99)), max_size=12))
def test_writes_grow_exactly_and_keep_every_element_in_place(writes):
    v, model = TamVar(7), GridModel(7)
    for key, value in writes:
        v[key if len(key) == 2 else key[0]] = value
        model.write(key[0], key[1] if len(key) == 2 else 0, value)
    assert len(v) == model.len * model.rows
    for i in range(model.len + 2):
        assert v[i] == model.element(i)
        for j in range(model.rows + 2):
            assert v[i, j] == model.element(i, j)


def test_one_index_write_leaves_the_slots_between_empty():
    v = TamVar(0)
    v[3] = 7
    assert len(v) == 4
    assert referents(v) == [7, 0]  # slots 1 and 2 are empty
    assert v[1] == 0 and v[2] == 0  # read as 0, and left empty
    assert referents(v) == [7, 0]


def test_two_index_growth_and_the_read_that_fills_a_slot():
    v = TamVar(1)
    v[2, 1] = "a"
    assert len(v) == 6 and v[0] == 1 and v[2, 1] == "a"
    assert referents(v) == ["a", 1]
    assert v[1, 1] == 0
    assert referents(v) == ["a", 0, 1]  # the two-index read stored its 0


def test_row_growth_keeps_rows_apart():
    v = TamVar(10)
    v[0, 1] = 11
    v[0, 2] = 12
    v[5] = "x"  # row length 1 -> 6 for every row
    assert [v[0, j] for j in range(3)] == [10, 11, 12]
    assert v[5, 0] == "x" and v[5, 1] == 0 and len(v) == 18


@pytest.mark.parametrize("key", [(1, 2), [1, 2], (1.9, 2.2), (True, 2), (1, 2, 99)])
def test_pair_keys_of_any_sequence_and_numbers(key):
    v = TamVar(0)
    v[key] = "here"
    assert v[1, 2] == "here" and v[key] == "here"


@pytest.mark.parametrize("index", [2, 2.7, True + 1, TamVar(2), TamVar(2.5)])
def test_numeric_keys_are_truncated_to_an_index(index):
    v = TamVar(0)
    v[index] = "x"
    assert v[2] == "x" and v[index] == "x" and len(v) == 3


@pytest.mark.parametrize("key", [1, (1, 1), 100, (100, 100), (-1, 0), (0, -1)])
def test_reads_outside_the_array_give_integer_0_and_never_grow_it(key):
    v = TamVar(5)
    assert v[key] == 0 and type(v[key]) is int
    assert len(v) == 1 and referents(v) == [5]


def test_writing_a_variable_stores_its_scalar():
    v, w = TamVar(0), TamVar(9)
    v[1] = w
    v[1, 1] = w
    assert v[1] == 9 and type(v[1]) is int and v[1, 1] == 9


# -- element 0 forwarding ------------------------------------------------------------

@pytest.mark.parametrize("value,length", [("abc", 3), ([1, 2], 2), ((), 0), (7, 1)])
def test_length_is_the_sequence_length_of_element_0(value, length):
    assert len(TamVar(value)) == length


@pytest.mark.parametrize("value", [5, -1, 2.5, "abc", (1, "x"), None])
def test_hash_and_str_are_element_0s(value):
    v = TamVar(value)
    assert hash(v) == hash(value) and str(v) == str(value)
    assert {value: "found"}[v] == "found"


def test_unhashable_element_0_raises():
    with pytest.raises(TypeError):
        hash(TamVar([]))


def test_calls_and_attributes_go_to_element_0():
    class Thing:
        size = 3

        def __call__(self, *args, **kwds):
            return args, kwds

    thing = Thing()
    v = TamVar(thing)
    assert v(1, k=2) == ((1,), {"k": 2})
    assert v.size == 3 and v.__class__ is Thing
    v.colour = "red"
    assert thing.colour == "red"
    del v.colour
    assert not hasattr(thing, "colour")
    assert TamVar("ab").upper() == "AB"
    with pytest.raises(AttributeError):
        TamVar(5).missing
    with pytest.raises(TypeError):
        TamVar(5)()


@pytest.mark.parametrize("value", [0, 1, 0.0, -2.5, "", "a", [], [0], None])
def test_truth_is_element_0s(value):
    assert bool(TamVar(value)) is bool(value)


# -- arithmetic ----------------------------------------------------------------------

def classic_div(a, b):
    return a // b if isinstance(a, int) and isinstance(b, int) else a / b


OPS = [operator.add, operator.sub, operator.mod, operator.and_, operator.xor,
       operator.or_, classic_div]
NUMBERS = [7, -7, 3, 2.5, -0.5, True]


def wrapped(a, b):
    return [(TamVar(a), b), (a, TamVar(b)), (TamVar(a), TamVar(b))]


def outcome(f, *args):
    try:
        r = f(*args)
    except Exception as e:  # the host's own error is part of the result
        return type(e)
    return (type(r), r)


@pytest.mark.parametrize("op", OPS, ids=lambda op: op.__name__)
@pytest.mark.parametrize("a", NUMBERS)
@pytest.mark.parametrize("b", NUMBERS + [0])
def test_binary_operations_give_the_hosts_plain_result(op, a, b):
    want = outcome(op, a, b)
    slot = operator.truediv if op is classic_div else op
    for x, y in wrapped(a, b):
        assert outcome(slot, x, y) == want


@pytest.mark.parametrize("a,b", [("ab", "c"), ("%d!", 5), ([1], [2]), ("a", 1), (1, "a")])
def test_non_numbers_follow_the_host_too(a, b):
    for x, y in wrapped(a, b):
        assert outcome(operator.add, x, y) == outcome(operator.add, a, b)
    # Only with the variable on the left: to string formatting, a variable on
    # the right is a mapping, and the host formats with it as one.
    for x, y in wrapped(a, b)[0::2]:
        assert outcome(operator.mod, x, y) == outcome(operator.mod, a, b)


@pytest.mark.parametrize("a", NUMBERS + ["4", "-1.5"])
@pytest.mark.parametrize("b", NUMBERS)
def test_the_product_is_always_a_float(a, b):
    want = float(a) * float(b)
    for x, y in wrapped(a, b):
        r = x * y
        assert type(r) is float and r == want


@pytest.mark.parametrize("op", [operator.neg, operator.pos, abs, int, float],
                         ids=lambda op: op.__name__)
@pytest.mark.parametrize("a", NUMBERS + ["12"])
def test_unary_operations_give_the_hosts_plain_result(op, a):
    assert outcome(op, TamVar(a)) == outcome(op, a)


@pytest.mark.parametrize("op", [operator.floordiv, operator.pow, operator.lshift,
                                operator.rshift, operator.matmul], ids=lambda op: op.__name__)
def test_absent_binary_slots_fail_with_the_operand_type_error(op):
    for x, y in wrapped(7, 2):
        with pytest.raises(TypeError, match="unsupported operand"):
            op(x, y)


def test_a_variable_is_no_index():
    with pytest.raises(TypeError, match="bad operand"):
        ~TamVar(1)
    with pytest.raises(TypeError):
        operator.index(TamVar(1))
    with pytest.raises(TypeError):
        [1, 2][TamVar(0)]


@pytest.mark.parametrize("start,step,total", [(1, 2, 3), (1.5, 1, 2.5), ("ab", "c", "abc"),
                                              ([1], [2], [1, 2])])
def test_inplace_add_writes_back_and_keeps_identity(start, step, total):
    v = TamVar(start)
    v[1, 1] = "kept"
    w = v
    v += step
    assert v is w and w[0] == total and w[1, 1] == "kept"
    v += TamVar(step)
    assert v is w and type(w[0]) is type(total)


def test_inplace_add_that_fails_leaves_element_0():
    v = TamVar(1)
    with pytest.raises(TypeError):
        v += "x"
    assert v[0] == 1


def test_other_inplace_operators_rebind_to_the_plain_result():
    v = TamVar(4)
    w = v
    v -= 1
    assert v == 3 and type(v) is int and w[0] == 4
    x = 5
    x += TamVar(1)
    assert x == 6 and type(x) is int


def test_a_sum_that_is_a_variable_is_stored_as_its_scalar():
    class ToVar:
        def __radd__(self, other):
            return TamVar(other + 40)

    v = TamVar(2)
    v += ToVar()
    assert v[0] == 42 and type(v[0]) is int and str(v) == "42"


# -- comparison ----------------------------------------------------------------------

COMPARISONS = [operator.lt, operator.le, operator.eq, operator.ne, operator.gt, operator.ge]


@pytest.mark.parametrize("op", COMPARISONS, ids=lambda op: op.__name__)
@pytest.mark.parametrize("a,b", [(2, 3), (3, 3), (3.5, 3), ("a", "b"), ("b", "b"),
                                 (1, "a"), (None, None), ((1, 2), (1, 3))])
def test_rich_comparison_is_the_hosts(op, a, b):
    want = outcome(op, a, b)
    for x, y in wrapped(a, b):
        assert outcome(op, x, y) == want


def test_variables_sort_by_their_scalars():
    values = [3, -1, 2.5, 0]
    assert [v[0] for v in sorted(TamVar(x) for x in values)] == sorted(values)


# -- hostile input -------------------------------------------------------------------

@pytest.mark.parametrize("key", [-1, -1.5, TamVar(-3)])
def test_negative_one_index_fails_clearly(key):
    v = TamVar(5)
    with pytest.raises(IndexError):
        v[key]
    with pytest.raises(IndexError):
        v[key] = 1
    assert len(v) == 1 and v[0] == 5


@pytest.mark.parametrize("key,error", [((-1, 0), IndexError), ((0, -2), IndexError),
                                       (("a", 0), TypeError), ((0, None), TypeError),
                                       (None, TypeError), ({}, TypeError),
                                       (object(), TypeError), ("ab", TypeError)])
def test_bad_write_keys_fail_clearly_and_change_nothing(key, error):
    v = TamVar(5)
    with pytest.raises(error):
        v[key] = 1
    assert len(v) == 1 and referents(v) == [5]


@pytest.mark.parametrize("key", [("a", 0), (0, None), None, {}, object(), "ab"])
def test_bad_read_keys_give_0(key):
    assert TamVar(5)[key] == 0


@pytest.mark.parametrize("key,error", [((), IndexError), ((1,), IndexError), ("a", IndexError),
                                       (float("nan"), ValueError), (float("inf"), OverflowError),
                                       (2**70, OverflowError), ((0, 2**70), OverflowError),
                                       (1j, TypeError), (TamVar("x"), ValueError)])
def test_keys_that_cannot_be_read_as_indices_raise(key, error):
    v = TamVar(5)
    with pytest.raises(error):
        v[key]
    with pytest.raises(error):
        v[key] = 1
    assert len(v) == 1


@pytest.mark.parametrize("key", [2**31, (0, 2**31), (2**31 - 1, 2**31 - 1), (2**16, 2**16)])
def test_a_size_beyond_memory_fails_with_the_array_unchanged(key):
    v = TamVar(5)
    with pytest.raises(MemoryError):
        v[key] = 1
    assert len(v) == 1 and v[0] == 5


@pytest.mark.parametrize("key", [0, 3, (1, 1)])
def test_deleting_prints_its_line_and_raises(capfd, key):
    v = TamVar(5)
    with pytest.raises(TypeError):
        del v[key]
    assert capfd.readouterr().out == "Assigning a blank val\n"
    assert v[0] == 5


@pytest.mark.parametrize("other,error", [(None, TypeError), ("x", ValueError), ([], TypeError)])
def test_a_product_without_float_conversion_raises_that_error(other, error):
    for x, y in wrapped(2, other):
        with pytest.raises(error):
            x * y


def test_element_0_replaced_while_a_call_runs_stays_alive():
    v = TamVar(None)

    class Replacer:
        def __call__(self):
            v[0] = 1  # drops the variable's reference to this object
            return self.tag

        def __eq__(self, other):
            v[0] = 2
            return True

        __hash__ = object.__hash__

    r = Replacer()
    r.tag = "alive"
    v[0] = r
    del r
    assert v() == "alive"
    v[0] = Replacer()
    assert v == 0 and v[0] == 2


# -- references and the collector ----------------------------------------------------

def test_reference_counts_of_stored_values_are_unchanged_by_use():
    a, b = 10**20, "stored-%d" % 7
    counts = sys.getrefcount(a), sys.getrefcount(b)
    v = TamVar(a)
    v[1] = b
    v[3, 2] = a
    v[1, 1]
    v[5] = TamVar(b)
    v[1] = a  # replaces b
    w = TamVar(v)
    v + 1, 1 - v, v * 2, v / 3, v % 7, -v, abs(v), int(v), float(v), bool(v), hash(v), str(v)
    v < 1, v == w, v != b, len(v), v[0], v[3, 2]
    v += 1
    v[0] = a
    del v, w
    assert (sys.getrefcount(a), sys.getrefcount(b)) == counts


def test_cycles_through_a_variable_are_collected():
    collected = []

    class Canary:
        def __del__(self):
            collected.append(True)

    holder = []
    v = TamVar(holder)
    holder.append(v)  # variable -> list -> variable
    v[2, 3] = Canary()
    del v, holder
    gc.collect()
    assert collected == [True]


def churn(n):
    for k in range(n):
        v = TamVar(k)
        v[k % 13] = k
        v[k % 5 + 1, k % 7] = "s"
        v += 1
        v[1, 1]


def test_creating_growing_and_dropping_variables_does_not_grow_memory():
    churn(2000)  # warm up caches and free lists
    tracemalloc.start()
    try:
        churn(20000)
        gc.collect()
        first, _ = tracemalloc.get_traced_memory()
        churn(20000)
        gc.collect()
        second, _ = tracemalloc.get_traced_memory()
    finally:
        tracemalloc.stop()
    assert second - first < 4096
