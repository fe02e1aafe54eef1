"""InstanceList as a state machine against a plain list and the instance dictionary."""
import ctypes

import pytest
from hypothesis import settings
from hypothesis import strategies as st
from hypothesis.stateful import (RuleBasedStateMachine, invariant, precondition, rule,
                                 run_state_machine_as_test)

import standins
from korvel import InstanceList, TamVar

BIG = 10**20  # an instance number that is not a cached small int


class Numbered(standins.ObjectInstanceBase):
    """Not exactly an instance type: resolved through its number."""

    def __init__(self, n):
        self.n = n

    def __int__(self):
        return self.n


# Each form names an instance: itself, in a variable, or by its number in any spelling.
FORMS = [lambda inst, n: inst, lambda inst, n: TamVar(inst), lambda inst, n: n,
         lambda inst, n: str(n), lambda inst, n: n + 0.9, lambda inst, n: TamVar(n),
         lambda inst, n: Numbered(n)]
names = st.tuples(st.integers(0, 2), st.sampled_from(FORMS))


class InstanceListModel(RuleBasedStateMachine):
    def __init__(self):
        super().__init__()
        standins.reset()
        self.instances = [standins.ObjectInstanceBase(), standins.ObjectInstanceZero(),
                          standins.ParticleSystem()]
        self.numbers = [7, 8, BIG]
        standins.register(dict(zip(self.numbers, self.instances)))
        self.il, self.model = InstanceList(), []

    def value(self, name):
        k, form = name
        return self.instances[k], form(self.instances[k], self.numbers[k])

    @rule(name=names)
    def append(self, name):
        inst, value = self.value(name)
        assert self.il.append(value) is None
        self.model.append(inst)

    @rule(name=names, where=st.integers(-5, 5))
    def insert(self, name, where):
        inst, value = self.value(name)
        self.il.insert(where, value)
        self.model.insert(where, inst)

    @precondition(lambda self: self.model)
    @rule(name=names, where=st.integers(-5, 5))
    def assign(self, name, where):
        inst, value = self.value(name)
        where %= len(self.model)
        self.il.__setitem__(where, value)  # the sequence slot resolves too
        self.model[where] = inst

    @rule(name=names)
    def remove(self, name):
        inst, value = self.value(name)
        if any(x is inst for x in self.model):
            assert self.il.remove(value) is None
            del self.model[next(i for i, x in enumerate(self.model) if x is inst)]
        else:
            with pytest.raises(SystemError):  # absent: a failure without an exception
                self.il.remove(value)

    @rule(value=st.sampled_from([99, object(), "seven", None]),
          call=st.sampled_from(["append", "remove", "insert", "assign"]))
    def refuse(self, value, call):
        calls = {"append": self.il.append, "remove": self.il.remove,
                 "insert": lambda v: self.il.insert(0, v),
                 "assign": lambda v: self.il.__setitem__(0, v)}
        if call == "assign" and not self.model:
            return  # outside the list: see below
        with pytest.raises((SystemError, KeyError, TypeError, ValueError, IndexError)):
            calls[call](value)

    @invariant()
    def same_items(self):
        assert len(self.il) == len(self.model)
        assert all(x is y for x, y in zip(self.il, self.model))


def test_items_follow_a_list_model():
    run_state_machine_as_test(InstanceListModel, settings=settings(
        max_examples=50, stateful_step_count=12, deadline=None))


def test_unknown_numbers_and_places_outside_the_list_change_nothing(runtime):
    a, b = standins.ObjectInstanceBase(), standins.ObjectInstanceBase()
    standins.register({7: a})
    il = InstanceList([a] * 3)
    # an unknown number: append fails without an exception, the others raise KeyError
    for call, error in [(il.append, SystemError), (lambda v: il.insert(0, v), KeyError),
                        (lambda v: il.__setitem__(0, v), KeyError)]:
        pytest.raises(error, call, 99)
    set_item = ctypes.pythonapi.PySequence_SetItem
    set_item.argtypes = [ctypes.py_object, ctypes.c_ssize_t, ctypes.py_object]
    for index in (3, 50, -5):  # outside: a failure without an exception, passed over by the slot wrapper
        assert set_item(il, index, b) == -1 and il.__setitem__(index, b) is None
    assert il == [a] * 3


def test_remove_is_by_identity_and_subscripts_are_the_host_lists(runtime, monkeypatch):
    a, twin, b = (standins.ObjectInstanceBase() for _ in range(3))
    monkeypatch.setattr(standins.ObjectInstanceBase, "__eq__", lambda s, o: True)
    il = InstanceList([twin, a, b, a])
    il.remove(a)
    assert [x is y for x, y in zip(il, [twin, b, a], strict=True)] == [True] * 3
    il.__delitem__(0)
    il[0] = 8  # subscript assignment is the host list's: nothing is resolved
    assert list(il) == [8, a]


def test_item_assignment_whose_lookup_shortens_the_list_raises(runtime):
    a = standins.ObjectInstanceBase()
    standins.register({7: a})
    il = InstanceList([a, a])

    class Shrinking:
        def __int__(self):
            il.clear()
            return 7
    pytest.raises(IndexError, il.__setitem__, 1, Shrinking())
    assert il == []
