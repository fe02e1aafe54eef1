"""The eight types under hostile use: every member read, written and
deleted, every method and slot called with odd operands, objects stored in
themselves, pickled, copied, visited and cleared by the collector."""
import copy
import gc
import operator
import pickle
import types

import pytest
from hypothesis import given
from hypothesis import strategies as st

import hostile as h
import korvel
import scenes
from harness import attempt, balanced_call


@st.composite
def tamvars(draw):
    v = korvel.TamVar(draw(st.one_of(h.anything(), h.floats, h.int32s)))
    for _ in range(draw(st.integers(0, 3))):
        key = draw(st.one_of(h.indices, st.tuples(h.indices, h.indices)))
        attempt(operator.setitem, v, key, draw(h.anything()))
    return v


@st.composite
def floatlists(draw):
    fl = korvel.Floatlist8()
    for i in range(draw(st.integers(0, 8))):
        attempt(operator.setitem, fl, i, draw(h.mostly(h.floats)))
    return fl


@st.composite
def instancelists(draw):
    base = h.standins.ObjectInstanceBase
    items = draw(st.lists(st.one_of(st.builds(base), st.builds(h.standins.ObjectInstanceZero),
                                    h.anything()), max_size=4))
    return korvel.InstanceList(items)


# name -> strategy of fresh objects of the type
TYPES = {
    "TamVar": tamvars(),
    "TamSprite": scenes.sprites(),
    "BackgroundData": scenes.backgrounds(),
    "RoomTileData": scenes.tiles(2),
    "InstanceList": instancelists(),
    "TamRoom": scenes.rooms(),
    "Floatlist8": floatlists(),
    "Beancounter": scenes.counters,
}
PRESENT = [name for name in TYPES if h.has(name)]

BINARY = [operator.add, operator.sub, operator.mul, operator.truediv, operator.floordiv,
          operator.mod, operator.pow, operator.and_, operator.or_, operator.xor,
          operator.lshift, operator.rshift, operator.lt, operator.le, operator.eq,
          operator.ne, operator.gt, operator.ge, divmod, operator.contains]
INPLACE = [operator.iadd, operator.isub, operator.imul, operator.itruediv, operator.iand,
           operator.ior]
UNARY = [operator.neg, operator.pos, abs, operator.invert, int, float, bool, str, repr, hash,
         len, list, format, dir, complex, operator.index, sorted, gc.get_referents,
         copy.copy, copy.deepcopy]


def own_names(cls):
    """Members, getters and methods the type defines itself."""
    return sorted(n for n in vars(cls) if n != "__doc__" and n != "__new__")


def member_names(cls):
    return [n for n, d in vars(cls).items()
            if isinstance(d, (types.MemberDescriptorType, types.GetSetDescriptorType))]


@st.composite
def operations(draw, cls):
    names = own_names(cls) + ["x", "__dict__", "__class__"]
    members = member_names(cls) or ["x"]
    value = h.anything()
    return draw(st.one_of(
        st.tuples(st.just("getattr"), h.pick(names)),
        st.tuples(st.just("setattr"), h.pick(members), value),
        st.tuples(st.just("delattr"), h.pick(members)),
        st.tuples(st.just("method"), h.pick(names),
                  st.lists(value, max_size=3).map(tuple)),
        st.tuples(st.just("binary"), h.pick(BINARY), value, st.booleans()),
        st.tuples(st.just("inplace"), h.pick(INPLACE), value),
        st.tuples(st.just("unary"), h.pick(UNARY)),
        st.tuples(st.just("getitem"), st.one_of(h.indices, value,
                                                st.tuples(h.indices, h.indices))),
        st.tuples(st.just("setitem"), st.one_of(h.indices, value,
                                                st.tuples(h.indices, h.indices)), value),
        st.tuples(st.just("delitem"), st.one_of(h.indices, value)),
        st.tuples(st.just("call"), st.lists(value, max_size=2).map(tuple)),
        st.tuples(st.just("itself"), h.pick(members + ["[0]", "[(1, 1)]"])),
        st.tuples(st.just("pickle"), st.integers(0, pickle.HIGHEST_PROTOCOL)),
        st.tuples(st.just("new"), st.lists(value, max_size=2).map(tuple)),
        st.tuples(st.just("clear")),
        st.tuples(st.just("collect")),
    ))


