"""The part of korvel's API that the demo runtime uses, in plain Python and pygame.

`--pure-python` runs the demo on this module instead of korvel, so the same
scene can be timed without native code; the benchmarks use it as their
baseline. It does the same work the way a pygame programmer would write it
(pygame blits, fills and transforms, Python loops), not bit for bit: colours
may differ by a step of rounding, and nothing here guards against bad input.
"""
import math
import random
import sys
import time

import pygame

_screen = None
_hook = {}
_fps = {"second": -1, "count": 0}


def set_SDL_screen(screen):
    global _screen
    _screen = screen


def init_subsystems(*_):
    pygame.display.init()


def RegisterInstancesDict(instances, base_type, zero_type, particlesystem_type):
    tam6, tamapi = sys.modules["tam6"], sys.modules["tamapi"]
    _hook.update(instances=instances, tam6=tam6, tamapi=tamapi,
                 instance_types=(base_type, zero_type, particlesystem_type),
                 particle_system=tamapi.py_ParticleSystem)


# ---- script values ---------------------------------------------------------

class TamVar:
    """A script variable: element 0 is the value, [i] and [i, j] index an array."""

    def __init__(self, value):
        self._items = {(0, 0): value._items[0, 0] if isinstance(value, TamVar) else value}

    @staticmethod
    def _key(key):
        return (key, 0) if isinstance(key, int) else (key[0], key[1])

    def __getitem__(self, key):
        return self._items.get(self._key(key), 0)

    def __setitem__(self, key, value):
        self._items[self._key(key)] = value._items[0, 0] if isinstance(value, TamVar) else value

    def __iadd__(self, other):
        self._items[0, 0] = self._items[0, 0] + _plain(other)
        return self

    def __int__(self):
        return int(self._items[0, 0])

    def __float__(self):
        return float(self._items[0, 0])

    def __str__(self):
        return str(self._items[0, 0])

    def __bool__(self):
        return bool(self._items[0, 0])


def _plain(v):
    return v._items[0, 0] if isinstance(v, TamVar) else v


def _binary(op):
    return lambda a, b: op(_plain(a), _plain(b))


for _name, _op in [("add", lambda a, b: a + b), ("sub", lambda a, b: a - b),
                   ("mul", lambda a, b: float(a) * float(b)), ("mod", lambda a, b: a % b),
                   ("lt", lambda a, b: a < b), ("le", lambda a, b: a <= b),
                   ("gt", lambda a, b: a > b), ("ge", lambda a, b: a >= b),
                   ("eq", lambda a, b: a == b), ("ne", lambda a, b: a != b)]:
    setattr(TamVar, f"__{_name}__", _binary(_op))
    if _name in ("add", "sub", "mul", "mod"):
        setattr(TamVar, f"__r{_name}__", _binary(lambda a, b, op=_op: op(b, a)))
TamVar.__hash__ = lambda self: hash(self._items[0, 0])


class Floatlist8(list):
    """Eight floats, one per view or background slot."""

    def __init__(self, values=()):
        values = [float(v) for v in values]
        super().__init__(values + [0.0] * (8 - len(values)))


class InstanceList(list):
    """Instances of the running room; removal is by identity."""

    def remove(self, inst):
        for i, item in enumerate(self):
            if item is inst:
                del self[i]
                return
        raise ValueError("instance not in list")


class Beancounter:
    def __init__(self):
        self.count = 0

    def __int__(self):
        return self.count


# ---- resources ---------------------------------------------------------------

class TamSprite:
    def __init__(self):
        self.w = self.h = self.xorigin = self.yorigin = 0
        self.leftbound = self.rightbound = self.topbound = self.bottombound = 0
        self.name = None
        self.subimages = []
        self.scalecache = {}


def TamSprite_from_surface(surface, name=None):
    s = TamSprite()
    s.name = name
    s.w = s.rightbound = surface.get_width()
    s.h = s.bottombound = surface.get_height()
    s.subimages.append(surface.convert(_screen))
    return s


class BackgroundData:
    def __init__(self):
        self.name = None
        self.surf = None
        self.scaled_data_cache = {}
        self.w = self.h = self.transparent = 0


class RoomTileData:
    def __init__(self):
        self.x = self.y = self.background_idx = self.tilex = self.tiley = 0
        self.w = self.h = self.layer_depth = self.id = self.locked = 0


_ROOM_EVENTS = ("Compile", "Create", "InitializeBackgrounds", "AddInstance", "AddDrawnInstance",
                "ResortDrawnObjects", "SetBackgroundIndex", "StepAlarms", "MoveInstances",
                "HandleCollisions", "StepEvents", "DrawBackgrounds", "RenderBackground", "Leave",
                "MouseButtonDown", "MouseButtonUp", "HandleKeyrelease", "HandleKeypress")


