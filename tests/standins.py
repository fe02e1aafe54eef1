"""Small stand-ins for the runtime modules tam6 and tamapi.

korvel binds both modules by name when it is imported, so they are
registered once, before the import, and every test fills or resets the
same two module objects.
"""
import os
import subprocess
import sys
import types

import pygame


class Recorder:
    """A runtime callable that records its calls, runs an optional action on
    the arguments (as the runtime's loaders fill the resource they are given)
    and returns a fixed value."""

    def __init__(self, name, result=None, action=None):
        self.name = name
        self.result = result
        self.action = action
        self.calls = []

    def __call__(self, *args):
        self.calls.append(args)
        if self.action:
            self.action(*args)
        if isinstance(self.result, BaseException):
            raise self.result
        return self.result


class Game:
    def __init__(self):
        self.sprites = []
        self.backgrounds = []
        self.rooms = []
        self.objects = []


class DrawProps:
    def __init__(self):
        self.color = (255, 255, 255)
        self.alpha = 1.0


class ObjectInstanceBase:
    """The runtime's instance class (an instance-like type for InstanceList)."""

    def __init__(self, **attrs):
        self.__dict__.update(attrs)


class ObjectInstanceZero(ObjectInstanceBase):
    pass


class ParticleSystem:
    pass


ROOM_HANDLERS = (
    "Room_Compile", "Room_Create", "Room_InitializeBackgrounds", "Room_AddInstance",
    "Room_AddDrawnInstance", "Room_ResortDrawnObjects", "Room_SetBackgroundIndex",
    "Room_StepAlarms", "Room_MoveInstances", "Room_HandleCollisions", "Room_StepEvents",
    "Room_DrawBackgrounds", "Room_RenderBackground", "Room_Leave", "Room_MouseButtonDown",
    "Room_MouseButtonUp", "Room_HandleKeyrelease", "Room_HandleKeypress",
)


def modules():
    """The two runtime modules, registered in sys.modules on first use."""
    tam6 = sys.modules.setdefault("tam6", types.ModuleType("tam6"))
    tamapi = sys.modules.setdefault("tamapi", types.ModuleType("tamapi"))
    return tam6, tamapi


def reset():
    """Fill both modules with a fresh stand-in runtime and return them."""
    tam6, tamapi = modules()
    for module in (tam6, tamapi):
        # resources restored under non-string names are keys here too
        namespace = vars(module)
        for name in [n for n in namespace if not str(n).startswith("__")]:
            del namespace[name]
    tam6.game = Game()
    tam6.view_xscale = 1
    tam6.view_yscale = 1
    for name in ROOM_HANDLERS:
        setattr(tam6, name, Recorder(name))
    tam6.SpriteData_load_images = Recorder("SpriteData_load_images")
    tam6.BackgroundData_load_images = Recorder("BackgroundData_load_images")
    tamapi.game = tam6.game
    tamapi.fps = 0
    tamapi.room = None
    tamapi.self = None
    tamapi.py_self_stack = []
    tamapi.py_draw_props = DrawProps()
    tamapi.py_ParticleSystem = ParticleSystem
    tamapi.draw_sprite_ext = Recorder("draw_sprite_ext")
    tamapi.pygame = pygame
    setattr(tamapi, "__color_to_int", lambda c: c[0] | c[1] << 8 | c[2] << 16)
    return tam6, tamapi


class BackgroundDrawer(Recorder):
    """tam6.Room_DrawBackgrounds that draws: the surface filled with `fill`
    (unless None), then `rect` (room coordinates) in `color`, moved by the view position and
    scaled by tam6's view scale, as the runtime draws a background."""

    def __init__(self, fill=(0, 0, 40), rect=(0, 0, 0, 0), color=(200, 0, 0)):
        super().__init__("Room_DrawBackgrounds")
        self.fill, self.rect, self.color = fill, rect, color

    def __call__(self, room, surface, xview, yview):
        super().__call__(room, surface, xview, yview)
        tam6, _ = modules()
        sx, sy = tam6.view_xscale, tam6.view_yscale
        x, y, w, h = self.rect
        if self.fill is not None:
            surface.fill(self.fill)
        surface.fill(self.color, (int((x - xview) * sx), int((y - yview) * sy),
                                  int(w * sx), int(h * sy)))


class Instance(ObjectInstanceBase):
    """A drawn instance: Draw() records itself and fills a 2 by 2 square of
    `color` at (x, y) on `surface`. py_Draw starts unresolved (0)."""

    def __init__(self, log, name, surface=None, x=0, y=0, color=(0, 255, 0), **attrs):
        defaults = dict(py_Draw=0, sprite_index=0, image_index=0, image_xscale=1.0,
                        image_yscale=1.0, image_angle=0.0, image_blend=0xFFFFFF,
                        image_alpha=1.0)
        defaults.update(attrs)
        super().__init__(log=log, name=name, surface=surface, x=x, y=y, color=color,
                         **defaults)

    def Draw(self):
        self.log.append(self.name)
        if self.surface is not None:
            self.surface.fill(self.color, (self.x, self.y, 2, 2))
        return [self.name]  # a new object each time, as the runtime's may be

    def __repr__(self):
        return f"Instance({self.name})"


class ObjectRecord:
    """An object of the game: its instances, the objects that inherit from
    it, and its object data whose event 8 is the draw event."""

    def __init__(self, instances=(), children=(), draw_code=None, events=None):
        self.instances = list(instances)
        self.children = list(children)
        if events is None:
            events = [[] for _ in range(12)]
            if draw_code is not None:
                events[8] = [types.SimpleNamespace(python=draw_code)]  # the draw action
        self.py_objectdata = types.SimpleNamespace(events=events)


def draw_code(source):
    """Compiled draw code, as the runtime keeps it for an object."""
    return compile(source, "<draw event>", "exec")


class DrawnParticleSystem(ParticleSystem):
    """A particle system that records its draws with their view offsets."""

    def __init__(self, log, name, automatic=True):
        self.log, self.name, self.py_automatic_draw = log, name, automatic

    def py_RealDraw(self, xoff, yoff):
        self.log.append((self.name, xoff, yoff))


def register(instances=None):
    """Register the stand-in instance types (and `instances`) with korvel again,
    as the runtime does after replacing one of its callables."""
    import korvel
    korvel.RegisterInstancesDict({} if instances is None else instances, ObjectInstanceBase,
                                 ObjectInstanceZero, ParticleSystem)


def fl8(*values):
    """A korvel.Floatlist8 starting with `values`, zeros after them."""
    import korvel
    fl = korvel.Floatlist8()
    for k, x in enumerate(values):
        fl[k] = x
    return fl


def run_fresh(code):
    """What `code` prints in a fresh interpreter that has only registered the stand-in
    modules, before korvel is imported and anything is stored in it."""
    env = dict(os.environ, PYTHONPATH=os.pathsep.join(sys.path), SDL_VIDEODRIVER="dummy")
    return subprocess.run([sys.executable, "-c", "import standins; standins.modules()\n" + code],
                          env=env, capture_output=True, text=True,
                          cwd=os.path.dirname(__file__), check=True).stdout
