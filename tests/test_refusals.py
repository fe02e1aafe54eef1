"""Every refusal of a careless call, one table: the call, the error it raises; the screen and
every surface passed come out unchanged."""
import datetime
import math
import textwrap

import pygame
import pytest

import korvel
import nativeapi as na
import standins
from pixelmodel import noise

AREA = (0, 0, 4, 4, 1, 2)  # then the layers' colours, positions and opacities
GRADIENT_ARGS = {"_v": AREA + (255,), "s_vc": AREA + (.5, 3, .5), "s_vv": AREA + (.5, 3, 4, .5),
                 "s_vcv": AREA + (.5, 3, .5, 4, 5, .5),
                 "s_vcvvc": AREA + (.5, 3, .5, 4, 5, .5, 6, 7, .5, 8, .5)}
SURFACE_CALLS = {  # the calls that take a surface first, with good arguments after it
    **{"fast_draw_gradient" + k: v for k, v in GRADIENT_ARGS.items()},
    "fill_translucent": (0, 0, 4, 4, 0, 128), "flip_h": (), "flip_v": (), "flip_vh": (),
    "scale": (2.0, 2.0), "rotoscale": (1.0, 1.0, 30.0), "TamSprite_from_surface": (),
    "set_SDL_screen": ()}
NOT_SURFACES = [None, "surface", pygame.Rect(0, 0, 2, 2),
                DEAD := pygame.Surface.__new__(pygame.Surface)]  # no SDL surface inside
PICTURE = noise(64, 48)  # to transform
DEPTH_REFUSED = ["fill_translucent", "flip_h", "flip_vh", *("fast_draw_gradient" + k
                                                             for k in GRADIENT_ARGS)]


def room_with_views():  # a room whose view lists draw_rectangle can read
    room = korvel.TamRoom()
    for n in ("xview", "yview", "xport", "yport"):
        setattr(room, "view_" + n, korvel.Floatlist8())
    return room


def method(cls, name):
    return lambda *args: getattr(cls(), name)(*args)


def reduce_with(cls, field, *value):  # reduces a new cls whose field is emptied, or holds value
    r = cls()
    setattr(r, field, *value) if value else delattr(r, field)
    return r.__reduce__()


K = korvel
REFUSALS = [  # (function, arguments, error); arity and number conversions are the host's own
    *[(getattr(K, n), (bad, *rest), TypeError) for n, rest in SURFACE_CALLS.items()
      for bad in NOT_SURFACES],
    *[(getattr(K, n), (noise(8, 8, 0, depth), *SURFACE_CALLS[n]), ValueError) for n in DEPTH_REFUSED
      for depth in (8, 16, 24)],
    *[(method(K.TamRoom, m), (), TypeError) for m in ("AddInstance", "AddDrawnInstance")],  # unparsed
    # particle functions take only particles
    *[(f, (bad, *rest), TypeError) for f, rest in [
        (K.CParticle_step, ()), (K.CParticle_dec_ttl, ()), (K.CParticle_dec_ttl_and_render, (0, 0)),
        (K.CParticle_attach_beancounter, (K.Beancounter(),))]
      for bad in [3, None, K.part_type_create(), datetime.datetime_CAPI]],
    (lambda: K.Floatlist8(x=1), (), TypeError),
    # sizes past memory or int range, NaN or infinite factors, 8-bit sources mirrored
    # (SDL_gfx would read outside them), empty surfaces
    (K.scale, (PICTURE, 1e4, 1e4), MemoryError), (K.scale, (PICTURE, 3e38, 1.0), MemoryError),
    (K.rotoscale, (PICTURE, 1e9, 1e9, 30.0), MemoryError), (K.rotoscale, (PICTURE, 5e4, 2.0, 0.0), MemoryError),
    (K.scale, (PICTURE, math.nan, 1.0), ValueError), (K.scale, (PICTURE, 1.0, math.inf), ValueError),
    (K.rotoscale, (PICTURE, math.inf, 1.0, 10.0), ValueError), (K.scale, (noise(4, 4, 0, 8), -1.0, 1.0), ValueError),
    (K.rotoscale, (noise(4, 4, 0, 8), 1.0, -2.0, 0.0), ValueError),
    (K.scale, (pygame.Surface((0, 5), 0, 32), 2.0, 2.0), ValueError),
    (K.rotoscale, (pygame.Surface((5, 0), 0, 32), 1.0, 1.0, 45.0), ValueError),
    # a resource's number is its position in the game's list: a game or list that is
    # missing, or a list that is neither list nor tuple, fails the conversion
    *[(lambda b: b(standins.modules()[0]) or int(K.BackgroundData()), (b,), e) for b, e in [
        (lambda tam6: delattr(tam6, "game"), AttributeError),
        (lambda tam6: delattr(tam6.game, "backgrounds"), AttributeError),
        (lambda tam6: setattr(tam6.game, "backgrounds", {1: 2}), TypeError)]],
    *[(na.color_as_int, (o,), TypeError) for o in [(1, "g", 3), 2.5, None]],  # not a colour
    (lambda o: o.children.append(o) or na.GetFirstInstance(o), (standins.ObjectRecord(),),
     RecursionError),  # a game object among its own children
    # states that cannot be restored
    *[(method(c, "__setstate__"), s, e) for c, s, e in [
        (K.TamSprite, (tuple(range(16)),), IndexError),  # no frame count
        (K.TamSprite, (("w",) + tuple(range(16)),), TypeError),
        (K.BackgroundData, (("bg",),), IndexError), (K.BackgroundData, (("bg", "t"),), TypeError),
        (K.RoomTileData, (tuple(range(9)) + ("x",),), TypeError), (K.Floatlist8, (), TypeError)]],
    # reducing emptied fields raises as reading them does
    *[(reduce_with, a, e) for a, e in [((K.TamSprite, "name"), AttributeError), (
        (K.TamSprite, "subimages"), AttributeError), ((K.BackgroundData, "name"), AttributeError),
        ((K.TamSprite, "subimages", 5), TypeError)]],
]