class TamRoom:
    """The room record; its event methods forward to tam6's Room_* handlers."""

    def __init__(self):
        self.view_current = 0
        self.tiles = []


def _forward(event):
    def method(self, *args):
        return getattr(_hook["tam6"], "Room_" + event)(self, *args)
    return method


for _event in _ROOM_EVENTS:
    setattr(TamRoom, _event, _forward(_event))


# ---- drawing primitives ----------------------------------------------------------

def _overlay(surface, rect, rgb, alpha):
    """Blend a solid colour over rect, the pygame way: a surface with surface alpha."""
    rect = pygame.Rect(rect).clip(surface.get_rect())
    if rect.w <= 0 or rect.h <= 0:
        return
    layer = pygame.Surface(rect.size)
    layer.fill(rgb)
    layer.set_alpha(alpha)
    surface.blit(layer, rect.topleft)


def fill_translucent(surface, x1, y1, x2, y2, color, alpha):
    _overlay(surface, (x1, y1, x2 - x1, y2 - y1 + 1), surface.unmap_rgb(color)[:3], alpha & 0xFF)


def _script_rgb(c):
    return c & 0xFF, (c >> 8) & 0xFF, (c >> 16) & 0xFF


def fast_draw_gradient_v(surface, x1, y1, x2, y2, col_t, col_b, alpha):
    if x2 <= x1 or y2 <= y1:
        return
    top, bottom = _script_rgb(col_t), _script_rgb(col_b)
    n = y2 - y1
    rows = [[round(a * (1 - k / n) + b * k / n) for a, b in zip(top, bottom)] for k in range(n)]
    alpha &= 0xFF
    if alpha == 255:
        for k, rgb in enumerate(rows):
            surface.fill(rgb, (x1, y1 + k, x2 - x1, 1))
        return
    strip = pygame.Surface((1, n))
    for k, rgb in enumerate(rows):
        strip.set_at((0, k), rgb)
    band = pygame.transform.scale(strip, (x2 - x1, n))
    band.set_alpha(alpha)
    surface.blit(band, (x1, y1))


def draw_rectangle(x1, y1, x2, y2, outline=0.0):
    tamapi = _hook["tamapi"]
    room = tamapi.room
    v = room.view_current
    sx, sy = _hook["tam6"].view_xscale, _hook["tam6"].view_yscale
    x1 = round((x1 - room.view_xview[v]) * sx) + room.view_xport[v]
    x2 = round((x2 - room.view_xview[v]) * sx) + room.view_xport[v]
    y1 = round((y1 - room.view_yview[v]) * sy) + room.view_yport[v]
    y2 = round((y2 - room.view_yview[v]) * sy) + room.view_yport[v]
    props = tamapi.py_draw_props
    rect = (x1, y1, x2 - x1, y2 - y1)
    if props.alpha == 1.0:
        if abs(outline) < 0.5:
            _screen.fill(props.color, rect)
        else:
            pygame.draw.rect(_screen, props.color, rect, 1)
    else:
        _overlay(_screen, (int(x1), int(y1), int(x2 - x1), int(y2 - y1) + 1), props.color[:3],
                 int(max(props.alpha * 255.0, 0.0)) & 0xFF)


# ---- surface transforms ----------------------------------------------------------

def flip_h(surface):
    return pygame.transform.flip(surface, True, False)


def scale(surface, xscale, yscale):
    return pygame.transform.smoothscale(
        surface, (int(surface.get_width() * xscale), int(surface.get_height() * yscale)))


def rotoscale(surface, xscale, yscale, clockwise):
    if xscale != yscale:
        surface = scale(surface, xscale / yscale, 1.0)
    return pygame.transform.rotozoom(surface, int(clockwise), yscale)


# ---- particles ---------------------------------------------------------------------

class _ParticleType:
    def __init__(self):
        self.shape = None
        self.blend = 0
        self.size_min = self.size_max = 1.0
        self.size_incr = self.size_wiggle = 0.0
        self.size_xscale = self.size_yscale = 1.0
        self.colors = (0xFFFFFF,) * 3
        self.alphas = (1.0, 1.0, 1.0)
        self.speed = (0.0, 0.0)
        self.direction = (0.0, 0.0)
        self.life = (30, 30)
        self.orientation = (0.0, 0.0, 0.0, 0.0)
        self.cache = {}


def part_type_create(*_):
    return _ParticleType()


def _unwrapping(setter):
    """Particle types may come in a script variable, like korvel's handles."""
    def call(pt, *args):
        return setter(_plain(pt), *args)
    call.__name__ = setter.__name__
    return call


