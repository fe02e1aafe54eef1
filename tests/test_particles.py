# Particle types, particles and counters as scripts use them: lives,
# motion, handles and the guards against what is not a handle.
import datetime

import pygame
import pytest

import korvel


# A counter counts the living particles attached to it (attaching the same
# one again is -1, +1); attaching a non-counter is refused and keeps the old.
def test_attach_rejects_a_non_counter_and_keeps_the_old_one():
    t, a, b = korvel.part_type_create(), korvel.Beancounter(), korvel.Beancounter()
    ps = [korvel.CParticle_new(t, 0, 0) for _ in range(3)]
    for p in ps + ps[:1]:
        korvel.CParticle_attach_beancounter(p, a)
    for bad in [3, None, t, datetime.datetime_CAPI]:
        pytest.raises(TypeError, korvel.CParticle_attach_beancounter, p, bad)
    del p
    counts = [(int(a), int(b))]
    korvel.CParticle_attach_beancounter(ps[0], b)
    counts.append((int(a), int(b)))
    del ps[0]
    counts.append((int(a), int(b)))
    ps.clear()
    assert counts + [(int(a), int(b))] == [(3, 0), (2, 1), (2, 0), (0, 0)]


# Lives are drawn from min up to but excluding max, truncated, for both ways
# of making a particle, also through a TamVar holding the type handle.
@pytest.mark.parametrize("life,lives", [((10, 20), set(range(10, 20))), ((1, 2), {1}),
                                        ((5, 5), {5}), ((7.9, 7.2), {7}), (None, {30})])
@pytest.mark.parametrize("new", [lambda t: korvel.CParticle_new(t, 0, 0),
                                 lambda t: korvel.CParticle_new_size_color(t, 0, 0, 2, 0xFF),
                                 lambda t: korvel.CParticle_new(korvel.TamVar(t), 0, 0)])
def test_lives_are_drawn_from_min_below_max(life, lives, new):
    t = korvel.part_type_create()
    if life:
        korvel.part_type_life(korvel.TamVar(t), *life)
    assert {korvel.CParticle_dec_ttl(new(t)) + 1 for _ in range(400)} == lives


SETTERS = [(f"part_type_{n}", a) for n, a in [
    ("size", (1, 2, 0, 0)), ("speed", (1, 2, 0, 0)), ("direction", (1, 2, 0, 0)),
    ("orientation", (1, 2, 0, 0, 0)), ("life", (1, 2)), ("gravity", (1, 2)), ("scale", (1, 2)),
    ("alpha2", (1, 0)), ("alpha3", (1, 0, 1)), ("color3", (1, 2, 3)), ("blend", (1,)),
    ("sprite", (object(), 0, 0, 0))]] + [("CParticle_type_cache_clear", ()),
    ("CParticle_new", (0, 0)), ("CParticle_new_size_color", (0, 0, 1, 0))]


# What is no type handle prints its line (a TamVar holding none does not); a
# shape that is not exactly a Surface is reported before the handle is read.
BAD_SHAPES = [None, 5, pygame.Rect(0, 0, 1, 1), type("Sub", (pygame.Surface,), {})((2, 2))]
NOT_HANDLES = [(lambda: 5, "Returning NULL!\n"), (lambda: datetime.datetime_CAPI, "Returning NULL!\n"),
               (lambda: korvel.CParticle_new(korvel.part_type_create(), 0, 0), "Returning NULL!\n"),
               (lambda: korvel.TamVar(7), "")]


@pytest.mark.parametrize("name,handle,args,out,err", [
    *[(n, h, a, printed, "") for n, a in SETTERS for h, printed in NOT_HANDLES],
    *[("part_type_shape", h, (s,), "", "part_type_shape: A pygame Surface is required.\n")
      for h in (korvel.part_type_create, lambda: 5) for s in BAD_SHAPES]])
def test_non_handles_and_non_surfaces_print_and_raise(runtime, capfd, name, handle, args, out, err):
    obj = handle()
    capfd.readouterr()
    pytest.raises(TypeError, getattr(korvel, name), obj, *args)
    assert capfd.readouterr() == (out, err)


# A sprite shape prints its one note, and is refused when drawn before the
# particle moves.
@pytest.mark.parametrize("animate,stretch,random,printed", [
    (0, 0, 1, "XXX need to select a random subimage.\n"), (0, 0, 0, ""), (1, 2, 1, ""),
    (float("nan"), 0, 1, "")])
def test_sprite_shapes_are_not_drawn_but_refused(runtime, screen, capfd, animate, stretch, random,
                                             printed):
    t = korvel.part_type_create()
    korvel.part_type_sprite(t, object(), animate, stretch, random)
    assert capfd.readouterr().out == printed
    p = korvel.CParticle_new(t, 5, 5)
    pytest.raises(TypeError, korvel.CParticle_dec_ttl_and_render, p, 0, 0)
    assert korvel.CParticle_dec_ttl(p) == 29
