"""tam6: the demo's game runtime: the loaded game, its objects and instances,
the room event handlers and the frame step.

korvel binds this module by name when it is imported and calls back the
`Room_*` handlers and the image loaders below (RegisterInstancesDict looks
them up once), so it is imported before korvel. korvel writes `view_xscale`
and `view_yscale` while it draws a view.
"""
import pygame

import tamapi

K = None
game = None
screen = None
view_xscale = 1
view_yscale = 1
instances = {}  # instance number -> instance, where korvel resolves numbers


class Game:
    """The loaded game: resources in resource-number order."""

    def __init__(self):
        self.sprites = []
        self.backgrounds = []
        self.rooms = []
        self.objects = []
        self.particle_systems = []
        self.images = {}  # resource name -> function making its image(s)


class Action:
    def __init__(self, code):
        self.python = code


class ObjectData:
    """An object's events; korvel reads the draw event (index 8) for its code."""

    DRAW = 8

    def __init__(self, name, draw_code=None):
        self.events = [[] for _ in range(12)]
        if draw_code:
            self.events[self.DRAW] = [Action(compile(draw_code, f"<{name} draw>", "exec"))]


class GameObject:
    """An object definition: its events as Python callables, and its live instances."""

    def __init__(self, name, sprite=None, depth=0, draw_code=None, create=None, step=None,
                 alarm=None, collide=None, moves=False, instance_type=None):
        self.name = name
        self.sprite = sprite
        self.depth = depth
        self.create, self.step, self.alarm, self.collide = create, step, alarm, collide
        self.moves = moves
        self.instance_type = instance_type or ObjectInstance
        self.py_objectdata = ObjectData(name, draw_code)
        self.instances = []
        self.children = []


class ObjectInstance:
    """A live instance. korvel reads the image_* attributes to draw it, and
    caches its draw code (or 1 for automatic drawing) in py_Draw."""

    def __init__(self, obj, number, x, y):
        self.object_index = obj
        self.id = number
        self.x, self.y = float(x), float(y)
        self.hspeed = self.vspeed = 0.0
        self.spin = 0.0
        self.depth = obj.depth
        self.sprite_index = obj.sprite
        self.image_index = 0
        self.image_speed = 0.0
        self.image_xscale = self.image_yscale = 1.0
        self.image_angle = 0.0
        self.image_blend = 0xFFFFFF
        self.image_alpha = 1.0
        self.alarm = [-1] * 4
        self.radius = 12
        self.active = True
        self.py_Draw = 0

    def Draw(self):
        """Drawing without views: the draw code, else the sprite."""
        code = self.object_index.py_objectdata.events[ObjectData.DRAW]
        if code:
            tamapi.py_self_stack.append(tamapi.self)
            tamapi.self = self
            try:
                exec(code[0].python, tamapi.__dict__)
            finally:
                tamapi.self = tamapi.py_self_stack.pop()
        elif self.sprite_index is not None:
            tamapi.draw_sprite_ext(self.sprite_index, self.image_index, self.x, self.y,
                                   self.image_xscale, self.image_yscale, self.image_angle,
                                   self.image_blend, self.image_alpha)


class ObjectInstanceZero(ObjectInstance):
    """Instances of object 0 (the game controller)."""


def start(impl, surface, the_game):
    """Binds the runtime to korvel (or its stand-in) and the display."""
    global K, screen, game
    K = tamapi.K = impl
    screen = surface
    game = tamapi.game = the_game
    K.set_SDL_screen(surface)
    K.RegisterInstancesDict(instances, ObjectInstance, ObjectInstanceZero, tamapi.ParticleSystem)


def create_instance(obj, x, y, **attrs):
    number = 100000 + len(instances)
    inst = obj.instance_type(obj, number, x, y)
    inst.__dict__.update(attrs)
    instances[number] = inst
    obj.instances.append(inst)
    if obj.create:
        obj.create(inst)
    return inst


def destroy_instance(room, inst):
    """Takes an instance out of the running room (its number stays valid)."""
    inst.active = False
    room.drawn_objects.remove(inst)
    if inst.object_index.moves:
        room.moving_objects.remove(inst)