@_unwrapping
def part_type_shape(pt, shape):
    pt.shape = shape


@_unwrapping
def part_type_blend(pt, blend):
    pt.blend = int(blend)


@_unwrapping
def part_type_size(pt, lo, hi, incr, wiggle):
    pt.size_min, pt.size_max = lo, hi
    pt.size_incr, pt.size_wiggle = (hi - lo) * incr, (hi - lo) * wiggle


@_unwrapping
def part_type_scale(pt, xscale, yscale):
    pt.size_xscale, pt.size_yscale = xscale, yscale


@_unwrapping
def part_type_speed(pt, lo, hi, incr, wiggle):
    pt.speed = (lo, hi)


@_unwrapping
def part_type_direction(pt, lo, hi, incr, wiggle):
    pt.direction = (lo, hi)


@_unwrapping
def part_type_life(pt, lo, hi):
    pt.life = (int(lo), int(hi))


@_unwrapping
def part_type_orientation(pt, lo, hi, incr, wiggle, relative):
    pt.orientation = (lo, hi, incr, wiggle)


@_unwrapping
def part_type_color3(pt, start, half, end):
    pt.colors = (start, half, end)


@_unwrapping
def part_type_alpha3(pt, start, half, end):
    pt.alphas = (start, half, end)


@_unwrapping
def part_type_alpha2(pt, start, end):
    pt.alphas = (start, (start + end) * 0.5, end)


class _Particle:
    __slots__ = ("type", "x", "y", "xvel", "yvel", "size", "ttl", "lifespan", "angle",
                 "counter")


@_unwrapping
def CParticle_new(pt, x, y):
    p = _Particle()
    p.type, p.x, p.y, p.counter = pt, x, y, None
    r = random.random
    direction = math.radians(pt.direction[0] + (pt.direction[1] - pt.direction[0]) * r()) + math.pi / 2
    speed = pt.speed[0] + (pt.speed[1] - pt.speed[0]) * r()
    p.xvel, p.yvel = speed * math.cos(direction), speed * math.sin(direction)
    p.size = pt.size_min + (pt.size_max - pt.size_min) * r()
    p.ttl = int(pt.life[0] + (pt.life[1] - pt.life[0]) * r())
    p.lifespan = float(p.ttl)
    lo, hi = pt.orientation[:2]
    p.angle = lo + (hi - lo) * r()
    return p


def CParticle_attach_beancounter(p, counter):
    if p.counter is not None:
        p.counter.count -= 1
    counter.count += 1
    p.counter = counter


def _step(p):
    pt = p.type
    p.ttl -= 1
    p.x += p.xvel
    p.y += p.yvel
    lo, hi, incr, wiggle = pt.orientation
    if wiggle:
        p.angle += random.uniform(-wiggle, wiggle)
    if incr:
        p.angle = (p.angle + incr) % 360.0
    p.angle = min(max(p.angle, lo), hi)
    if pt.size_wiggle or pt.size_incr:
        p.size += random.uniform(-pt.size_wiggle, pt.size_wiggle) + pt.size_incr
        p.size = min(max(p.size, pt.size_min), pt.size_max)
    if p.ttl <= 0 and p.counter is not None:
        p.counter.count -= 1
        p.counter = None
    return p.ttl


def _mix(c1, c2, e):
    return tuple(int(((c1 >> s) & 0xFF) * e + ((c2 >> s) & 0xFF) * (1 - e)) for s in (0, 8, 16))


def _particle_image(pt, w, h, tint, alpha, angle):
    key = (w, h, tint, alpha, angle)
    image = pt.cache.get(key)
    if image is None:
        if len(pt.cache) > 100:
            pt.cache.clear()
        image = pygame.transform.scale(pt.shape, (w, h))
        # korvel tints by subtraction: white becomes the tint, darker pixels
        # darker still; an additive image is faded the same way.
        if tint != (255, 255, 255):
            image.fill([255 - c for c in tint], special_flags=pygame.BLEND_RGB_SUB)
        if alpha < 255:
            if pt.blend:
                image.fill((255 - alpha,) * 3, special_flags=pygame.BLEND_RGB_SUB)
            else:
                image.fill((255, 255, 255, alpha), special_flags=pygame.BLEND_RGBA_MULT)
        if angle:
            image = pygame.transform.rotate(image, angle)
        pt.cache[key] = image
    return image


