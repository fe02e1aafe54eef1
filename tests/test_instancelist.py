"""InstanceList: a list that resolves instances, variables and instance numbers."""
import ctypes
import gc
import pickle
import sys
import weakref

import pytest

import standins
from korvel import InstanceList, TamVar

BIG = 10**20  # an instance number that is not a cached small int


class Numbered(standins.ObjectInstanceBase):
    """Not exactly an instance type: resolved through its number."""

    def __int__(self):
        return 7


@pytest.fixture
def inst(runtime):
    a = standins.ObjectInstanceBase(name="a")
    b = standins.ObjectInstanceZero(name="b")
    c = standins.ParticleSystem()
    standins.register({7: a, 8: b, BIG: c})
    return a, b, c


# Each form stands for the instance `a` (instance number 7).
FORMS = {
    "instance": lambda a: a,
    "variable": lambda a: TamVar(a),
    "number": lambda a: 7,
    "text": lambda a: "7",
    "float": lambda a: 7.9,
    "numbered variable": lambda a: TamVar(7),
    "subclass instance": lambda a: Numbered(),
}


def test_every_instance_type_is_taken_as_it_is(inst):
    assert issubclass(InstanceList, list)
    with pytest.raises(TypeError):
        type("Sub", (InstanceList,), {})
    il = InstanceList()
    for obj in inst:
        il.append(obj)
    assert [x is y for x, y in zip(il, inst)] == [True] * 3


@pytest.mark.parametrize("form", FORMS)
def test_append_and_remove_store_the_instance_and_balance_references(inst, form):
    a, b, _ = inst
    il = InstanceList([b])
    before = sys.getrefcount(a)
    value = FORMS[form](a)
    assert il.append(value) is None
    assert il == [b, a] and il[1] is a
    assert sys.getrefcount(a) == before + 1 + (form in ("instance", "variable"))
    assert il.remove(value) is None
    assert il == [b]
    del value
    assert sys.getrefcount(a) == before


CALLS = {"append": InstanceList.append, "remove": InstanceList.remove,
         "insert": lambda il, v: il.insert(0, v), "assign": lambda il, v: il.__setitem__(0, v)}


@pytest.mark.parametrize("call,value,error", [
    ("append", 99, SystemError),  # an unknown number: null without an exception
    ("insert", 99, KeyError),
    ("assign", 99, KeyError),
    *[(m, v, e) for m in ("append", "remove")
      for v, e in [(object(), TypeError), ("seven", ValueError), (None, TypeError)]],
])
def test_unknown_numbers_and_values_that_are_no_instance_raise(inst, call, value, error):
    il = InstanceList([inst[0]])
    with pytest.raises(error):
        CALLS[call](il, value)
    assert il == [inst[0]]


def test_remove_takes_the_first_occurrence_by_identity(inst, monkeypatch):
    a, b, _ = inst
    twin = standins.ObjectInstanceBase(name="a")
    monkeypatch.setattr(standins.ObjectInstanceBase, "__eq__", lambda s, o: True)
    il = InstanceList([twin, a, b, a])
    il.remove(a)
    assert [x is y for x, y in zip(il, [twin, b, a])] == [True] * 3 and len(il) == 3


@pytest.mark.parametrize("items", [[], ["a", "b"]])
def test_remove_of_an_absent_instance_fails_and_changes_nothing(inst, items):
    il = InstanceList([inst[0]] * len(items))
    with pytest.raises(SystemError):
        il.remove(inst[1])
    assert il == [inst[0]] * len(items)


@pytest.mark.parametrize("how,where", [("insert", w) for w in (0, 1, 2, -1, -2, -3, -99, 99)]
                         + [("assign", w) for w in (0, 1, 2, -1, -2, -3)])
@pytest.mark.parametrize("form", ["instance", "variable", "number"])
def test_insert_and_item_assignment_put_the_instance_where_the_list_would(inst, how, where,
                                                                          form):
    a, b, c = inst
    il, model = InstanceList([b, c, b]), [b, c, b]
    held = [sys.getrefcount(x) - sum(y is x for y in model) * 2 for x in inst]
    value = FORMS[form](a)
    if how == "insert":
        il.insert(where, value)
        model.insert(where, a)
    else:
        il.__setitem__(where, value)  # the sequence slot
        model[where] = a
    assert len(il) == len(model) and all(x is y for x, y in zip(il, model))
    del value
    # one reference in the list, one in the model for each place an instance holds
    assert [sys.getrefcount(x) - sum(y is x for y in model) * 2 for x in inst] == held


def test_insert_by_number_leaves_the_number_alone(inst):
    number = int(str(BIG))
    before = sys.getrefcount(number)
    il = InstanceList()
    il.insert(0, number)
    assert il[0] is inst[2] and sys.getrefcount(number) == before


@pytest.mark.parametrize("args", [(), (0,), ("x", 7), (0, 7, 1)])
def test_insert_argument_errors(inst, args):
    with pytest.raises(TypeError):
        InstanceList().insert(*args)


@pytest.mark.parametrize("index", [3, 50, -5])
def test_item_assignment_outside_the_list_fails_without_an_exception(inst, index):
    set_item = ctypes.pythonapi.PySequence_SetItem
    set_item.argtypes = [ctypes.py_object, ctypes.c_ssize_t, ctypes.py_object]
    il = InstanceList([inst[0]] * 3)
    assert set_item(il, index, inst[1]) == -1
    # the slot wrapper passes over a failure that set no exception
    assert il.__setitem__(index, inst[1]) is None
    assert il == [inst[0]] * 3


def test_item_assignment_whose_lookup_shortens_the_list_raises(inst):
    il = InstanceList([inst[0], inst[1]])

    class Shrinking:
        def __int__(self):
            il.clear()
            return 7
    with pytest.raises(IndexError):
        il.__setitem__(1, Shrinking())
    assert il == []


def test_deleting_through_the_sequence_slot_is_the_host_lists(inst):
    a, b, _ = inst
    il = InstanceList([a, b])
    il.__delitem__(0)
    assert il == [b]
    with pytest.raises(IndexError):
        il.__delitem__(5)
    il[0] = 8  # subscript assignment is the host list's too: nothing is resolved
    assert il == [8]


def test_reduce_setstate_and_pickle_round_trip(inst):
    a, b, c = inst
    il = InstanceList([a, b, a])
    assert il.__reduce__() == (InstanceList, (), (a, b, a))
    restored = pickle.loads(pickle.dumps(il))
    assert type(restored) is InstanceList and [type(x) for x in restored] == [type(x) for x in il]
    assert restored[0] is restored[2] and restored[0].name == "a"
    assert il.__setstate__((c,)) is None and il == [c]
    il.__setstate__([7, 8])  # stored as given, not resolved
    assert il == [7, 8]
    with pytest.raises(TypeError):
        il.__setstate__(5)


def test_cycles_through_a_list_are_collected(inst):
    a = standins.ObjectInstanceBase()
    il = InstanceList([a])
    a.members = il
    gone = weakref.ref(a)
    del a, il
    gc.collect()
    assert gone() is None


def test_numbers_before_the_runtime_registers_raise():
    out = standins.run_fresh("import korvel\n"
                             "try:\n"
                             "    korvel.InstanceList().append(7)\n"
                             "except RuntimeError as e:\n"
                             "    print(e)\n")
    assert "instance dictionary is not registered" in out
