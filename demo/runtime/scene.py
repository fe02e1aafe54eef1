"""The demo's game: its images, resources, objects and its one room.

Everything is generated here, from the seed, so the demo needs no data files:
images are drawn with pygame, instance positions and motions come from
random.Random(seed). The particles' own random draws are korvel's and differ
from run to run.
"""
import math
import random

import pygame

import tam6
import tamapi

TILE = 32
FLOOR_TILES = 2
COLORKEY = (255, 0, 255)
SKY_TOP = (40, 90, 200)
HORIZON = (250, 190, 140)
PALETTE = [0xFFFFFF, 0x6060FF, 0x60FF60, 0xFF9040, 0x40E0FF]  # script colours 0xBBGGRR


def script_color(rgb):
    r, g, b = rgb
    return r | g << 8 | b << 16


# ---- images ---------------------------------------------------------------------

def make_ball():
    s = pygame.Surface((32, 32), pygame.SRCALPHA, 32)
    for r in range(15, 0, -1):
        shade = 150 + (15 - r) * 7
        pygame.draw.circle(s, (shade, shade, shade, 255), (16 - (15 - r) // 3, 16 - (15 - r) // 3), r)
    return s


def make_star():
    s = pygame.Surface((32, 32), pygame.SRCALPHA, 32)
    points = [(16 + (15 if k % 2 == 0 else 6) * math.cos(math.pi * k / 5 - math.pi / 2),
               16 + (15 if k % 2 == 0 else 6) * math.sin(math.pi * k / 5 - math.pi / 2))
              for k in range(10)]
    pygame.draw.polygon(s, (255, 240, 160, 255), points)
    pygame.draw.polygon(s, (255, 255, 255, 255), points, 1)
    return s


def make_ship(frame):
    s = pygame.Surface((40, 40), pygame.SRCALPHA, 32)
    flame = 6 + 3 * (frame % 2) + frame
    pygame.draw.polygon(s, (255, 150, 40, 230), [(10, 15), (10, 25), (10 - flame, 20)])
    pygame.draw.polygon(s, (220, 230, 255, 255), [(38, 20), (8, 6), (14, 20), (8, 34)])
    pygame.draw.circle(s, (60, 140, 255, 255), (24, 20), 5)
    return s


def make_gem(frame):
    s = pygame.Surface((20, 24), pygame.SRCALPHA, 32)
    pygame.draw.polygon(s, (80, 255, 200, 255), [(10, 0), (20, 10), (10, 23), (0, 10)])
    pygame.draw.polygon(s, (200, 255, 240, 255), [(10, 3), (15, 10), (10, 10)])
    if frame:
        pygame.draw.line(s, (255, 255, 255, 255), (3, 3), (7, 7))
    return s


def make_torch():
    s = pygame.Surface((16, 40), 0, 32)
    s.fill(COLORKEY)
    s.set_colorkey(COLORKEY)
    pygame.draw.rect(s, (110, 70, 30), (6, 10, 4, 30))
    pygame.draw.polygon(s, (70, 60, 60), [(1, 6), (15, 6), (11, 12), (5, 12)])
    return s


def make_mountains():
    s = pygame.Surface((720, 220), pygame.SRCALPHA, 32)
    rng = random.Random(7)
    for shade, base, height in (((110, 120, 160, 255), 220, 200), ((70, 90, 110, 255), 220, 130)):
        points = [(0, base)]
        for x in range(0, 721, 48):
            points.append((x, base - rng.randint(height // 3, height)))
        points.append((720, base))
        pygame.draw.polygon(s, shade, points)
    return s


def make_clouds():
    s = pygame.Surface((320, 180), pygame.SRCALPHA, 32)
    for cx, cy, w, h in ((40, 30, 90, 30), (70, 20, 60, 28), (200, 110, 120, 34), (240, 96, 60, 30)):
        pygame.draw.ellipse(s, (255, 255, 255, 150), (cx, cy, w, h))
    return s


def make_tileset():
    """Four 32x32 tiles side by side: grass, earth, stone, brick."""
    s = pygame.Surface((4 * TILE, TILE), 0, 32)
    s.fill((120, 80, 40), (0, 0, TILE, TILE))
    s.fill((60, 170, 60), (0, 0, TILE, 9))
    s.fill((120, 80, 40), (TILE, 0, TILE, TILE))
    for k in range(12):
        s.fill((95, 60, 30), (TILE + (k * 11) % 29, (k * 7) % 29, 3, 3))
    s.fill((120, 120, 130), (2 * TILE, 0, TILE, TILE))
    pygame.draw.line(s, (90, 90, 100), (2 * TILE, 15), (3 * TILE - 1, 15))
    s.fill((150, 60, 50), (3 * TILE, 0, TILE, TILE))
    for row in range(4):
        pygame.draw.line(s, (200, 190, 180), (3 * TILE, row * 8), (4 * TILE - 1, row * 8))
        x = 3 * TILE + (8 if row % 2 else 0)
        pygame.draw.line(s, (200, 190, 180), (x + 8, row * 8), (x + 8, row * 8 + 7))
    return s


def make_flare():
    """Additive glow: light in the middle, black (adds nothing) at the edge."""
    s = pygame.Surface((32, 32), 0, 32)
    s.fill((0, 0, 0))
    for r in range(15, 0, -1):
        v = int(255 * (1 - r / 16) ** 1.6)
        pygame.draw.circle(s, (v, v, v), (16, 16), r)
    return s


def make_puff():
    s = pygame.Surface((32, 32), pygame.SRCALPHA, 32)
    for r in range(15, 0, -1):
        pygame.draw.circle(s, (200, 200, 200, int(160 * (1 - r / 16))), (16, 16), r)
    return s


# ---- resources ----------------------------------------------------------------------

def new_sprite(K, name, frames):
    spr = K.TamSprite()
    spr.name = name
    spr.w, spr.h = frames[0].get_size()
    spr.xorigin, spr.yorigin = spr.w // 2, spr.h // 2
    spr.rightbound, spr.bottombound = spr.w, spr.h
    spr.subimages = list(frames)
    return spr


def new_background(K, name, surf):
    bg = K.BackgroundData()
    bg.name = name
    bg.surf = surf
    bg.w, bg.h = surf.get_size()
    return bg


def floatlist8(K, values=()):
    fl = K.Floatlist8()
    for i, v in enumerate(values):
        fl[i] = v
    return fl


def particle_type(K, shape, blend, size, speed, direction, life, colors, alphas, spin=0.0):
    pt = K.part_type_create()
    K.part_type_shape(pt, shape)
    K.part_type_blend(pt, blend)
    K.part_type_size(pt, *size)
    K.part_type_speed(pt, speed[0], speed[1], 0.0, 0.0)
    K.part_type_direction(pt, direction[0], direction[1], 0.0, 0.0)
    K.part_type_life(pt, *life)
    K.part_type_color3(pt, *colors)
    K.part_type_alpha3(pt, *alphas)
    if spin:
        K.part_type_orientation(pt, 0.0, 360.0, spin, 0.0, 0.0)
    return K.TamVar(pt)  # scripts hold particle types in variables


# ---- object events ------------------------------------------------------------------

HUD_DRAW = """
vx, vy = room.view_xview[0], room.view_yview[0]
if room.view_current == 0:
    draw_set_alpha(1.0)
    draw_set_color(c_panel)
    draw_rectangle(vx + 8, vy + 8, vx + 288, vy + 64)
    draw_set_color(c_gold)
    draw_set_alpha(0.5)
    draw_rectangle(vx + 16, vy + 44, vx + 280, vy + 56)
    draw_set_alpha(0.9)
    draw_rectangle(vx + 16, vy + 44, vx + 16 + 264 * min(int(score), 24) // 24, vy + 56)
    draw_set_alpha(1.0)
    draw_set_color(c_white)
    draw_text(vx + 16, vy + 16, "gems %d   particles %d" % (int(score), particle_count()))
else:
    draw_set_color(c_white)
    draw_set_alpha(0.3)
    draw_rectangle(vx, vy, vx + room.view_wview[0], vy + room.view_hview[0])
    draw_set_alpha(1.0)
    draw_rectangle(0, 0, room.room_width, room.room_height, 1)
"""


def player_path(room, t):
    floor = room.room_height - FLOOR_TILES * TILE
    x = 120 + (room.room_width - 240) * (1 - math.cos(t * 0.0035)) / 2
    y = floor - 60 - (floor - 260) * (1 - math.cos(t * 0.009)) / 2
    return x, y


def player_step(room, inst):
    keys = tamapi.keys_down
    if keys & {pygame.K_LEFT, pygame.K_RIGHT, pygame.K_UP, pygame.K_DOWN}:
        inst.hspeed = 6.0 * ((pygame.K_RIGHT in keys) - (pygame.K_LEFT in keys))
        inst.vspeed = 6.0 * ((pygame.K_DOWN in keys) - (pygame.K_UP in keys))
    else:
        inst.t += 1
        x, y = player_path(room, inst.t)
        inst.hspeed, inst.vspeed = x - inst.x, y - inst.y
    if inst.hspeed or inst.vspeed:
        inst.image_angle = math.degrees(math.atan2(-inst.vspeed, inst.hspeed))
    tam6.game.sparks.burst(tam6.game.part_sparks, inst.x, inst.y, 2)
    tamapi.frame_count += 1


def player_collects(room, player, gem):
    tamapi.score += 1
    tamapi.taken_at[gem.number] = int(tamapi.frame_count)
    tam6.game.sparks.burst(tam6.game.part_sparks, gem.x, gem.y, 30)
    tam6.destroy_instance(room, gem)
    gem.alarm[0] = 150


def gem_respawns(room, gem, alarm):
    rng = tam6.game.rng
    gem.x = rng.uniform(64, room.room_width - 64)
    gem.y = rng.uniform(160, room.room_height - FLOOR_TILES * TILE - 80)
    gem.active = True
    room.AddDrawnInstance(gem)
    room.moving_objects.append(gem)


def torch_step(room, inst):
    game = tam6.game
    game.fire.burst(game.part_fire, inst.x, inst.y - 16, 3)
    inst.t += 1
    if inst.t % 2 == 0:
        game.smoke.burst(game.part_smoke, inst.x, inst.y - 40, 1)


# ---- the room -----------------------------------------------------------------------

def build(K, screen_size, seed, balls=240, stars=60, gems=24, torches=6, views=True):
    """Builds the game and its room; returns (game, room). The room is not yet created."""
    W, H = screen_size
    rng = random.Random(seed)
    game = tam6.Game()
    game.rng = rng
    game.floor_height = FLOOR_TILES * TILE
    game.tile_colorkey = COLORKEY
    game.horizon_color = HORIZON
    game.horizon_script_color = script_color(HORIZON)
    tam6.start(K, pygame.display.get_surface(), game)

    game.images = {"ball": lambda: [make_ball()], "star": lambda: [make_star()],
                   "ship": lambda: [make_ship(f) for f in range(4)],
                   "gem": lambda: [make_gem(f) for f in range(2)],
                   "mountains": make_mountains, "clouds": make_clouds, "tiles": make_tileset}
    for name in ("ball", "star", "ship", "gem"):
        game.sprites.append(new_sprite(K, name, game.images[name]()))
    game.sprites.append(K.TamSprite_from_surface(make_torch(), "torch"))
    ball, star, ship, gem, torch = game.sprites
    for name in ("mountains", "clouds", "tiles"):
        game.backgrounds.append(new_background(K, name, game.images[name]()))

    tamapi.score = K.TamVar(0)
    tamapi.frame_count = K.TamVar(0)
    tamapi.taken_at = K.TamVar(-1)  # frame at which each gem was last taken
    for k in range(gems):
        tamapi.taken_at[k] = -1

    from tam6 import GameObject, ObjectInstanceZero
    game.objects = [
        GameObject("controller", depth=-10000, draw_code=HUD_DRAW, instance_type=ObjectInstanceZero),
        GameObject("player", ship, depth=-100, step=player_step, moves=True),
        GameObject("ball", ball, depth=0, moves=True),
        GameObject("star", star, depth=-5, moves=True),
        GameObject("gem", gem, depth=-50, alarm=gem_respawns, moves=True),
        GameObject("torch", torch, depth=10, step=torch_step),
    ]
    game.objects[1].collide = (game.objects[4], player_collects)

    flare, puff = make_flare(), make_puff()
    # The fire has a fixed size and lifetime, so that its particles of one age
    # share one prerendered image (korvel caches them per type). The smoke
    # grows and turns instead, and its size wiggle makes every puff a scaled
    # image: an unscaled translucent one would be converted to the screen's
    # format, which has no alpha channel.
    game.part_fire = particle_type(K, flare, 1, (0.6, 0.6, 0.0, 0.0), (1.0, 2.4), (150, 210),
                                   (26, 26), (0x60E0FF, 0x1070FF, 0x000050), (1.0, 0.8, 0.0))
    game.part_smoke = particle_type(K, puff, 0, (0.5, 1.6, 0.01, 0.002), (0.5, 1.2), (165, 195),
                                    (60, 90), (0xD0D0D0, 0xB0B0B0, 0x909090), (0.7, 0.4, 0.0),
                                    spin=2.0)
    game.part_sparks = particle_type(K, flare, 1, (0.15, 0.3, 0.0, 0.0), (1.0, 3.5), (0, 360),
                                     (10, 24), (0xFFFFC0, 0xFFA040, 0x802000), (1.0, 0.7, 0.0))
    # The click burst fades through its colours alone, at full opacity: korvel
    # tints and fades additive images by subtracting from every channel, which
    # leaves little of a small, dim image, so these sparks are larger and only
    # their colour darkens.
    game.part_burst = particle_type(K, flare, 1, (0.3, 0.5, 0.0, 0.0), (1.0, 3.5), (0, 360),
                                    (16, 30), (0xFFFFFF, 0x40C0FF, 0x0030A0), (1.0, 1.0, 1.0))
    game.smoke = tamapi.ParticleSystem("smoke", 5)
    game.fire = tamapi.ParticleSystem("fire", 8)
    game.sparks = tamapi.ParticleSystem("sparks", -110)
    game.particle_systems = [game.smoke, game.fire, game.sparks]

    room = K.TamRoom()
    game.rooms.append(room)
    room.id, room.name, room.room_speed = 0, "meadow", 60
    room.room_width, room.room_height = 3 * W, 2 * H
    floor = room.room_height - game.floor_height
    room.bgcolor, room.draw_bgcolor = script_color(SKY_TOP), 1
    room.creation_code = "score += 0\n"

    room.background_index = floatlist8(K, (0, 1))
    room.background_visible = floatlist8(K, (1, 1))
    room.background_x = floatlist8(K, (0, 0))
    room.background_y = floatlist8(K, (floor - 220, 0))
    room.background_xscale = floatlist8(K, (room.room_width / 720, 1))
    room.background_yscale = floatlist8(K, (1, 1))
    room.background_hspeed = floatlist8(K, (0, 0.75))
    room.background_vspeed = floatlist8(K)
    room.background_htiled = floatlist8(K, (0, 1))
    room.background_vtiled = floatlist8(K, (0, 1))
    room.background_alpha = floatlist8(K, (1, 0.8))
    room.background_blend = floatlist8(K, (0xFFFFFF, 0xFFFFFF))
    room.background_width = floatlist8(K)
    room.background_height = floatlist8(K)

    wport = W // 4
    hport = round(room.room_height * wport / room.room_width)
    room.view_enabled, room.numviews = int(views), 2
    room.view_visible = floatlist8(K, (1, 1))
    room.view_xview = floatlist8(K, (0, 0))
    room.view_yview = floatlist8(K, (room.room_height - H, 0))
    room.view_wview = floatlist8(K, (W, room.room_width))
    room.view_hview = floatlist8(K, (H, room.room_height))
    room.view_xport = floatlist8(K, (0, W - wport - 10))
    room.view_yport = floatlist8(K, (0, H - hport - 10))
    room.view_wport = floatlist8(K, (W, wport))
    room.view_hport = floatlist8(K, (H, hport))
    room.view_object = floatlist8(K, (1, -1))
    room.view_hborder = floatlist8(K, (W // 2, 0))
    room.view_vborder = floatlist8(K, (H // 2, 0))

    tiles = []
    for col in range(room.room_width // TILE):
        for row, tile_index in ((0, 0), (1, 1)):
            tiles.append((col * TILE, floor + row * TILE, tile_index))
    columns, lowest_row = room.room_width // TILE, floor // TILE - 4
    for _ in range(10 if lowest_row > 6 else 0):  # floating platforms where the room has space
        length = min(rng.randint(3, 8), columns - 1)
        x0 = rng.randrange(0, columns - length) * TILE
        y0 = rng.randrange(6, lowest_row) * TILE
        kind = rng.choice((2, 3))
        tiles += [(x0 + k * TILE, y0, kind) for k in range(length)]
    room.tiles = []
    for number, (x, y, kind) in enumerate(tiles):
        t = K.RoomTileData()
        t.x, t.y, t.background_idx = x, y, 2
        t.tilex, t.tiley, t.w, t.h = kind * TILE, 0, TILE, TILE
        t.id, t.layer_depth = 10000000 + number, 1000
        room.tiles.append(t)

    start_x, start_y = player_path(room, 0)
    placed = [(0, 0, 0, {}), (1, start_x, start_y, {"t": 0, "radius": 16, "image_speed": 0.25})]
    for _ in range(balls):
        s = rng.choice((0.6, 1.0, 1.4))
        placed.append((2, rng.uniform(40, room.room_width - 40), rng.uniform(40, floor - 40), {
            "hspeed": rng.uniform(-4, 4), "vspeed": rng.uniform(-4, 4), "spin": rng.uniform(-6, 6),
            "image_xscale": s, "image_yscale": s, "radius": 16 * s,
            "image_blend": rng.choice(PALETTE), "image_alpha": rng.choice((1.0, 1.0, 0.6))}))
    for _ in range(stars):
        placed.append((3, rng.uniform(40, room.room_width - 40), rng.uniform(40, floor - 40), {
            "hspeed": rng.uniform(-2, 2), "vspeed": rng.uniform(-2, 2), "spin": rng.uniform(-12, 12),
            "image_xscale": 1.2, "image_yscale": 0.8}))
    for k in range(gems):
        placed.append((4, rng.uniform(200, room.room_width - 64), rng.uniform(160, floor - 80),
                       {"number": k, "image_speed": 0.05, "radius": 12}))
    for k in range(torches):
        placed.append((5, (k + 0.5) * room.room_width / torches, floor - 20, {"t": k}))
    room.instances = placed
    return game, room
