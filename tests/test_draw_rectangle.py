import types

import numpy as np
import pygame
import pytest

import korvel
import standins
from pixelmodel import fill_mix, raw_words

# View 1 shows (10, 5) to (42, 21) of the room in the whole 64 x 48 screen,
# shifted by its port (4, 2): the view scale is 2 across and 3 down.
VIEW = dict(xview=10, yview=5, object=-1, hborder=0, vborder=0, wview=32, hview=16, xport=4, yport=2, wport=64,
            hport=48)


class RecordingScreen(pygame.Surface):
    # A screen whose fill calls are recorded, and can be made to fail.
    error = None

    def fill(self, *args):
        self.fills.append(args)
        if self.error:
            raise self.error
        return super().fill(*args)


def scaled_room():
    # A room with one view, drawn once so that korvel holds its view scale.
    room = korvel.TamRoom()
    for name, value in dict(VIEW, visible=1).items():
        setattr(room, "view_" + name, standins.fl8(value))
    room.view_enabled, room.drawn_objects, room.tiles = 1, [], []
    return room


@pytest.fixture
def world(runtime, screen):
    tamapi, rect = runtime[1], standins.Recorder("rect")
    tamapi.pygame = types.SimpleNamespace(draw=types.SimpleNamespace(rect=rect), Surface=pygame.Surface)
    standins.register()
    tamapi.room = room = scaled_room()
    korvel.Room_Draw(room, screen)
    target = RecordingScreen((64, 48), 0, 32)
    target.fills = []
    korvel.set_SDL_screen(target)
    tamapi.py_draw_props.color = (255, 0, 0)
    yield types.SimpleNamespace(tamapi=tamapi, room=room, screen=target, rect=rect, display=screen)
    pygame.display.init()  # a row closes it
    korvel.set_SDL_screen(pygame.display.set_mode((64, 48), 0, 32))


def mapped(x, y):
    # Room coordinates on the screen, by the view above (half away from zero).
    rnd = lambda v: float(np.sign(v) * np.floor(abs(v) + 0.5))
    return rnd((x - 10) * 2) + 4, rnd((y - 5) * 3) + 2


# Opaque: the screen's fill, or pygame.draw.rect from an outline of 0.5 up;
# corners mapped through the view and rounded half away from zero.
# Translucent: the runtime's integer colour used as pixel lanes, not mapped.
@pytest.mark.parametrize("corners,outline,alpha,weight", [
    *[((10, 5, 20, 15), o, 1.0, None) for o in (None, 0.0, 0.49, -0.49, float("nan"), 1.0, 0.5, -0.5, -3.0)],
    ((12.25, 5.5, 13.75, 6.5), None, 1.0, None), ((-2.25, -0.5, 0.0, 0.0), None, 1.0, None),
    *[((10.4, 5.2, 20, 15), o, a, w) for o in (0.0, 0.5)
      for a, w in [(0.5, 127), (0.0, 0), (-2.0, 0), (1.5, 382 & 0xFF), (0.999, 254)]]])
def test_rectangles_fill_mix_or_go_to_pygame_draw_rect(world, corners, outline, alpha, weight):
    world.tamapi.py_draw_props.alpha = alpha
    (x1, y1), (x2, y2) = mapped(*corners[:2]), mapped(*corners[2:])
    box, want = (x1, y1, x2 - x1, y2 - y1), raw_words(world.screen)
    assert korvel.draw_rectangle(*corners, *([] if outline is None else [outline])) is None
    rect, fills = [], [((255, 0, 0), box)]
    if weight is not None:
        x1, y1, x2, y2 = int(x1), int(y1), int(x2), int(y2)
        want[y1:y2 + 1, x1:x2] = fill_mix(want[y1:y2 + 1, x1:x2], 0x0000FF, weight)
        fills = []
    elif outline is not None and abs(outline) >= 0.5:
        rect, fills = [(world.screen, (255, 0, 0), box, 1)], []
    assert (world.rect.calls, world.screen.fills) == (rect, fills)
    if weight is not None:
        np.testing.assert_array_equal(raw_words(world.screen), want)


# Draw properties whose colour closes the display when it is read (pygame's own
# draw.rect crashed on a Surface whose display was closed).
ClosingProps = type("ClosingProps", (), {"alpha": 1.0,
                                         "color": property(lambda s: pygame.display.quit() or (255, 0, 0))})


# A translucent outline is refused; a failing fill or draw.rect reports and
# raises; so does bad runtime state, before anything is drawn.
@pytest.mark.parametrize("change,error,line,outline", [
    *[(lambda w: setattr(w.tamapi.py_draw_props, "alpha", 0.5), SystemError,
       "Can't do alphablending on outline rectangles yet.\n", o) for o in (1.0, 0.51, -0.5)],
    (lambda w: setattr(w.screen, "error", ValueError("no")), ValueError, "An error occurred filling surface.\n", 0),
    (lambda w: setattr(w.rect, "result", ValueError("no")), ValueError,
     "An error occurred calling pygame.draw.rect(screen,color,4.000000,2.000000,20.000000,30.000000,1).\n", 1),
    *[(change, error, None, 0) for change, error in [
        (lambda w: setattr(w.tamapi, "room", None), AttributeError),
        (lambda w: setattr(w.room, "view_current", 8), IndexError),
        (lambda w: setattr(w.room, "view_current", -1), IndexError),
        (lambda w: setattr(w.room, "view_xport", [4.0]), TypeError),
        (lambda w: delattr(w.tamapi.py_draw_props, "alpha"), AttributeError)]],
    *[(lambda w: korvel.set_SDL_screen(w.display) or setattr(w.tamapi, "py_draw_props", ClosingProps())
       or standins.register(), (RuntimeError, pygame.error), None, o) for o in (0.0, 1.0)]])
def test_bad_runtime_state_raises(world, capfd, change, error, line, outline):
    change(world)
    before = raw_words(world.screen)
    with pytest.raises(error):
        korvel.draw_rectangle(10, 5, 20, 15, outline)
    assert capfd.readouterr().err == line or line is None
    np.testing.assert_array_equal(raw_words(world.screen), before)
