"""Frames per second of korvel.Room_Draw against the same frame in Python.

A 1280x960 room with 500 instances (400 drawn automatically through
draw_sprite_ext, 100 through their object's draw code), one particle system
and 200 tiles, on a 640x480 screen:

- with two views, the first unscaled over the whole screen, the second
  scaled by 0.6 into a port; the runtime's background handler draws the
  background and the tiles;
- without views, where Room_Draw blits the tiles itself and calls each
  instance's Draw().

The runtime side (background handler, draw_sprite_ext, Draw methods) is the
same Python code for both; the Python frame is a plain loop over the same
steps and pygame calls. Both frames are checked to give the same pixels. A
last pair times the frame loop alone, with handlers that draw nothing.
"""
import argparse
import sys
import time
import types

import numpy as np
import pygame

from _timing import machine, measure, print_table

SCREEN = (640, 480)
ROOM = (1280, 960)
INSTANCES, CODED, TILES = 500, 100, 200
SCALED = dict(xview=300, yview=200, wview=320, hview=240, xport=440, yport=10, wport=192,
              hport=144)

tam6 = sys.modules.setdefault("tam6", types.ModuleType("tam6"))
tamapi = sys.modules.setdefault("tamapi", types.ModuleType("tamapi"))
import korvel  # noqa: E402  (after the runtime modules exist)


class Runtime:
    """The runtime's Python side, shared by both frames."""

    def __init__(self, screen, rng):
        self.screen = screen
        self.background = pygame.Surface(ROOM, 0, 32)
        pygame.surfarray.blit_array(self.background,
                                    rng.integers(0, 1 << 24, ROOM, dtype=np.uint32))
        self.sheet = pygame.Surface((128, 128), 0, 32)
        pygame.surfarray.blit_array(self.sheet,
                                    rng.integers(0, 1 << 24, (128, 128), dtype=np.uint32))
        self.sprites = [pygame.Surface((16, 16), 0, 32) for _ in range(8)]
        for i, s in enumerate(self.sprites):
            s.fill((30 * i, 255 - 30 * i, 128))
        self.scaled = {}

    def scaled_image(self, image, sx, sy):
        key = (id(image), sx, sy)
        if key not in self.scaled:
            w, h = image.get_size()
            self.scaled[key] = pygame.transform.scale(image, (int(w * sx), int(h * sy)))
        return self.scaled[key]

    def Room_DrawBackgrounds(self, room, surface, xview, yview):
        sx, sy = tam6.view_xscale, tam6.view_yscale
        surface.blit(self.scaled_image(self.background, sx, sy),
                     (int(-xview * sx), int(-yview * sy)))
        if not room.view_enabled:
            return  # without views the tiles are Room_Draw's
        sheet = self.scaled_image(self.sheet, sx, sy)
        for t in room.tiles:
            surface.blit(sheet, (int((t.x - xview) * sx), int((t.y - yview) * sy)),
                         (int(t.tilex * sx), int(t.tiley * sy), int(t.w * sx), int(t.h * sy)))

    def draw_sprite_ext(self, sprite, subimg, x, y, xscale, yscale, angle, blend, alpha):
        room = tamapi.room
        v = room.view_current
        sx, sy = tam6.view_xscale, tam6.view_yscale
        image = self.scaled_image(self.sprites[sprite], sx, sy)
        self.screen.blit(image, (int((x - room.view_xview[v]) * sx) + int(room.view_xport[v]),
                                 int((y - room.view_yview[v]) * sy) + int(room.view_yport[v])))


class Instance:
    def __init__(self, rng, coded_object):
        self.x, self.y = (int(c) for c in rng.integers(0, 900, 2))
        self.sprite_index, self.image_index = int(rng.integers(0, 8)), 0
        self.image_xscale = self.image_yscale = 1.0
        self.image_angle, self.image_blend, self.image_alpha = 0.0, 0xFFFFFF, 1.0
        self.object_index = coded_object
        self.py_Draw = 0 if coded_object else 1

    def Draw(self):
        tamapi.draw_sprite_ext(self.sprite_index, self.image_index, self.x, self.y,
                               self.image_xscale, self.image_yscale, self.image_angle,
                               self.image_blend, self.image_alpha)


class ParticleSystem:
    py_automatic_draw = True

    def __init__(self, screen):
        self.screen = screen

    def py_RealDraw(self, xoff, yoff):
        self.screen.fill((255, 255, 255), (100 + xoff, 100 + yoff, 4, 4))

    def Draw(self):
        self.py_RealDraw(0, 0)


def floatlist(*values):
    fl = korvel.Floatlist8()
    for i, v in enumerate(values):
        fl[i] = v
    return fl


