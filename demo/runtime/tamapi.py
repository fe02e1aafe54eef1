"""tamapi: the scripting interface of the demo runtime.

Game scripts (the objects' draw code) run with this module's namespace as
their globals and the current instance in `self`. korvel reads and calls the
names it needs by name: `fps`, `room`, `game`, `__color_to_int`,
`draw_sprite_ext`, `py_ParticleSystem`, `py_draw_props`, `py_self_stack`,
`pygame`. tam6.start() fills in `K` (korvel, or its plain-Python stand-in).
"""
import pygame

import tam6

K = None
fps = 0
room = None
game = None
self = None
py_self_stack = []
keys_down = set()

c_white = (255, 255, 255)
c_black = (0, 0, 0)
c_gold = (255, 200, 40)
c_panel = (20, 24, 40)
c_sky = (90, 170, 255)


class DrawProps:
    """The draw colour (an RGB tuple) and alpha (0.0 to 1.0) that draw_rectangle uses."""

    def __init__(self):
        self.color = c_white
        self.alpha = 1.0


py_draw_props = DrawProps()


def __color_to_int(color):
    # korvel mixes this word straight into screen pixels: map it in the screen's format.
    return tam6.screen.map_rgb(color) & 0xFFFFFF


def draw_set_color(color):
    py_draw_props.color = color


def draw_set_alpha(alpha):
    py_draw_props.alpha = float(alpha)


def draw_rectangle(x1, y1, x2, y2, outline=0):
    K.draw_rectangle(x1, y1, x2, y2, outline)


def _to_screen(x, y):
    """Room coordinates to screen pixels in the view being drawn (as draw_rectangle maps them)."""
    v = room.view_current
    return ((x - room.view_xview[v]) * tam6.view_xscale + room.view_xport[v],
            (y - room.view_yview[v]) * tam6.view_yscale + room.view_yport[v])


_font = None
_texts = {}


def draw_text(x, y, text):
    global _font
    if _font is None:
        pygame.font.init()
        _font = pygame.font.Font(None, 22)
    image = _texts.get(text)
    if image is None:
        if len(_texts) > 200:
            _texts.clear()
        image = _texts[text] = _font.render(text, True, py_draw_props.color)
    sx, sy = _to_screen(x, y)
    tam6.screen.blit(image, (int(sx), int(sy)))


def _sprite_image(spr, i, w, h, angle, blend, alpha):
    """A subimage flipped, scaled, rotated, tinted and faded; None when it has no area."""
    image = spr.subimages[i]
    if w < 0:
        image, w = K.flip_h(image), -w
    if w == 0 or h == 0:
        return None
    sw, sh = image.get_size()
    if angle:
        image = K.rotoscale(image, w / sw, h / sh, angle)
    elif (w, h) != (sw, sh):
        image = K.scale(image, w / sw, h / sh)
    if blend != 0xFFFFFF or alpha < 255:
        if image is spr.subimages[i]:
            image = image.copy()
        if blend != 0xFFFFFF:
            tint = (blend & 0xFF, (blend >> 8) & 0xFF, (blend >> 16) & 0xFF, 255)
            image.fill(tint, special_flags=pygame.BLEND_RGBA_MULT)
        if alpha < 255:
            image.set_alpha(alpha)
    return image


def draw_sprite_ext(sprite, subimg, x, y, xscale, yscale, rot, blend, alpha):
    """Draws a sprite frame centred on (x, y), through the sprite's scale cache.

    korvel calls this for every instance without draw code. The angle is
    kept in 10-degree steps and the alpha in 16 levels, so that a few hundred
    instances share a bounded set of cached images.
    """
    spr = game.sprites[int(sprite)] if isinstance(sprite, (int, float)) else sprite
    i = int(subimg) % len(spr.subimages)
    w = round(spr.w * xscale * tam6.view_xscale)
    h = round(spr.h * yscale * tam6.view_yscale)
    angle = int(rot) // 10 * 10 % 360
    a = min(255, round(alpha * 15) * 17)
    blend = int(blend) & 0xFFFFFF
    key = (i, w, h, angle, blend, a)
    image = spr.scalecache.get(key)
    if image is None:
        image = spr.scalecache[key] = _sprite_image(spr, i, w, h, angle, blend, a)
    if image is not None:
        sx, sy = _to_screen(x, y) if room.view_enabled else (x, y)
        tam6.screen.blit(image, (int(sx) - image.get_width() // 2, int(sy) - image.get_height() // 2))


class ParticleSystem:
    """A list of live particles, stepped and drawn by korvel in view 0."""

    py_automatic_draw = True

    def __init__(self, name, depth):
        self.name = name
        self.depth = depth
        self.particles = []
        self.counter = K.Beancounter()

    def burst(self, ptype, x, y, n):
        for _ in range(n):
            p = K.CParticle_new(ptype, x, y)
            K.CParticle_attach_beancounter(p, self.counter)
            self.particles.append(p)

    def py_RealDraw(self, xoff, yoff):
        render = K.CParticle_dec_ttl_and_render
        self.particles = [p for p in self.particles if render(p, xoff, yoff) > 0]

    def Draw(self):
        self.py_RealDraw(0, 0)


py_ParticleSystem = ParticleSystem


def particle_count():
    return sum(int(ps.counter) for ps in game.particle_systems)
