"""TamSprite: members, resource-number conversions, comparison, pickling."""
import gc
import pickle
import sys

import numpy as np
import pygame
import pytest

import korvel
import standins
from pixelmodel import raw_words

INT_FIELDS = ["w", "h", "leftbound", "rightbound", "topbound", "bottombound", "xorigin",
              "yorigin", "transparent", "precise_collision_checking", "bounding_box_type",
              "smooth_edges", "preload_texture", "use_video_memory", "load_only_on_use"]


def reregister():
    korvel.RegisterInstancesDict({}, standins.ObjectInstanceBase, standins.ObjectInstanceZero,
                                 standins.ParticleSystem)


def frames_loader(result=None):
    """The runtime's loader: appends count surfaces to the sprite's subimages."""
    def load(sprite, name, count):
        sprite.subimages.extend(pygame.Surface((2, 2), 0, 32) for _ in range(count))
    return standins.Recorder("SpriteData_load_images", result=result, action=load)


@pytest.fixture
def sprites(runtime):
    tam6, _ = runtime
    tam6.game.sprites = [korvel.TamSprite() for _ in range(5)]
    return tam6.game.sprites


def test_new_sprite_defaults():
    s = korvel.TamSprite()
    assert (s.name, s.subimages, s.scalecache) == (None, [], {})
    assert [getattr(s, f) for f in INT_FIELDS] == [0] * len(INT_FIELDS)


def test_type_and_member_docs():
    assert korvel.TamSprite.__doc__ == "Tam-compatible sprites."
    assert korvel.TamSprite.w.__doc__ == "unscaled sprite width."
    assert korvel.TamSprite.h.__doc__ == "unscaled sprite height."
    assert {getattr(korvel.TamSprite, f).__doc__ for f in INT_FIELDS[2:]} == {""}
    assert korvel.TamSprite.__setstate__.__doc__ == "Unpickler"
    assert korvel.TamSprite_from_surface.__doc__ == "Create a new TamSprite from a Pygame surface."


def test_cannot_be_subclassed():
    with pytest.raises(TypeError):
        type("Sub", (korvel.TamSprite,), {})


@pytest.mark.parametrize("field", INT_FIELDS)
def test_int_members_are_writable_and_typed(field):
    s = korvel.TamSprite()
    setattr(s, field, -7)
    assert getattr(s, field) == -7
    with pytest.raises(TypeError):
        setattr(s, field, "x")
    with pytest.raises(TypeError):
        delattr(s, field)


@pytest.mark.parametrize("field", ["name", "subimages", "scalecache"])
def test_emptied_object_members_raise_attribute_error(field):
    s = korvel.TamSprite()
    setattr(s, field, "anything")
    assert getattr(s, field) == "anything"
    delattr(s, field)
    with pytest.raises(AttributeError):
        getattr(s, field)


@pytest.mark.parametrize("as_tuple", [False, True])
def test_conversions_give_the_position_in_the_game_list(sprites, runtime, as_tuple):
    if as_tuple:
        runtime[0].game.sprites = tuple(sprites)
    third = sprites[2]
    assert (int(third), float(third), str(third)) == (2, 2.0, "2")
    assert type(float(third)) is float


@pytest.mark.parametrize("convert", [int, float, str])
def test_sprite_outside_the_list_has_no_number(sprites, convert):
    # null without an exception: the host reports it as SystemError
    with pytest.raises(SystemError):
        convert(korvel.TamSprite())


@pytest.mark.parametrize("convert", [int, float, str])
@pytest.mark.parametrize("breakage", ["game", "sprites"])
def test_conversions_with_a_broken_runtime_raise(runtime, convert, breakage):
    tam6, _ = runtime
    delattr(tam6.game if breakage == "sprites" else tam6, breakage)
    with pytest.raises(AttributeError):
        convert(korvel.TamSprite())


@pytest.mark.parametrize("other,want", [
    (3, [False, True, True, False, False, True]),
    (4.9, [True, True, False, True, False, False]),    # integer conversion: 4
    (2.5, [False, False, False, True, True, True]),
])
def test_rich_comparison_by_resource_number(sprites, runtime, other, want):
    runtime[0].game.sprites.insert(0, korvel.TamSprite())
    s = sprites[3]
    assert [s < other, s <= other, s == other, s != other, s > other, s >= other] == want


def test_comparison_between_sprites_and_reflected(sprites):
    assert sprites[1] < sprites[2] and sprites[2] == sprites[2]
    assert 1 == sprites[1] and 4 > sprites[1]


def test_comparison_with_a_non_number_raises(sprites):
    with pytest.raises(TypeError):
        sprites[0] == None  # noqa: E711


# --- pickling -------------------------------------------------------------------

def filled_sprite(name="spr_hero", frames=4):
    s = korvel.TamSprite()
    for k, f in enumerate(INT_FIELDS):
        setattr(s, f, 10 + k)
    s.name = name
    s.subimages = [pygame.Surface((3, 3)) for _ in range(frames)]
    s.scalecache["key"] = "cached"
    return s


def test_reduce_gives_the_state_and_drops_the_live_scale_cache(runtime):
    s = filled_sprite()
    cls, args, state = s.__reduce__()
    assert (cls, args) == (korvel.TamSprite, ())
    assert state == tuple(range(10, 25)) + ("spr_hero", 4)
    with pytest.raises(AttributeError):
        s.scalecache


@pytest.mark.parametrize("protocol", [0, 2, pickle.HIGHEST_PROTOCOL])
def test_round_trip_calls_the_loader_and_registers_the_sprite(runtime, protocol):
    tam6, tamapi = runtime
    tam6.SpriteData_load_images = frames_loader()
    reregister()
    restored = pickle.loads(pickle.dumps(filled_sprite(), protocol))
    assert tam6.SpriteData_load_images.calls == [(restored, "spr_hero", 4)]
    assert [getattr(restored, f) for f in INT_FIELDS] == list(range(10, 25))
    assert len(restored.subimages) == 4 and restored.scalecache == {}
    assert tamapi.spr_hero is restored