def frame(room):
    """One step of game logic, through the room's event methods."""
    room.StepAlarms()
    room.StepEvents()
    room.MoveInstances()
    room.HandleCollisions()


# ---- room event handlers (korvel's TamRoom methods forward here) -------------------

_LISTS = ("all_objects", "drawn_objects", "deactivated_objects", "keypressed_objects",
          "keyreleased_objects", "mouse_leftpressed_objects", "mouse_rightpressed_objects",
          "collisioned_objects", "stepped_objects", "moving_objects", "alarmed_objects",
          "animated_objects", "key_objects", "mouse_objects")


def Room_Compile(room):
    room.creation_code_compiled = compile(room.creation_code or "", f"<{room.name}>", "exec")


def Room_Create(room):
    tamapi.room = room
    for name in _LISTS:
        setattr(room, name, K.InstanceList())
    for obj_index, x, y, attrs in room.instances:
        room.AddInstance(create_instance(game.objects[obj_index], x, y, **attrs))
    for ps in game.particle_systems:
        room.AddDrawnInstance(ps)
    room.ResortDrawnObjects()
    room.InitializeBackgrounds()
    room.RenderBackground()
    exec(room.creation_code_compiled, tamapi.__dict__)
    room.created = 1


def Room_InitializeBackgrounds(room):
    for layer in range(8):
        if room.background_visible[layer]:
            bg = game.backgrounds[int(room.background_index[layer])]
            room.background_width[layer] = bg.w
            room.background_height[layer] = bg.h


def Room_AddInstance(room, inst):
    obj = inst.object_index
    room.all_objects.append(inst)
    for wanted, name in ((obj.step, "stepped_objects"), (obj.moves, "moving_objects"),
                         (obj.alarm, "alarmed_objects"), (obj.collide, "collisioned_objects")):
        if wanted:
            getattr(room, name).append(inst)
    room.AddDrawnInstance(inst)


def Room_AddDrawnInstance(room, inst):
    """Inserts by depth: deeper first, so that shallower instances draw on top."""
    drawn = room.drawn_objects
    pos = len(drawn)
    for i, other in enumerate(drawn):
        if other.depth < inst.depth:
            pos = i
            break
    drawn.insert(pos, inst)


def Room_ResortDrawnObjects(room):
    room.drawn_objects = K.InstanceList(sorted(room.drawn_objects, key=lambda o: -o.depth))


def Room_SetBackgroundIndex(room, layer, background):
    room.background_index[int(layer)] = int(background)
    room.InitializeBackgrounds()


def Room_StepAlarms(room):
    for inst in room.alarmed_objects:
        for k, left in enumerate(inst.alarm):
            if left > 0:
                inst.alarm[k] = left - 1
                if left == 1:
                    inst.alarm[k] = -1
                    inst.object_index.alarm(room, inst, k)


def Room_StepEvents(room):
    for inst in tuple(room.stepped_objects):
        inst.object_index.step(room, inst)
    for layer in range(8):
        room.background_x[layer] += room.background_hspeed[layer]
        room.background_y[layer] += room.background_vspeed[layer]


def Room_MoveInstances(room):
    """Moves, spins, animates, and bounces off the room's walls and floor."""
    floor = room.room_height - game.floor_height
    for inst in room.moving_objects:
        inst.x += inst.hspeed
        inst.y += inst.vspeed
        inst.image_angle = (inst.image_angle + inst.spin) % 360
        inst.image_index += inst.image_speed
        r = inst.radius
        if not r <= inst.x <= room.room_width - r:
            inst.hspeed = -inst.hspeed
            inst.x = min(max(inst.x, r), room.room_width - r)
        if not r <= inst.y <= floor - r:
            inst.vspeed = -inst.vspeed
            inst.y = min(max(inst.y, r), floor - r)


def Room_HandleCollisions(room):
    for inst in room.collisioned_objects:
        other_obj, handler = inst.object_index.collide
        for other in other_obj.instances:
            reach = inst.radius + other.radius
            if other.active and abs(other.x - inst.x) < reach and abs(other.y - inst.y) < reach:
                handler(room, inst, other)


