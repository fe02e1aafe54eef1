"""numpy models of korvel's lane arithmetic, written from the lane rules."""
import numpy as np
import pygame


def raw_words(surface):
    """The surface's pixel words including row padding, shape (h, pitch / 4)."""
    buf = np.frombuffer(surface.get_buffer().raw, dtype=np.uint32)
    return buf.reshape(surface.get_height(), surface.get_pitch() // 4).copy()


def lanes(w):
    w = np.asarray(w, dtype=np.int64)
    return [(w >> (8 * k)) & 0xFF for k in range(3)]


def join(ls):
    return (ls[0] | (ls[1] << 8) | (ls[2] << 16)).astype(np.uint32)


def multalpha(w, a):
    a = int(a) & 0xFF
    return join([(l * a) >> 8 for l in lanes(w)])


def fill_mix(p, color, alpha):
    """One covered pixel of a translucent fill."""
    a = int(alpha) & 0xFF
    return (multalpha(p, 255 - a).astype(np.int64) + multalpha(color, a)).astype(np.uint32)