def test_state_given_as_a_list_is_read_like_a_tuple(runtime):
    s = korvel.TamSprite()
    s.scalecache["old"] = 1
    assert s.__setstate__(list(range(15)) + ["spr_x", 0]) is None
    assert (s.w, s.load_only_on_use, s.name, s.subimages, s.scalecache) == (0, 14, "spr_x", [], {})


def test_failing_loader_reports_and_keeps_the_new_fields(runtime, capfd):
    tam6, tamapi = runtime
    tam6.SpriteData_load_images = standins.Recorder("load", result=OSError("no file"))
    reregister()
    s = korvel.TamSprite()
    with pytest.raises(OSError, match="no file"):
        s.__setstate__(tuple(range(15)) + ("spr_y", 2))
    assert capfd.readouterr().err == "An exception occurred!\n"
    assert (s.h, s.name) == (1, "spr_y") and not hasattr(tamapi, "spr_y")


def test_failing_store_prints_retnull(runtime, capfd):
    s = korvel.TamSprite()
    with pytest.raises(TypeError):
        s.__setstate__(tuple(range(15)) + (["unhashable"], 0))
    assert capfd.readouterr().out == "Retnull\n"


def test_unregistered_loader_raises(runtime):
    tam6, _ = runtime
    del tam6.SpriteData_load_images
    reregister()
    with pytest.raises(RuntimeError, match="SpriteData_load_images"):
        korvel.TamSprite().__setstate__(tuple(range(15)) + ("spr_z", 0))


@pytest.mark.parametrize("state,error", [
    (tuple(range(16)), IndexError),          # no count
    (tuple(range(5)), IndexError),
    (("w",) + tuple(range(16)), TypeError),
    (5, TypeError),
    ({"w": 1}, TypeError),
])
def test_malformed_state_raises(runtime, state, error):
    with pytest.raises(error):
        korvel.TamSprite().__setstate__(state)


@pytest.mark.parametrize("field", ["name", "subimages"])
def test_reduce_of_an_emptied_field_raises_and_keeps_the_cache(field):
    s = korvel.TamSprite()
    delattr(s, field)
    with pytest.raises(AttributeError, match=field):
        s.__reduce__()
    assert s.scalecache == {}


def test_reduce_of_subimages_without_a_length_raises():
    s = korvel.TamSprite()
    s.subimages = 5
    with pytest.raises(TypeError):
        s.__reduce__()


def live_sprites():
    return sum(type(o) is korvel.TamSprite for o in gc.get_objects())


class BalanceName:
    """Unpickles to itself, so its count shows every reference a round trip keeps."""


def test_ten_thousand_round_trips_keep_references_balanced(runtime):
    tam6, tamapi = runtime
    tam6.SpriteData_load_images = lambda sprite, name, count: None
    reregister()
    s = filled_sprite(BalanceName, frames=2)
    s = pickle.loads(pickle.dumps(s))
    gc.collect()
    before = (live_sprites(), sys.getrefcount(BalanceName))
    for _ in range(10_000):
        s = pickle.loads(pickle.dumps(s))
    gc.collect()
    assert (live_sprites(), sys.getrefcount(BalanceName)) == before
    assert tamapi.__dict__[BalanceName] is s


def test_cycles_through_a_sprite_are_collected():
    gc.collect()
    before = live_sprites()
    s = korvel.TamSprite()
    s.subimages.append(s)
    s.name = [s]
    del s
    gc.collect()
    assert live_sprites() == before


# --- from a surface --------------------------------------------------------------

@pytest.mark.parametrize("depth,flags", [(32, 0), (32, pygame.SRCALPHA), (24, 0), (16, 0)])
def test_from_surface_builds_a_one_frame_sprite_in_the_screen_format(screen, depth, flags):
    source = pygame.Surface((32, 16), flags, depth)
    rng = np.random.default_rng(5)
    for x, y in rng.integers(0, 16, size=(40, 2)):
        source.set_at((int(x), int(y)), tuple(int(c) for c in rng.integers(0, 256, 3)))
    held = sys.getrefcount(source)
    s = korvel.TamSprite_from_surface(source)
    assert sys.getrefcount(source) == held
    box = (s.w, s.h, s.leftbound, s.rightbound, s.topbound, s.bottombound)
    assert box == (32, 16, 0, 32, 0, 16)
    assert (s.xorigin, s.yorigin, s.transparent, s.name) == (0, 0, 0, None)
    [frame] = s.subimages
    assert frame is not source
    assert (frame.get_bitsize(), frame.get_masks()[:3]) == (32, screen.get_masks()[:3])
    expect = screen.copy()
    expect.fill((0, 0, 0))
    expect.blit(source.convert(screen), (0, 0))
    mask = sum(screen.get_masks()[:3])
    got = raw_words(frame)[:, :32] & mask
    assert np.array_equal(got, raw_words(expect)[:16, :32] & mask)


def test_from_surface_keeps_the_given_name(screen):
    assert korvel.TamSprite_from_surface(pygame.Surface((4, 4)), "spr_ball").name == "spr_ball"


@pytest.mark.parametrize("args", [(), (None,), ("surface",), (pygame.Rect(0, 0, 4, 4),),
                                  (pygame.Surface((1, 1)), "n", 3)])
def test_from_surface_rejects_bad_arguments(screen, args):
    with pytest.raises(TypeError):
        korvel.TamSprite_from_surface(*args)