@pytest.mark.parametrize("refused,args,error", REFUSALS)
def test_careless_calls_are_refused(runtime, screen, refused, args, error):
    surfaces = [screen] + [a for a in args if isinstance(a, pygame.Surface) and a is not DEAD]
    before = [pygame.image.tostring(s, "RGB") for s in surfaces]
    with pytest.raises(error):
        refused(*args)
    assert [pygame.image.tostring(s, "RGB") for s in surfaces] == before


# Nothing stored yet in a fresh interpreter: a particle is refused its draw before
# it moves, and its type, made before the screen, keeps the words 0xFFFFFF00 (mixed,
# red drops out: 0xFFFF). Then a 16-bit screen is refused; the display set up again
# is drawn into (pygame freed the old surface), and once closed nothing is drawn and
# its Surface is no shape.
def test_calls_that_need_the_screen_or_the_runtime_raise_before_they_are_stored():
    out = standins.run_fresh(textwrap.dedent("""
        import pygame, korvel, nativeapi as na
        from test_refusals import room_with_views
        print(hex(na.color_as_int((1, 2))))
        tam6, tamapi = standins.reset()
        tamapi.room, tamapi.py_draw_props.alpha = room_with_views(), 0.5
        def refused(f, *args):
            try:
                f(*args)
            except (RuntimeError, ValueError, TypeError) as e:
                print(type(e).__name__, e)
        refused(korvel.InstanceList().append, 7)
        standins.register()
        s = pygame.Surface((2, 2), pygame.SRCALPHA, 32)
        s.fill((255, 255, 255, 255))
        early = korvel.part_type_create()
        korvel.part_type_shape(early, s)
        p = korvel.CParticle_new(early, 2, 2)
        rect = (korvel.fast_draw_rectangle_color, 0, 0, 4, 4, 1, 1, 2, 2, 0.5, 0)
        calls = [(na.color_as_int, (1, 2, 3)), (korvel.TamSprite_from_surface, s), rect,
                 (korvel.draw_rectangle, 0, 0, 4, 4), (korvel.CParticle_dec_ttl_and_render, p, 0, 0)]
        for call in calls:
            refused(*call)
        print(korvel.CParticle_dec_ttl(p))
        korvel.set_SDL_screen(pygame.Surface((8, 8), 0, 16))
        for call in (rect, calls[3]):
            refused(*call)
        pygame.display.init()
        korvel.set_SDL_screen(pygame.display.set_mode((8, 8), 0, 32))
        bigger = pygame.display.set_mode((100, 80), 0, 32)  # read afresh, not the freed one
        korvel.CParticle_dec_ttl_and_render(korvel.CParticle_new(early, 90, 70), 0, 0)
        print(hex(bigger.map_rgb(bigger.get_at((90, 70)))))
        print(korvel.TamSprite_from_surface(pygame.Surface((2, 2), 0, 24)).subimages[0].get_bitsize())
        pygame.display.quit()
        for call in [calls[1], calls[4], (korvel.part_type_shape, early, bigger)]:
            refused(*call)
    """))
    lines, stored = out.splitlines(), "RuntimeError the screen is not stored (call set_SDL_screen)"
    assert lines[0] == "0xffffff00" and "instance dictionary is not registered" in lines[1]
    assert lines[2:12] == [stored] * 5 + ["29"] + ["ValueError a 32-bit surface is required, "
                                                   "not 16-bit"] * 2 + ["0xffff", "32"]
    gone = "RuntimeError the stored screen has no surface any more (call set_SDL_screen)"
    assert lines[12:14] == [gone] * 2 and lines[14].startswith("TypeError") and len(lines) == 15
