"""Every refusal of a careless call, one table: the call, the error it
raises, and the surface or object that must come out unchanged."""
import pygame
import pytest

import korvel
import standins

S32 = lambda: pygame.Surface((6, 6), 0, 32)  # noqa: E731
GRADIENT_ARGS = {"_v": (0, 0, 4, 4, 1, 2, 255), "s_vc": (0, 0, 4, 4, 1, 2, 0.5, 3, 0.5),
                 "s_vv": (0, 0, 4, 4, 1, 2, 0.5, 3, 4, 0.5),
                 "s_vcv": (0, 0, 4, 4, 1, 2, 0.5, 3, 0.5, 4, 5, 0.5),
                 "s_vcvvc": (0, 0, 4, 4, 1, 2, .5, 3, .5, 4, 5, .5, 6, 7, .5, 8, .5)}
SURFACE_CALLS = {  # the calls that take a surface first, with good arguments after it
    **{"fast_draw_gradient" + k: v for k, v in GRADIENT_ARGS.items()},
    "fill_translucent": (0, 0, 4, 4, 0, 128), "flip_h": (), "flip_v": (), "flip_vh": (),
    "scale": (2.0, 2.0), "rotoscale": (1.0, 1.0, 30.0), "TamSprite_from_surface": (),
    "set_SDL_screen": ()}
NOT_SURFACES = [None, "surface", pygame.Rect(0, 0, 2, 2),
                pygame.Surface.__new__(pygame.Surface)]  # no SDL surface inside


def call(name, *args):
    return lambda: getattr(korvel, name)(*args)


REFUSALS = [
    *[(call(n, bad, *rest), TypeError) for n, rest in SURFACE_CALLS.items() for bad in NOT_SURFACES],
    *[(call(n, S32(), *rest, 1.0), TypeError) for n, rest in SURFACE_CALLS.items()
      if n != "TamSprite_from_surface"],  # one argument too many
    *[(call(n, S32(), *rest[:-1]), TypeError) for n, rest in SURFACE_CALLS.items() if rest],
    *[(call(n, S32(), "0", *rest[1:]), TypeError) for n, rest in SURFACE_CALLS.items()
      if n.startswith(("fast", "fill"))],
    (call("fill_translucent", S32(), 0, 0, 1, 1, 2**40, 0), OverflowError),
    (call("TamSprite_from_surface", S32(), "n", 3), TypeError),
    (call("set_SDL_screen"), TypeError), (call("TamSprite_from_surface"), TypeError),
    *[(call("fast_draw_rectangle_color", *args), TypeError)
      for args in [(0, 0, 1, 1, 0, 0, 0, 0, 0.5), (0, 0, 1, 1, 0, 0, 0, "0", 0.5, 0)]],
    *[(call("draw_rectangle", *args), TypeError) for args in [(), (1, 2, 3), (1, 2, 3, "4"),
                                                              (1, 2, 3, 4, 5, 6)]],
    *[(call("RegisterInstancesDict", *args), TypeError)
      for args in [(), (1, 2, 3), (1, 2, 3, 4, 5), ([], object, object, object)]],
    *[(lambda m=m, a=a: getattr(korvel.TamRoom(), m)(*a), TypeError) for m, a in [
        ("StepEvents", (1,)), ("Leave", (None,)), ("AddInstance", ()), ("AddDrawnInstance", ()),
        ("SetBackgroundIndex", ("a",)), ("DrawBackgrounds", ("s", 0)), ("HandleKeypress", ()),
        ("MouseButtonUp", (1, 2))]],
    *[(lambda a=a: korvel.InstanceList().insert(*a), TypeError)
      for a in [(), (0,), ("x", 7), (0, 7, 1)]],
    # the types: no subclasses, no arguments where none are taken
    *[(lambda c=c: type("Sub", (c,), {}), TypeError)
      for c in (korvel.TamVar, korvel.Floatlist8, korvel.InstanceList, korvel.Beancounter,
                korvel.TamSprite, korvel.BackgroundData)],
    *[(lambda c=c, a=a: c(*a), TypeError)
      for c, a in [(korvel.TamVar, ()), (korvel.TamVar, (1, 2)), (korvel.Floatlist8, (1,)),
                   (korvel.Beancounter, (1,))]],
    (lambda: korvel.Floatlist8(x=1), TypeError),
    # states that cannot be restored
    *[(lambda c=c, s=s: c().__setstate__(s), e) for c, s, e in [
        (korvel.TamSprite, tuple(range(16)), IndexError),  # no frame count
        (korvel.TamSprite, tuple(range(5)), IndexError),
        (korvel.TamSprite, ("w",) + tuple(range(16)), TypeError),
        (korvel.TamSprite, 5, TypeError), (korvel.TamSprite, {"w": 1}, TypeError),
        (korvel.BackgroundData, ("bg",), IndexError), (korvel.BackgroundData, ("bg", "t"), TypeError),
        (korvel.BackgroundData, None, TypeError), (korvel.InstanceList, 5, TypeError)]],
    (lambda: korvel.Floatlist8().__setstate__(), TypeError),
]


