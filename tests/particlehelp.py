"""Shapes, particle types and surfaces for the particle tests."""
import numpy as np
import pygame

import korvel
from pixelmodel import raw_words, write_words


def shape(w, h, seed, alpha=0xFF):
    """An ARGB shape of random colours with the given alpha in every pixel."""
    s = pygame.Surface((w, h), pygame.SRCALPHA, 32)
    rng = np.random.default_rng(seed)
    words = rng.integers(0, 2**24, size=(h, s.get_pitch() // 4), dtype=np.uint32)
    write_words(s, words | np.uint32(alpha << 24))
    return s


def surface_like(words, flags=pygame.SRCALPHA):
    """A 32-bit surface holding the given (h, w) words."""
    h, w = words.shape
    s = pygame.Surface((w, h), flags, 32)
    assert s.get_pitch() == 4 * w
    write_words(s, words)
    return s


def random_screen(screen, seed):
    """Random colours on the stored screen (the unused top byte included)."""
    rng = np.random.default_rng(seed)
    words = rng.integers(0, 2**32, size=raw_words(screen).shape, dtype=np.uint32)
    write_words(screen, words)
    return words


def particle_type(surface=None, **settings):
    """A new type with a shape and any part_type_* settings given as tuples."""
    t = korvel.part_type_create()
    if surface is not None:
        korvel.part_type_shape(t, surface)
    for name, args in settings.items():
        getattr(korvel, "part_type_" + name)(t, *args)
    return t


def render(t, x, y, xoff=0, yoff=0):
    """Births a particle at (x, y), steps it once and draws it; returns it."""
    p = korvel.CParticle_new(t, x, y)
    korvel.CParticle_dec_ttl_and_render(p, xoff, yoff)
    return p


def blitted(screen_words, image, x, y):
    """SDL's own blit of image at (x, y) onto a copy of the screen words."""
    target = pygame.display.get_surface().copy()
    write_words(target, screen_words)
    target.blit(image, (x, y), special_flags=pygame.BLEND_ALPHA_SDL2)
    return raw_words(target)
