# Small stand-ins for the runtime modules tam6 and tamapi. korvel binds both modules by name
# when it is imported, so they are registered once, before the import, and every test fills or
# resets the same two module objects.
import os
import subprocess
import sys
import types

import pygame


class Recorder:
    # A runtime callable: records its calls, runs `action` on the arguments (as the runtime's
    # loaders fill the resource they are given), then returns `result` or raises it.
    def __init__(self, name, result=None, action=None):
        self.name, self.result, self.action, self.calls = name, result, action, []

    def __call__(self, *args):
        self.calls.append(args)
        if self.action:
            self.action(*args)
        if isinstance(self.result, BaseException):
            raise self.result
        return self.result


class Game:
    def __init__(self):
        self.sprites, self.backgrounds, self.rooms, self.objects = [], [], [], []


class ObjectInstanceBase:
    # The runtime's instance class (an instance-like type for InstanceList).
    def __init__(self, **attrs):
        self.__dict__.update(attrs)


class ObjectInstanceZero(ObjectInstanceBase):
    pass


class ParticleSystem:
    pass


ROOM_HANDLERS = tuple("Room_" + n for n in """Compile Create InitializeBackgrounds AddInstance AddDrawnInstance
    ResortDrawnObjects SetBackgroundIndex StepAlarms MoveInstances HandleCollisions StepEvents DrawBackgrounds
    RenderBackground Leave MouseButtonDown MouseButtonUp HandleKeyrelease HandleKeypress""".split())
HANDLERS = ROOM_HANDLERS + ("SpriteData_load_images", "BackgroundData_load_images")


def modules():
    # The two runtime modules, registered in sys.modules on first use.
    return tuple(sys.modules.setdefault(name, types.ModuleType(name)) for name in ("tam6", "tamapi"))


def reset():
    # Fills both modules with a fresh stand-in runtime and returns them.
    tam6, tamapi = modules()
    for namespace in (vars(tam6), vars(tamapi)):
        # resources restored under non-string names are keys here too
        for name in [n for n in namespace if not str(n).startswith("__")]:
            del namespace[name]
    tam6.game = tamapi.game = Game()
    tam6.view_xscale = tam6.view_yscale = 1
    for name in HANDLERS:
        setattr(tam6, name, Recorder(name))
    tamapi.fps, tamapi.room, tamapi.self, tamapi.py_self_stack = 0, None, None, []
    tamapi.py_draw_props = types.SimpleNamespace(color=(255, 255, 255), alpha=1.0)
    tamapi.py_ParticleSystem, tamapi.pygame = ParticleSystem, pygame
    tamapi.draw_sprite_ext = Recorder("draw_sprite_ext")
    setattr(tamapi, "__color_to_int", lambda c: c[0] | c[1] << 8 | c[2] << 16)
    return tam6, tamapi


class ObjectRecord:
    # An object of the game: its instances, the objects that inherit from it, and its object
    # data, whose event 8 is the draw event.
    def __init__(self, instances=(), children=(), draw_code=None, events=None):
        self.instances, self.children = list(instances), list(children)
        if events is None:
            events = [[] for _ in range(12)]
            if draw_code is not None:
                events[8] = [types.SimpleNamespace(python=draw_code)]  # the draw action
        self.py_objectdata = types.SimpleNamespace(events=events)


def draw_code(source):
    # Compiled draw code, as the runtime keeps it for an object.
    return compile(source, "<draw event>", "exec")


def register(instances=None):
    # Registers the stand-in instance types (and `instances`) with korvel again, as the runtime
    # does after replacing one of its callables.
    import korvel
    korvel.RegisterInstancesDict({} if instances is None else instances, ObjectInstanceBase,
                                 ObjectInstanceZero, ParticleSystem)


def fl8(*values):
    # A korvel.Floatlist8 starting with `values`, zeros after them.
    import korvel
    fl = korvel.Floatlist8()
    for k, x in enumerate(values):
        fl[k] = x
    return fl


def run_fresh(code):
    # What `code` prints in a fresh interpreter that has only registered the stand-in modules,
    # before korvel is imported and anything is stored in it.
    env = dict(os.environ, PYTHONPATH=os.pathsep.join(sys.path), SDL_VIDEODRIVER="dummy")
    return subprocess.run([sys.executable, "-c", "import standins; standins.modules()\n" + code],
                          env=env, capture_output=True, text=True,
                          cwd=os.path.dirname(__file__), check=True).stdout