def CParticle_dec_ttl_and_render(p, xoff, yoff):
    ttl = _step(p)
    if ttl <= 0:
        return ttl
    pt = p.type
    pos = p.ttl / p.lifespan
    c, a = pt.colors, pt.alphas
    if pos > 0.5:
        e = (pos - 0.5) * 2
        tint, alpha = _mix(c[0], c[1], e), a[0] * e + a[1] * (1 - e)
    else:
        e = pos * 2
        tint, alpha = _mix(c[1], c[2], e), a[1] * e + a[2] * (1 - e)
    w = int(pt.shape.get_width() * p.size * pt.size_xscale)
    h = int(pt.shape.get_height() * p.size * pt.size_yscale)
    if w <= 0 or h <= 0:
        return ttl
    image = _particle_image(pt, w, h, tint, min(255, int(alpha * 255)), int(p.angle) & 0xFF0)
    iw, ih = image.get_size()
    flags = pygame.BLEND_RGB_ADD if pt.blend else 0
    _screen.blit(image, (int(xoff + p.x) - iw // 2, int(yoff + p.y) - ih // 2), special_flags=flags)
    return ttl


# ---- room drawing -------------------------------------------------------------------

def _first_instance(obj):
    if obj.instances:
        return obj.instances[0]
    for child in obj.children:
        found = _first_instance(child)
        if found is not None:
            return found
    return None


def _run_draw_code(tamapi, inst, code):
    tamapi.py_self_stack.append(tamapi.self)
    tamapi.self = inst
    try:
        exec(code, tamapi.__dict__)
    finally:
        tamapi.self = tamapi.py_self_stack.pop()


def _draw_instance(tamapi, inst):
    d = inst.py_Draw
    if isinstance(d, int) and d == 0:
        events = inst.object_index.py_objectdata.events
        draw = events[8] if len(events) > 8 else []
        if draw:
            inst.py_Draw = draw[0].python
            _run_draw_code(tamapi, inst, inst.py_Draw)
        else:
            inst.py_Draw = 1
    elif isinstance(d, int):
        tamapi.draw_sprite_ext(inst.sprite_index, inst.image_index, inst.x, inst.y,
                               inst.image_xscale, inst.image_yscale, inst.image_angle,
                               inst.image_blend, inst.image_alpha)
    else:
        _run_draw_code(tamapi, inst, d)


def _draw_view(room, surface, v, drawn):
    tam6, tamapi = _hook["tam6"], _hook["tamapi"]
    vx, vy = room.view_xview[v], room.view_yview[v]
    fo = int(room.view_object[v])
    if fo >= 0:
        inst = _first_instance(tam6.game.objects[fo])
        if inst is not None:
            vx = float(inst.x) - room.view_hborder[v]
            vy = float(inst.y) - room.view_vborder[v]
            vx = 0 if vx < 0 else min(vx, room.room_width - room.view_wview[v])
            vy = 0 if vy < 0 else min(vy, room.room_height - room.view_hview[v])
            room.view_xview[v], room.view_yview[v] = vx, vy
    room.view_current = v
    port = (room.view_xport[v], room.view_yport[v])
    if port == (0, 0) and surface.get_size() == (room.view_wview[v], room.view_hview[v]):
        tam6.view_xscale = tam6.view_yscale = 1
        tam6.Room_DrawBackgrounds(room, surface, float(vx), float(vy))
    else:
        tam6.view_xscale = room.view_wport[v] / room.view_wview[v]
        tam6.view_yscale = room.view_hport[v] / room.view_hview[v]
        portsurf = pygame.Surface((int(room.view_wport[v]), int(room.view_hport[v])), 0, surface)
        tam6.Room_DrawBackgrounds(room, portsurf, float(vx), float(vy))
        surface.blit(portsurf, (int(port[0]), int(port[1])))
    for o in drawn:
        if isinstance(o, _hook["particle_system"]):
            if v == 0 and o.py_automatic_draw:
                o.py_RealDraw(-int(vx), -int(vy))
        else:
            _draw_instance(tamapi, o)


def Room_Draw(room, surface):
    tamapi = _hook["tamapi"]
    now = int(time.time())
    if now != _fps["second"]:
        tamapi.fps = _fps["count"]
        _fps.update(second=now, count=0)
    _fps["count"] += 1
    drawn = tuple(room.drawn_objects)
    if room.view_enabled:
        for v in range(8):
            if room.view_visible[v]:
                _draw_view(room, surface, v, drawn)
        return
    room.DrawBackgrounds(surface, 0, 0)
    backgrounds = tamapi.game.backgrounds
    for tile in room.tiles:
        surface.blit(backgrounds[tile.background_idx].surf, (tile.x, tile.y),
                     (tile.tilex, tile.tiley, tile.w, tile.h))
    room.view_current = 0
    for inst in drawn:
        inst.Draw()