def run(obj, op):
    """One operation on obj; the operand's references must balance where the
    operation is not one that stores it."""
    kind = op[0]
    if kind == "getattr":
        balanced_call(getattr, (obj, op[1]))
    elif kind == "setattr":
        attempt(setattr, obj, op[1], op[2])
    elif kind == "delattr":
        attempt(delattr, obj, op[1])
    elif kind == "method":
        method = attempt(getattr, obj, op[1]).value
        if callable(method):
            attempt(method, *op[2])
    elif kind == "binary":
        f, other, reflected = op[1:]
        balanced_call(f, (other, obj) if reflected else (obj, other))
    elif kind == "inplace":
        attempt(op[1], obj, op[2])
    elif kind == "unary":
        balanced_call(op[1], (obj,))
    elif kind == "getitem":
        balanced_call(operator.getitem, (obj, op[1]))
    elif kind == "setitem":
        attempt(operator.setitem, obj, op[1], op[2])
    elif kind == "delitem":
        balanced_call(operator.delitem, (obj, op[1]))
    elif kind == "call":
        balanced_call(obj, op[1])
    elif kind == "itself":
        store_in_itself(obj, op[1])
    elif kind == "pickle":
        data = attempt(pickle.dumps, obj, op[1]).value
        if data is not None:
            attempt(pickle.loads, data)
    elif kind == "new":
        balanced_call(type(obj), op[1])
        attempt(type(obj).__new__, type(obj), *op[1])
        attempt(getattr(obj, "__init__"), *op[1])
    elif kind == "clear":
        h._cleared(obj)
    elif kind == "collect":
        gc.collect(0)  # the young generation holds what this example made


def store_in_itself(obj, where):
    """obj stored in one of its own members or items, directly and inside a
    tuple, then hashed, printed, measured, compared and pickled."""
    for value in (obj, (obj,), [obj]):
        if where == "[0]":
            attempt(operator.setitem, obj, 0, value)
        elif where == "[(1, 1)]":
            attempt(operator.setitem, obj, (1, 1), value)
        else:
            attempt(setattr, obj, where, value)
        for f in (hash, str, repr, len, bool, int, float, pickle.dumps):
            attempt(f, obj)
        attempt(operator.eq, obj, obj)
        attempt(operator.lt, obj, obj)
        attempt(operator.add, obj, obj)


@pytest.mark.parametrize("name", PRESENT)
@given(data=st.data())
def test_type_survives_hostile_use(name, data):
    h.fresh_example()
    h.apply_mutations(h.draw(data, st.lists(h.pick(h.MUTATIONS), max_size=2), "runtime"))
    if h.draw(data, st.integers(0, 2), "hostile registration") == 0:
        attempt(korvel.RegisterInstancesDict, *h.draw(data, h.registrations, "registered"))
    obj = h.draw(data, TYPES[name], label=name)
    if obj is None:
        return
    if h.draw(data, st.integers(0, 5), label="cleared") == 0:
        h._cleared(obj)
    for op in h.draw(data, st.lists(operations(type(obj)), min_size=1, max_size=8), label="ops"):
        run(obj, op)
    del obj
    gc.collect(0)


@pytest.mark.parametrize("name", PRESENT)
def test_type_object_survives_direct_use(name):
    """The type itself: called and instantiated through __new__ with odd
    arguments, and its descriptors used on objects of other types."""
    cls = getattr(korvel, name)
    for args in [(), (None,), (1, 2, 3), (h.Raising(),)]:
        attempt(cls, *args)
        attempt(cls.__new__, cls, *args)
        attempt(cls.__new__, object, *args)
    for attribute in own_names(cls):
        descriptor = vars(cls)[attribute]
        for stranger in (object(), 5, h.Raising()):
            if hasattr(descriptor, "__get__"):
                attempt(descriptor.__get__, stranger, type(stranger))
            if hasattr(descriptor, "__set__"):
                attempt(descriptor.__set__, stranger, 1)
            if callable(descriptor):
                attempt(descriptor, stranger)
