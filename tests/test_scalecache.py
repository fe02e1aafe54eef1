import numpy as np
import pygame
import pytest

import korvel
import nativeapi
from pixelmodel import noise, pixels

WHITE = 0x00FFFFFF  # COLOR_WHITE of the XRGB test screen


def sprite(*frames):
    spr = korvel.TamSprite()
    spr.subimages = list(frames)
    return spr


def add(spr, key="k", subimg=0, w=8, h=6, clockwise=0, colori=WHITE, alpha=255, flatten=0):
    return nativeapi.sprite_scalecache_add(spr, key, subimg, w, h, clockwise, None, colori,
                                           alpha, flatten)


@pytest.fixture
def frame(screen):
    return noise(8, 6, pygame.SRCALPHA, seed=3)


def test_an_unchanged_frame_is_cached_as_itself_and_a_key_used_again_is_replaced(frame):
    spr = sprite(frame, noise(8, 6, seed=9))
    assert add(spr) is frame and spr.scalecache == {"k": frame}
    second = add(spr, subimg=1, w=-8)
    assert spr.scalecache == {"k": second}


def opacity_model(p):
    p = p.astype(np.uint64)
    return ((p & 0xFFFFFF) | (((p >> 8) * 128) & 0xFF000000)).astype(np.uint32)


@pytest.mark.parametrize("kw,model", [
    (dict(w=-8), lambda p: p[:, ::-1]),
    (dict(h=-6), lambda p: p[::-1, :]),
    (dict(w=-8, h=-6), lambda p: np.vstack([np.zeros((1, 8), np.uint32), p[:0:-1, ::-1]])),
    (dict(colori=0x00123456), lambda p: np.full_like(p, 0x00123456)),  # the whole copy
    (dict(alpha=128), opacity_model),  # the alpha byte rewritten
])
def test_mirrors_blend_colours_and_opacity_change_a_copy(frame, kw, model):
    before = pixels(frame)
    r = add(sprite(frame), **kw)
    assert r is not frame and r.get_size() == (8, 6)
    np.testing.assert_array_equal(pixels(r), model(before))
    np.testing.assert_array_equal(pixels(frame), before)


@pytest.mark.parametrize("w,h,clockwise,same_as", [
    (16, 12, 90, lambda s: korvel.rotoscale(s, 2.0, 2.0, 90.0)),       # one rotozoom by 2
    (16, 6, 90, lambda s: korvel.rotoscale(korvel.rotoscale(s, 2.0, 1.0, 0.0), 1.0, 1.0, 90.0)),
    (8, 6, -30, lambda s: korvel.rotoscale(s, 1.0, 1.0, -30.0)),
    (4, 9, 0, lambda s: korvel.rotoscale(s, 0.5, 1.5, 0.0)),           # a zoom only
    (8, 0, 0, lambda s: korvel.rotoscale(s, 1.0, 0.0, 0.0)),           # zero height: not mirrored
    (-16, 12, 45, lambda s: korvel.rotoscale(korvel.flip_h(s), 2.0, 2.0, 45.0)),
])
def test_sizes_and_turns_follow_sdl_gfx_without_smoothing(frame, w, h, clockwise, same_as):
    r = add(sprite(frame), w=w, h=h, clockwise=clockwise)
    want = same_as(frame)
    assert r.get_size() == want.get_size()
    np.testing.assert_array_equal(pixels(r), pixels(want))


def test_flattening_opaque_keeps_the_frames_masks(screen):
    f = noise(8, 6, 0, seed=5)
    r = add(sprite(f), flatten=1)
    assert r is not f and r.get_bitsize() == 32 and r.get_masks() == f.get_masks()
    np.testing.assert_array_equal(pixels(r) & 0xFFFFFF, pixels(f) & 0xFFFFFF)


def test_flattening_translucent_lands_in_the_screens_format(screen):
    f = pygame.Surface((8, 6), 0, 32)
    f.fill((200, 100, 40))
    r = add(sprite(f), flatten=1, alpha=128)
    assert r.get_masks()[:3] == screen.get_masks()[:3]
    got = np.array(r.get_at((3, 3))[:3], dtype=int)
    assert (abs(got - np.array([100, 50, 20])) <= 2).all()  # half over black


@pytest.mark.parametrize("kw,message,error", [
    (dict(subimg=3), "sequence error.\n", IndexError),
    (dict(w=-8, cache=None), "Error storing item in scalecache.\n", TypeError),
])
def test_a_bad_frame_index_or_store_reports(frame, capfd, kw, message, error):
    spr = sprite(frame)
    spr.scalecache = kw.pop("cache", {})
    with pytest.raises(error):
        add(spr, **kw)
    assert capfd.readouterr().err == message


@pytest.mark.parametrize("make,kw,error", [
    (lambda f: korvel.BackgroundData(), {}, TypeError),             # guard: not a TamSprite
    (lambda f: sprite("frame"), {}, TypeError),                     # guard: frame not a Surface
    (lambda f: sprite(noise(8, 6, 0, 16)), {"w": -8}, ValueError),  # guard: 16-bit mirror
    (lambda f: sprite(f), {"w": 10**9}, MemoryError),               # guard: huge result
    (lambda f: sprite(f), {"w": -2**31}, MemoryError),
    (lambda f: sprite(pygame.Surface((0, 6), 0, 32)), {"clockwise": 30}, ValueError),
])
def test_unusable_requests_raise(frame, make, kw, error):
    with pytest.raises(error):
        add(make(frame), **kw)


def test_draw_sprite_ext_is_disabled(capfd):
    with pytest.raises(SystemError):
        korvel.draw_sprite_ext(1, 2, 3)
    assert capfd.readouterr().err == ("This does not behave properly on Mac, and does not "
                                      "provide the desired speed boost on Linux.\n")
