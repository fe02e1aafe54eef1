import sys

import pytest

import korvel
import standins


def test_register_holds_one_reference_to_each_object_and_replaces_them(runtime):
    a = [{}, type("Base", (), {}), type("Zero", (), {}), type("PS", (), {})]
    before = [sys.getrefcount(o) for o in a]
    korvel.RegisterInstancesDict(*a)
    assert [sys.getrefcount(o) for o in a] == [n + 1 for n in before]
    b = [{}, type("Base2", (), {}), type("Zero2", (), {}), type("PS2", (), {})]
    korvel.RegisterInstancesDict(*b)
    assert [sys.getrefcount(o) for o in a] == before


@pytest.mark.parametrize("args", [(), (1, 2, 3), (1, 2, 3, 4, 5)])
def test_register_with_wrong_count_raises_and_keeps_the_stored_objects(runtime, args):
    d = {}
    korvel.RegisterInstancesDict(d, standins.ObjectInstanceBase, standins.ObjectInstanceZero,
                                 standins.ParticleSystem)
    held = sys.getrefcount(d)
    with pytest.raises(TypeError):
        korvel.RegisterInstancesDict(*args)
    assert sys.getrefcount(d) == held


def test_register_tolerates_a_runtime_without_handlers():
    tam6, tamapi = standins.modules()
    try:
        for module in (tam6, tamapi):
            for name in [n for n in vars(module) if not n.startswith("__")]:
                delattr(module, name)
        assert korvel.RegisterInstancesDict({}, object, object, object) is None
    finally:
        standins.reset()
