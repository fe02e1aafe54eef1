"""What BackgroundData does apart from TamSprite (the shared tests are in test_sprite.py)."""
import pickle

import pygame
import pytest

import korvel
import standins


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


def test_comparison_failures_print_and_a_background_without_a_number_compares_less(
        backgrounds, capfd):
    with pytest.raises(TypeError):
        backgrounds[0] < None  # noqa: B015
    assert capfd.readouterr().err == "XXX need to set an exception.\n"
    # its conversion fails without an exception, which the three-way result reads as -1
    b = korvel.BackgroundData()
    assert (b < 0, b == 0, b > 0) == (True, False, False)
    assert capfd.readouterr().err == "XXX need to set an exception.\n" * 3


@pytest.mark.parametrize("protocol", [0, pickle.HIGHEST_PROTOCOL])
def test_round_trip_resets_the_image_calls_the_loader_and_registers(runtime, protocol):
    tam6, tamapi = runtime
    seen = []

    def load(bg):
        seen.append((bg.name, bg.transparent, bg.surf, dict(bg.scaled_data_cache)))
        bg.surf = pygame.Surface((8, 6))
        bg.w, bg.h = bg.surf.get_size()
    tam6.BackgroundData_load_images = loader = standins.Recorder("load", action=load)
    standins.register()
    b = korvel.BackgroundData()
    b.name, b.transparent, b.w = "bg_sky", 1, 640
    b.surf, b.scaled_data_cache = pygame.Surface((2, 2)), {"k": "v"}
    assert b.__reduce__() == (korvel.BackgroundData, (), ("bg_sky", 1))
    assert b.scaled_data_cache == {"k": "v"}
    restored = pickle.loads(pickle.dumps(b, protocol))
    assert loader.calls == [(restored,)] and seen == [("bg_sky", 1, None, {})]
    assert (restored.w, restored.h) == (8, 6) and tamapi.bg_sky is restored
    assert b.__setstate__(["bg_list", 0]) is None  # a list state reads like a tuple
    assert (b.name, b.scaled_data_cache) == ("bg_list", {}) and seen[-1][2:] == (None, {})


def test_loader_that_empties_the_name_fails_the_store(runtime, capfd):
    tam6, _ = runtime
    tam6.BackgroundData_load_images = lambda bg: delattr(bg, "name")
    standins.register()
    with pytest.raises(AttributeError):
        korvel.BackgroundData().__setstate__(("bg_gone", 0))
    assert capfd.readouterr().out == "Retnull\n"
