# TamSprite, BackgroundData, TamRoom and RoomTileData: resource-number conversions and
# comparison; the state a sprite reduces to, and sprites made from a surface.
import contextlib
import weakref

import numpy as np
import pygame
import pytest

import korvel
from pixelmodel import noise, pixels
from test_pickling import sprite

KINDS = [(korvel.TamSprite, "sprites"), (korvel.BackgroundData, "backgrounds"), (korvel.TamRoom, "rooms")]


# s < other, <=, ==, !=, >, >= for the item at position 3
COMPARED = {3: [False, True, True, False, False, True], 4.9: [True, True, False, True, False, False],
            2.5: [False, False, False, True, True, True]}  # 4.9: integer conversion, 4


@pytest.mark.parametrize("cls,game_list", KINDS)
@pytest.mark.parametrize("game", [list, tuple])
def test_conversions_and_comparison_by_position_in_the_game_list(runtime, capfd, cls, game_list, game):
    items = [cls() for _ in range(5)]
    setattr(runtime[0].game, game_list, game(items))  # a broken game list: see test_refusals.py
    for convert, want in ((int, 2), (float, 2.0), (str, "2")):
        assert convert(items[2]) == want and type(convert(items[2])) is type(want)
        if convert is str and cls is not korvel.TamSprite:
            assert str(cls()) == "-1"
        else:  # null without an exception: the host reports it as SystemError
            pytest.raises(SystemError, convert, cls())
    tile = korvel.RoomTileData()  # a tile's number is its id
    tile.id = 3
    assert (int(tile), float(tile), str(tile)) == (3, 3.0, "3")
    for s in (items[3], tile):
        for other, want in COMPARED.items():
            assert [s < other, s <= other, s == other, s != other, s > other, s >= other] == want
    assert items[1] < items[2] and items[2] == items[2] and 1 == items[1] and 4 > items[1]
    capfd.readouterr()
    pytest.raises(TypeError, lambda: items[3] == None)  # noqa: E711
    if cls is not korvel.TamSprite:  # a three-way comparison, which reports its failures
        b = cls()  # a conversion that fails without an exception reads as -1
        assert (b < 0, b == 0, b > 0) == (True, False, False)
        assert capfd.readouterr().err == "XXX need to set an exception.\n" * 4


@pytest.mark.parametrize("emptied", [None, "name", "subimages"])
def test_reduce_takes_the_state_after_the_cache_entries_are_released(emptied):
    s, entry = sprite(), type("Entry", (), {})()
    # a cache entry whose release renames the sprite and adds a frame, or empties a field
    weakref.finalize(entry, lambda: delattr(s, emptied) if emptied else
                     (setattr(s, "name", "spr_renamed"), s.subimages.append(1)))
    s.scalecache["key"] = entry
    del entry
    with pytest.raises(AttributeError) if emptied else contextlib.nullcontext():
        assert s.__reduce__()[2][15:] == ("spr_renamed", 5)


@pytest.mark.parametrize("depth,flags", [(32, 0), (32, pygame.SRCALPHA), (24, 0), (16, 0)])
def test_from_surface_builds_a_one_frame_sprite_in_the_screen_format(screen, depth, flags):
    source = noise(32, 16, flags, depth, seed=5)
    s = korvel.TamSprite_from_surface(source)
    assert (s.w, s.h, s.leftbound, s.rightbound, s.topbound, s.bottombound, s.xorigin, s.yorigin, s.transparent,
            s.name) == (32, 16, 0, 32, 0, 16, 0, 0, 0, None)
    [frame], mask = s.subimages, sum(screen.get_masks()[:3])
    assert frame is not source and (frame.get_bitsize(), frame.get_masks()[:3]) == (32, screen.get_masks()[:3])
    assert np.array_equal(pixels(frame) & mask, pixels(source.convert(screen)) & mask)
    assert korvel.TamSprite_from_surface(source, "spr_ball").name == "spr_ball"
