"""BackgroundData: members, conversions, three-way comparison, pickling."""
import gc
import pickle
import sys

import pygame
import pytest

import korvel
import standins


def reregister():
    korvel.RegisterInstancesDict({}, standins.ObjectInstanceBase, standins.ObjectInstanceZero,
                                 standins.ParticleSystem)


def image_loader(result=None):
    """The runtime's loader: finds the name on the background and sets its image."""
    seen = []

    def load(bg):
        seen.append((bg.name, bg.transparent, bg.surf, dict(bg.scaled_data_cache)))
        bg.surf = pygame.Surface((8, 6))
        bg.w, bg.h = bg.surf.get_size()
    loader = standins.Recorder("BackgroundData_load_images", result=result, action=load)
    loader.seen = seen
    return loader


@pytest.fixture
def backgrounds(runtime):
    tam6, _ = runtime
    tam6.game.backgrounds = [korvel.BackgroundData() for _ in range(5)]
    return tam6.game.backgrounds


def test_new_background_defaults_and_docs():
    b = korvel.BackgroundData()
    assert (b.name, b.surf, b.scaled_data_cache, b.w, b.h, b.transparent) == (None, None, {}, 0,
                                                                              0, 0)
    assert korvel.BackgroundData.__doc__ == "Tam-compatible backgrounds."
    assert korvel.BackgroundData.__setstate__.__doc__ == "Unpickler"
    with pytest.raises(TypeError):
        type("Sub", (korvel.BackgroundData,), {})


@pytest.mark.parametrize("field", ["w", "h", "transparent"])
def test_int_members(field):
    b = korvel.BackgroundData()
    setattr(b, field, 9)
    assert getattr(b, field) == 9
    with pytest.raises(TypeError):
        setattr(b, field, None)


@pytest.mark.parametrize("field", ["name", "surf", "scaled_data_cache"])
def test_emptied_object_members_raise_attribute_error(field):
    b = korvel.BackgroundData()
    delattr(b, field)
    with pytest.raises(AttributeError):
        getattr(b, field)


def test_conversions_give_the_position(backgrounds):
    b = backgrounds[3]
    assert (int(b), float(b), str(b)) == (3, 3.0, "3")


def test_background_outside_the_list(backgrounds):
    b = korvel.BackgroundData()
    assert str(b) == "-1"
    for convert in (int, float):
        with pytest.raises(SystemError):  # null without an exception
            convert(b)


@pytest.mark.parametrize("breakage", ["game", "backgrounds"])
def test_conversions_with_a_broken_runtime_raise(runtime, breakage):
    tam6, _ = runtime
    delattr(tam6.game if breakage == "backgrounds" else tam6, breakage)
    for convert in (int, float, str):
        with pytest.raises(AttributeError):
            convert(korvel.BackgroundData())


@pytest.mark.parametrize("other,want", [
    (3, [False, True, True, False, False, True]),
    (4.9, [True, True, False, True, False, False]),
    (2.5, [False, False, False, True, True, True]),
])
def test_three_way_comparison_by_resource_number(backgrounds, other, want):
    b = backgrounds[3]
    assert [b < other, b <= other, b == other, b != other, b > other, b >= other] == want


def test_comparison_with_a_non_number_prints_and_raises(backgrounds, capfd):
    with pytest.raises(TypeError):
        backgrounds[0] < None  # noqa: B015
    assert capfd.readouterr().err == "XXX need to set an exception.\n"


def test_background_without_a_number_compares_less(backgrounds, capfd):
    # its conversion fails without an exception, which the three-way result reads as -1
    b = korvel.BackgroundData()
    assert (b < 0, b == 0, b > 0) == (True, False, False)
    assert capfd.readouterr().err == "XXX need to set an exception.\n" * 3


def test_reduce_gives_name_and_transparency_and_keeps_the_cache():
    b = korvel.BackgroundData()
    b.name, b.transparent, b.w = "bg_sky", 1, 640
    b.scaled_data_cache["k"] = "v"
    assert b.__reduce__() == (korvel.BackgroundData, (), ("bg_sky", 1))
    assert b.scaled_data_cache == {"k": "v"}


