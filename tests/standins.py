"""Small stand-ins for the runtime modules tam6 and tamapi.

korvel binds both modules by name when it is imported, so they are
registered once, before the import, and every test fills or resets the
same two module objects.
"""
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
