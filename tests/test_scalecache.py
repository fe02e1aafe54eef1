import functools

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
    return nativeapi.sprite_scalecache_add(spr, key, subimg, w, h, clockwise, None, colori, alpha, flatten)


@pytest.fixture
def frame(screen):
    return noise(8, 6, pygame.SRCALPHA, seed=3)


def opacity_model(f):
    p = pixels(f).astype(np.uint64)
    return ((p & 0xFFFFFF) | (((p >> 8) * 128) & 0xFF000000)).astype(np.uint32)


def turned(*steps):  # rotozooms without smoothing, each (x zoom, y zoom, angle)
    return lambda f: pixels(functools.reduce(lambda g, step: korvel.rotoscale(g, *step), steps, f))


@pytest.mark.parametrize("kw,model", [
    (dict(w=-8), lambda f: pixels(f)[:, ::-1]), (dict(h=-6), lambda f: pixels(f)[::-1, :]),
    (dict(w=-8, h=-6), lambda f: np.vstack([np.zeros((1, 8), np.uint32), pixels(f)[:0:-1, ::-1]])),
    (dict(colori=0x00123456), lambda f: np.full((6, 8), 0x00123456)),  # the whole copy
    (dict(alpha=128), opacity_model),  # the alpha byte rewritten
    (dict(w=16, clockwise=90), turned((2.0, 1.0, 0.0), (1.0, 1.0, 90.0))),
    (dict(clockwise=-30), turned((1.0, 1.0, -30.0))), (dict(w=4, h=9), turned((0.5, 1.5, 0.0))),
    (dict(h=0), turned((1.0, 0.0, 0.0))),  # zero height: not mirrored
    (dict(w=-16, h=12, clockwise=45), lambda f: turned((2.0, 2.0, 45.0))(korvel.flip_h(f)))])
def test_mirrors_blend_colours_opacity_and_turns_change_a_copy(frame, kw, model):
    before, spr = pixels(frame), sprite(noise(8, 6, seed=9), frame)
    assert add(spr) is spr.subimages[0] and spr.scalecache == {"k": spr.subimages[0]}  # unchanged: itself
    r, want = add(spr, subimg=1, **kw), model(frame)
    assert r is not frame and spr.scalecache == {"k": r} and pixels(r).shape == want.shape
    np.testing.assert_array_equal(pixels(r), want)
    np.testing.assert_array_equal(pixels(frame), before)


@pytest.mark.parametrize("alpha", [255, 128])
def test_flattening(screen, alpha):
    f = noise(8, 6, 0, seed=5)
    r = add(sprite(f), flatten=1, alpha=alpha)
    assert r is not f and r.get_bitsize() == 32 and r.get_masks()[:3] == screen.get_masks()[:3]
    lanes = [(p >> s) & 0xFF for p in (pixels(r), pixels(f)) for s in (0, 8, 16)]
    # opaque: the frame's colours; translucent: half over black
    assert all(abs(g.astype(int) - w * alpha // 255).max() <= (alpha < 255) for g, w in zip(lanes[:3], lanes[3:]))


@pytest.mark.parametrize("make,kw,error,message", [
    (lambda f: sprite(f), dict(subimg=3), IndexError, "sequence error.\n"),
    (lambda f: setattr(s := sprite(f), "scalecache", None) or s, dict(w=-8), TypeError,
     "Error storing item in scalecache.\n"),
    (lambda f: korvel.BackgroundData(), {}, TypeError, ""),             # not a TamSprite
    (lambda f: sprite("frame"), {}, TypeError, ""),                     # frame not a Surface
    (lambda f: sprite(noise(8, 6, 0, 16)), {"w": -8}, ValueError, ""),  # 16-bit mirror
    (lambda f: sprite(f), {"w": 10**9}, MemoryError, ""),               # huge result
    (lambda f: sprite(f), {"w": -2**31}, MemoryError, ""),
    (lambda f: sprite(pygame.Surface((0, 6), 0, 32)), {"clockwise": 30}, ValueError, "")])
def test_unusable_requests_raise(frame, capfd, make, kw, error, message):
    with pytest.raises(error):
        add(make(frame), **kw)
    assert not message or capfd.readouterr().err == message