def _layer_image(bg, xscale, yscale, alpha):
    """The background's image at this scale and alpha, from its scaled-data cache."""
    key = (round(bg.w * xscale), round(bg.h * yscale), alpha)
    image = bg.scaled_data_cache.get(key)
    if image is None:
        image = bg.surf
        if key[:2] != (bg.w, bg.h):
            image = K.scale(image, key[0] / bg.w, key[1] / bg.h)
        if alpha < 255:
            image = image.copy()
            image.set_alpha(alpha)
        bg.scaled_data_cache[key] = image
    return image


def _draw_layer(room, layer, surface, xoff, yoff):
    bg = game.backgrounds[int(room.background_index[layer])]
    image = _layer_image(bg, room.background_xscale[layer] * view_xscale,
                         room.background_yscale[layer] * view_yscale,
                         round(room.background_alpha[layer] * 255))
    iw, ih = image.get_size()
    x = round((room.background_x[layer] - xoff) * view_xscale)
    y = round((room.background_y[layer] - yoff) * view_yscale)
    w, h = surface.get_size()
    xs = range(x % iw - iw, w, iw) if room.background_htiled[layer] else (x,)
    ys = range(y % ih - ih, h, ih) if room.background_vtiled[layer] else (y,)
    for ty in ys:
        for tx in xs:
            surface.blit(image, (tx, ty))


def Room_DrawBackgrounds(room, surface, xoff, yoff):
    """The sky, the background layers and, in views, the tile layer.

    korvel calls this once per view with the view's position, on the screen
    or, for a scaled view, on a port surface of the port's size.
    """
    w, h = surface.get_size()
    if room.draw_bgcolor:
        surface.fill(game.horizon_color)
        K.fast_draw_gradient_v(surface, 0, 0, w, h, room.bgcolor, game.horizon_script_color, 255)
    for layer in range(8):
        if room.background_visible[layer]:
            _draw_layer(room, layer, surface, xoff, yoff)
    if room.view_enabled:
        tiles = room.cached_bg
        if (view_xscale, view_yscale) != (1, 1):
            size = (round(tiles.get_width() * view_xscale), round(tiles.get_height() * view_yscale))
            if room.cached_bg_scaled is None or room.cached_bg_scaled.get_size() != size:
                # per-pixel alpha, so that smoothing blends tile edges with nothing
                room.cached_bg_scaled = K.scale(tiles.convert_alpha(), view_xscale, view_yscale)
            tiles = room.cached_bg_scaled
        surface.blit(tiles, (round(-xoff * view_xscale), round(-yoff * view_yscale)))


def Room_RenderBackground(room):
    """Prerenders the tile layer once (views draw it from there every frame)."""
    layer = pygame.Surface((room.room_width, room.room_height), 0, screen)
    layer.fill(game.tile_colorkey)
    layer.set_colorkey(game.tile_colorkey)
    for tile in room.tiles:
        bg = game.backgrounds[tile.background_idx]
        layer.blit(bg.surf, (tile.x, tile.y), (tile.tilex, tile.tiley, tile.w, tile.h))
    room.cached_bg = layer
    room.cached_bg_scaled = None


def Room_Leave(room):
    for name in _LISTS:
        setattr(room, name, K.InstanceList())
    room.created = 0


def _mouse_to_room(room, pos):
    return pos[0] + room.view_xview[0], pos[1] + room.view_yview[0]


def Room_MouseButtonDown(room, event):
    x, y = _mouse_to_room(room, event.pos)
    game.sparks.burst(game.part_burst, x, y, 40)


def Room_MouseButtonUp(room, event):
    pass


def Room_HandleKeypress(room, event):
    tamapi.keys_down.add(event.key)


def Room_HandleKeyrelease(room, event):
    tamapi.keys_down.discard(event.key)


# ---- resource loaders (called when pickled game data is restored) -------------------

def SpriteData_load_images(sprite, name, count):
    sprite.subimages.extend(game.images[name]()[:count])


def BackgroundData_load_images(background):
    background.surf = game.images[background.name]()
    background.w, background.h = background.surf.get_size()