@pytest.mark.parametrize("refused,error", REFUSALS)
def test_careless_calls_are_refused(runtime, screen, refused, error):
    before = pygame.image.tostring(screen, "RGB")
    with pytest.raises(error):
        refused()
    assert pygame.image.tostring(screen, "RGB") == before


DEPTH_REFUSED = [("fill_translucent", (0, 0, 8, 8, 0, 128)), ("flip_h", ()), ("flip_vh", ()),
                 *[("fast_draw_gradient" + k, v) for k, v in GRADIENT_ARGS.items()]]


@pytest.mark.parametrize("name,args", DEPTH_REFUSED)
@pytest.mark.parametrize("depth", [8, 16, 24])
def test_32_bit_calls_refuse_other_depths_and_change_nothing(name, args, depth):
    s = pygame.Surface((8, 8), 0, depth)
    s.fill((200, 100, 50))
    before = pygame.image.tostring(s, "RGB")
    with pytest.raises(ValueError):
        getattr(korvel, name)(s, *args)
    assert pygame.image.tostring(s, "RGB") == before


@pytest.mark.parametrize("call", [
    lambda: korvel.fast_draw_rectangle_color(0, 0, 4, 4, 1, 1, 2, 2, 0.5, 0),
    lambda: korvel.draw_rectangle(0, 0, 4, 4)])
def test_a_16_bit_screen_is_refused(runtime, screen, call):
    _, tamapi = runtime
    tamapi.room = korvel.TamRoom()
    for n in ("xview", "yview", "xport", "yport"):
        setattr(tamapi.room, "view_" + n, korvel.Floatlist8())
    tamapi.py_draw_props.alpha = 0.5
    korvel.set_SDL_screen(pygame.Surface((8, 8), 0, 16))
    try:
        with pytest.raises(ValueError):
            call()
    finally:
        korvel.set_SDL_screen(screen)


def test_calls_that_need_the_screen_or_the_runtime_raise_before_they_are_stored():
    out = standins.run_fresh(
        "import pygame, korvel, nativeapi as na\n"
        "print(hex(na.color_as_int((1, 2))))\n"
        "tam6, tamapi = standins.reset()\n"
        "tamapi.room = korvel.TamRoom()\n"
        "for n in ('xview', 'yview', 'xport', 'yport'):\n"
        "    setattr(tamapi.room, 'view_' + n, korvel.Floatlist8())\n"
        "for f, args in [(na.color_as_int, [(1, 2, 3)]),\n"
        "                (korvel.TamSprite_from_surface, [pygame.Surface((2, 2))]),\n"
        "                (korvel.fast_draw_rectangle_color, [0, 0, 4, 4, 1, 1, 2, 2, 0.5, 0]),\n"
        "                (korvel.draw_rectangle, [0, 0, 4, 4]),\n"
        "                (korvel.InstanceList().append, [7])]:\n"
        "    try:\n"
        "        f(*args)\n"
        "    except RuntimeError as e:\n"
        "        print('RuntimeError', e)\n")
    stored = "RuntimeError the screen is not stored (call set_SDL_screen)\n"
    lines = out.splitlines(keepends=True)
    assert lines[0] == "0xffffff00\n" and "".join(lines[1:3]) == stored * 2
    assert len(lines) == 6 and "instance dictionary is not registered" in lines[5]