def test_reduce_of_an_emptied_name_raises():
    b = korvel.BackgroundData()
    del b.name
    with pytest.raises(AttributeError, match="name"):
        b.__reduce__()


@pytest.mark.parametrize("protocol", [0, pickle.HIGHEST_PROTOCOL])
def test_round_trip_resets_the_image_calls_the_loader_and_registers(runtime, protocol):
    tam6, tamapi = runtime
    tam6.BackgroundData_load_images = loader = image_loader()
    reregister()
    b = korvel.BackgroundData()
    b.name, b.transparent = "bg_sky", 1
    restored = pickle.loads(pickle.dumps(b, protocol))
    assert loader.calls == [(restored,)]
    assert loader.seen == [("bg_sky", 1, None, {})]
    assert (restored.w, restored.h) == (8, 6)
    assert tamapi.bg_sky is restored


def test_setstate_replaces_surface_and_cache_of_a_used_background(runtime):
    b = korvel.BackgroundData()
    b.surf, b.scaled_data_cache = pygame.Surface((2, 2)), {"old": 1}
    assert b.__setstate__(["bg_list", 0]) is None  # a list state reads like a tuple
    assert (b.name, b.surf, b.scaled_data_cache) == ("bg_list", None, {})


def test_failing_loader_reports(runtime, capfd):
    tam6, tamapi = runtime
    tam6.BackgroundData_load_images = standins.Recorder("load", result=ValueError("bad"))
    reregister()
    with pytest.raises(ValueError, match="bad"):
        korvel.BackgroundData().__setstate__(("bg_bad", 0))
    assert capfd.readouterr().err == "An exception occurred!\n"
    assert not hasattr(tamapi, "bg_bad")


def test_failing_store_prints_retnull(runtime, capfd):
    with pytest.raises(TypeError):
        korvel.BackgroundData().__setstate__(({}, 0))
    assert capfd.readouterr().out == "Retnull\n"


def test_loader_that_empties_the_name_fails_the_store(runtime, capfd):
    tam6, _ = runtime
    tam6.BackgroundData_load_images = lambda bg: delattr(bg, "name")
    reregister()
    with pytest.raises(AttributeError):
        korvel.BackgroundData().__setstate__(("bg_gone", 0))
    assert capfd.readouterr().out == "Retnull\n"


def test_unregistered_loader_raises(runtime):
    tam6, _ = runtime
    del tam6.BackgroundData_load_images
    reregister()
    with pytest.raises(RuntimeError, match="BackgroundData_load_images"):
        korvel.BackgroundData().__setstate__(("bg", 0))


@pytest.mark.parametrize("state,error", [(("bg",), IndexError), (("bg", "t"), TypeError),
                                         (None, TypeError)])
def test_malformed_state_raises(runtime, state, error):
    with pytest.raises(error):
        korvel.BackgroundData().__setstate__(state)


class BalanceName:
    """Unpickles to itself, so its count shows every reference a round trip keeps."""


def live_backgrounds():
    return sum(type(o) is korvel.BackgroundData for o in gc.get_objects())


def test_round_trips_keep_references_balanced(runtime):
    tam6, _ = runtime
    tam6.BackgroundData_load_images = lambda bg: None
    reregister()
    b = korvel.BackgroundData()
    b.name = BalanceName
    b = pickle.loads(pickle.dumps(b))
    gc.collect()
    before = (live_backgrounds(), sys.getrefcount(BalanceName))
    for _ in range(10_000):
        b = pickle.loads(pickle.dumps(b))
    gc.collect()
    assert (live_backgrounds(), sys.getrefcount(BalanceName)) == before


def test_cycles_through_a_background_are_collected():
    gc.collect()
    before = live_backgrounds()
    b = korvel.BackgroundData()
    b.surf = b
    b.scaled_data_cache[1] = b
    del b
    gc.collect()
    assert live_backgrounds() == before