def make_room(rng, screen, views):
    draw_code = compile("draw_sprite_ext(self.sprite_index, self.image_index, self.x, self.y,"
                        " self.image_xscale, self.image_yscale, self.image_angle,"
                        " self.image_blend, self.image_alpha)", "<draw>", "exec")
    events = [[] for _ in range(12)]
    events[8] = [types.SimpleNamespace(python=draw_code)]
    coded = types.SimpleNamespace(py_objectdata=types.SimpleNamespace(events=events))
    drawn = [Instance(rng, coded if i < CODED else None) for i in range(INSTANCES)]
    drawn.insert(250, ParticleSystem(screen))
    room = korvel.TamRoom()
    room.room_width, room.room_height = ROOM
    room.drawn_objects = drawn
    tiles = []
    for i in range(TILES):
        t = korvel.RoomTileData()
        t.x, t.y = (int(c) for c in rng.integers(0, 1200, 2))
        t.tilex, t.tiley, t.w, t.h = 16 * (i % 8), 16 * (i // 8 % 8), 16, 16
        tiles.append(t)
    room.tiles = tiles
    full = dict(xview=100, yview=50, wview=SCREEN[0], hview=SCREEN[1], xport=0, yport=0,
                wport=SCREEN[0], hport=SCREEN[1])
    for name in full:
        setattr(room, "view_" + name, floatlist(full[name], SCALED[name]))
    room.view_object = floatlist(-1, -1)
    room.view_hborder = room.view_vborder = floatlist()
    room.view_visible = floatlist(1, 1)
    room.view_enabled = int(views)
    return room


def python_room_draw(room, surface, state):
    """Room_Draw's frame as a plain Python loop."""
    now = int(time.time())
    if now != state["second"]:
        tamapi.fps, state["second"], state["count"] = state["count"], now, 0
    state["count"] += 1
    drawn = tuple(room.drawn_objects)
    if not room.view_enabled:
        room.DrawBackgrounds(surface, 0, 0)
        backgrounds = tamapi.game.backgrounds
        for t in room.tiles:
            surface.blit(backgrounds[t.background_idx].surf, (t.x, t.y),
                         (t.tilex, t.tiley, t.w, t.h))
        room.view_current = 0
        for o in drawn:
            o.Draw()
        return
    for v in range(8):
        if room.view_visible[v]:
            python_draw_view(room, surface, v, drawn)


def python_draw_view(room, surface, v, drawn):
    xview, yview = room.view_xview[v], room.view_yview[v]
    room.view_current = v
    xport, yport = room.view_xport[v], room.view_yport[v]
    wview, hview = room.view_wview[v], room.view_hview[v]
    if xport == 0 and yport == 0 and surface.get_size() == (wview, hview):
        tam6.view_xscale = tam6.view_yscale = 1
        tam6.Room_DrawBackgrounds(room, surface, xview, yview)
    else:
        wport, hport = room.view_wport[v], room.view_hport[v]
        tam6.view_xscale, tam6.view_yscale = wport / wview, hport / hview
        port = pygame.Surface((int(wport), int(hport)), 0, 32)
        tam6.Room_DrawBackgrounds(room, port, xview, yview)
        surface.blit(port, (int(xport), int(yport)))
    offset = (int(-xview), int(-yview))
    for o in drawn:
        if type(o) is ParticleSystem:
            if v == 0 and o.py_automatic_draw:
                o.py_RealDraw(*offset)
        elif type(o.py_Draw) is int:
            tamapi.draw_sprite_ext(o.sprite_index, o.image_index, o.x, o.y, o.image_xscale,
                                   o.image_yscale, o.image_angle, o.image_blend, o.image_alpha)
        else:
            stack = tamapi.py_self_stack
            stack.append(tamapi.self)
            tamapi.self = o
            exec(o.py_Draw, tamapi.__dict__)
            tamapi.self = stack.pop()


def install_runtime(runtime, room, screen):
    tam6.Room_DrawBackgrounds = runtime.Room_DrawBackgrounds
    tam6.game = types.SimpleNamespace(objects=[], rooms=[room], backgrounds=[])
    bg = korvel.BackgroundData()
    bg.surf = runtime.sheet
    tam6.game.backgrounds.append(bg)
    for name in ("SpriteData_load_images", "BackgroundData_load_images"):
        setattr(tam6, name, None)
    tam6.view_xscale = tam6.view_yscale = 1
    tamapi.game, tamapi.room, tamapi.self, tamapi.fps = tam6.game, room, None, 0
    tamapi.py_self_stack, tamapi.py_draw_props = [], None
    tamapi.py_ParticleSystem, tamapi.pygame = ParticleSystem, pygame
    tamapi.draw_sprite_ext = runtime.draw_sprite_ext
    korvel.set_SDL_screen(screen)
    korvel.RegisterInstancesDict({}, Instance, Instance, ParticleSystem)


def frame_rows(views, reps, idle):
    """Timings of both frames; with `idle`, the runtime's handlers draw
    nothing, which leaves the frame loop itself."""
    pygame.display.init()
    screen = pygame.Surface(SCREEN, 0, 32)
    rng = np.random.default_rng(1)
    runtime = Runtime(screen, rng)
    room = make_room(rng, screen, views)
    install_runtime(runtime, room, screen)
    korvel.Room_Draw(room, screen)  # resolves the draw code of the coded instances
    state = dict(second=-1, count=0)
    draws = {"korvel.Room_Draw": lambda: korvel.Room_Draw(room, screen),
             "plain Python loop": lambda: python_room_draw(room, screen, state)}
    frames = []
    for draw in draws.values():
        screen.fill((0, 0, 0))
        draw()
        frames.append(pygame.surfarray.array2d(screen))
    if idle:
        tam6.Room_DrawBackgrounds = tamapi.draw_sprite_ext = lambda *args: None
        korvel.RegisterInstancesDict({}, Instance, Instance, ParticleSystem)
    label = ("two views, one scaled" if views else "no views") + (", idle handlers" * idle)
    rows = [(f"{name} ({label})", *measure(draw, reps)) for name, draw in draws.items()]
    return rows, np.array_equal(*frames)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--reps", type=int, default=100)
    args, _ = parser.parse_known_args()
    print(f"room of {INSTANCES} instances, {TILES} tiles, on {SCREEN[0]}x{SCREEN[1]}; "
          f"{args.reps} frames after warm-up ({machine()})")
    for views, idle in ((True, False), (False, False), (True, True)):
        rows, same = frame_rows(views, args.reps, idle)
        print_table(rows, rows[0][0])
        (_, _, korvel_med), (_, _, python_med) = rows
        print(f"  frames per second: korvel {1 / korvel_med:.0f}, Python {1 / python_med:.0f}; "
              f"korvel is {python_med / korvel_med:.2f}x as fast; same pixels: {same}")


if __name__ == "__main__":
    main()
