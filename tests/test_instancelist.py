# InstanceList against a plain list and the instance dictionary.
import ctypes

import pytest
from hypothesis import HealthCheck, example, given, settings
from hypothesis import strategies as st

import standins
from korvel import InstanceList, TamVar

NUMBERS = [7, 8, 10**20]  # the last not a cached small int


# Not exactly an instance type: resolved through its number.
Numbered = type("Numbered", (standins.ObjectInstanceBase,),
                {"__init__": lambda self, n: setattr(self, "n", n), "__int__": lambda self: self.n})


# Each form names an instance: itself, in a variable, or by its number in any spelling.
FORMS = [lambda inst, n: inst, lambda inst, n: TamVar(inst), lambda inst, n: n, lambda inst, n: str(n),
         lambda inst, n: n + 0.9, lambda inst, n: TamVar(n), lambda inst, n: Numbered(n)]
names = st.tuples(st.integers(0, 2), st.sampled_from(FORMS)) | st.sampled_from([99, "seven", None, object()])


def change(il, model, instances, name, call, where):
    if call == "assign":  # the sequence slot resolves too; outside the list: see below
        if not model:
            return
        where %= len(model)
    method = {"append": il.append, "remove": il.remove, "insert": lambda v: il.insert(where, v),
              "assign": lambda v: il.__setitem__(where, v)}[call]
    if not isinstance(name, tuple):  # an unknown number fails without an exception in two calls
        unknown = SystemError if call in ("append", "remove") else KeyError
        return pytest.raises({99: unknown, "seven": ValueError}.get(name, TypeError), method, name)
    inst = instances[name[0]]
    if call == "remove" and not any(x is inst for x in model):
        return pytest.raises(SystemError, method, name[1](inst, NUMBERS[name[0]]))  # absent: likewise
    assert method(name[1](inst, NUMBERS[name[0]])) is None
    if call == "remove":
        del model[next(i for i, x in enumerate(model) if x is inst)]
    elif call == "assign":
        model[where] = inst
    else:
        model.insert(len(model) if call == "append" else where, inst)


@settings(max_examples=50, deadline=None, suppress_health_check=[HealthCheck.function_scoped_fixture])
@given(st.lists(st.tuples(names, st.sampled_from(["append", "insert", "assign", "remove"]), st.integers(-5, 5)),
                max_size=12))
# a removal from the middle, which the random lists reach only now and then
@example([((k, FORMS[0]), "append", 0) for k in range(3)] + [((1, FORMS[0]), "remove", 0)])
def test_items_follow_a_list_model(monkeypatch, steps):
    # every instance equal to every other: removal must go by identity
    monkeypatch.setattr(standins.ObjectInstanceBase, "__eq__", lambda s, o: True)
    standins.reset()
    instances = [standins.ObjectInstanceBase(), standins.ObjectInstanceZero(), standins.ParticleSystem()]
    standins.register(dict(zip(NUMBERS, instances)))
    il, model = InstanceList(), []
    for step in steps:
        change(il, model, instances, *step)
        assert len(il) == len(model) and all(x is y for x, y in zip(il, model))


def test_item_assignment_outside_the_list_or_whose_lookup_shortens_it_changes_nothing(runtime):
    a = standins.ObjectInstanceBase()
    standins.register({7: a})
    il = InstanceList([a] * 3)
    set_item = ctypes.pythonapi.PySequence_SetItem
    set_item.argtypes = [ctypes.py_object, ctypes.c_ssize_t, ctypes.py_object]
    for index in (3, 50, -5):  # a failure without an exception, passed over by the slot wrapper
        assert set_item(il, index, a) == -1 and il.__setitem__(index, a) is None
    assert il == [a] * 3

    class Shrinking:
        def __int__(self):
            il.clear()
            return 7
    pytest.raises(IndexError, il.__setitem__, 1, Shrinking())  # the index checked again when storing
    assert il == []
    # deletion through the sequence slot, and subscript assignment, are the host list's:
    # nothing is resolved
    il[:] = [a, a]
    il.__delitem__(0)
    il[0] = 8
    assert list(il) == [8]
