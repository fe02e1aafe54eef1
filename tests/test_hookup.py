import sys
import types
import warnings

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


@pytest.mark.parametrize("args", [(), (1, 2, 3), (1, 2, 3, 4, 5), ([], object, object, object)])
def test_register_with_wrong_arguments_raises_and_keeps_the_stored_objects(runtime, args):
    d = {}
    korvel.RegisterInstancesDict(d, standins.ObjectInstanceBase, standins.ObjectInstanceZero,
                                 standins.ParticleSystem)
    held = sys.getrefcount(d)
    with pytest.raises(TypeError):
        korvel.RegisterInstancesDict(*args)
    assert sys.getrefcount(d) == held


@pytest.mark.parametrize("removed,replaced,expected", [
    ((), False, None),
    (("Room_Leave",), False, "RegisterInstancesDict: Not found: tam6.Room_Leave. Define"),
    ((), True, "RegisterInstancesDict: korvel was imported before the runtime's tam6"),
    (("pygame",), True, "before `import korvel`. Not found: tamapi.pygame.draw.rect, "
                        "tamapi.pygame.Surface. Define"),
])
def test_register_says_in_one_warning_what_the_runtime_lacks(runtime, monkeypatch, removed,
                                                               replaced, expected):
    tam6, tamapi = runtime
    for name in removed:
        monkeypatch.delattr(tam6 if hasattr(tam6, name) else tamapi, name)
    if replaced:  # the runtime's own module arrived after korvel bound its placeholder
        monkeypatch.setitem(sys.modules, "tam6", types.ModuleType("tam6"))
    with warnings.catch_warnings(record=True) as caught:
        warnings.simplefilter("always")
        assert korvel.RegisterInstancesDict({}, object, object, object) is None
    messages = [str(w.message) for w in caught]
    assert len(messages) == (expected is not None)
    for m in messages:
        assert expected in m
        assert ("import korvel" in m, "Not found" in m) == (replaced, bool(removed))
