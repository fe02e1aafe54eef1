"""Reference counts and memory: calls leave counts as they were, stored objects hold one
reference, cycles through korvel objects are collected, churning objects does not grow memory."""
import gc
import pickle
import sys
import weakref

import pygame
import pytest

import korvel
import nativeapi as na
import standins
from pixelmodel import allocation_growth, particle_type, shape
from test_refusals import room_with_views


# Each case sets up objects and returns the ones to watch and the calls to make;
# a bare object() is a value whose count nothing else touches.
def numbers(runtime, screen):
    a, b, other, state = 10**20, "stored-%d" % 7, 10.0**10, tuple(map(float, range(8)))
    inst, il = standins.ObjectInstanceBase(), korvel.InstanceList()
    standins.register({7: inst, a: inst})

    def use():
        v = korvel.TamVar(a)
        v[1], v[3, 2] = b, a
        v[1, 1], v[3, 2]
        v[5], v[1], w = korvel.TamVar(b), a, korvel.TamVar(v)
        v + 1, 1 - v, v * 2, v / 3, v % 7, -v, abs(v), int(v), float(v), hash(v)
        str(v), bool(v), v < 1, v == w, v != b, len(v)
        v += 1
        korvel.TamVar.__init__(v, b)  # a second init releases what it held
        fl = korvel.Floatlist8()
        fl + other, other * fl, fl < other, fl > fl, fl.__setstate__(state), fl.__reduce__()
        fl -= other
        fl[1] = other
        il.append(7), il.insert(0, a), il.append(korvel.TamVar(inst))
        il[0] = inst
        il.__setitem__(1, 7)  # the resolving slot; il[1] = 7 stores 7 as is
        for _ in range(3):
            il.remove(7)
        il.__setstate__((inst,)), il.__reduce__(), il.clear()
    return [a, b, other, state, inst], use


def particles(runtime, screen):
    pt, first, second = korvel.part_type_create(), korvel.Beancounter(), korvel.Beancounter()
    sprite, surface, s = object(), pygame.Surface((2, 2), 0, 32), shape(3, 3, seed=1, alpha=0x80)
    kinds = [particle_type(s, alpha3=(1.0, 0.5, 0.1), color3=(0xFF, 0xFF00, 0xFF0000),
                           life=(10, 10)), particle_type(s, scale=(2, 2), alpha3=(0.5,) * 3),
             particle_type(s, blend=(1,))]

    def use():
        pytest.raises(TypeError, korvel.part_type_sprite, 5, sprite, 0.0, 0.0, 0.0)
        korvel.part_type_sprite(pt, sprite, 0.0, 0.0, 0.0)
        korvel.part_type_shape(pt, surface)
        korvel.part_type_sprite(pt, sprite, 1.0, 1.0, 0.0)
        ps = [korvel.CParticle_new(pt, 0.0, 0.0) for _ in range(5)]  # each moved to a second counter
        for p in ps:
            korvel.CParticle_attach_beancounter(p, first)
            korvel.CParticle_attach_beancounter(p, second)
        for t in kinds:
            p = korvel.CParticle_new(t, 10.0, 10.0)
            while korvel.CParticle_dec_ttl_and_render(p, 1, 1) > 25:
                pass
    return [pt, first, second, sprite, surface, s, screen, *kinds], use


def drawing_and_helpers(runtime, screen):
    tam6, tamapi = runtime
    room, result, arg, color = room_with_views(), object(), object(), (10, 20, 30)
    tam6.Room_AddInstance.result = tam6.Room_StepEvents.result = result
    tamapi.room, tamapi.py_draw_props.color = room, color
    value, grand = object(), object()
    tree = standins.ObjectRecord(children=[standins.ObjectRecord([grand])])
    room.creation_code = value  # packed by the room's reduce

    def use():
        room.AddInstance(arg, arg)
        room.DrawBackgrounds(arg, 1, 2)
        room.StepEvents()
        for name in standins.ROOM_HANDLERS:
            getattr(tam6, name).calls.clear()
        for alpha, outline in [(1.0, 0.0), (1.0, 1.0), (0.5, 0.0)]:
            tamapi.py_draw_props.alpha = alpha
            korvel.draw_rectangle(1.0, 2.0, 9.0, 7.0, outline)
        korvel.TamSprite_from_surface(screen)
        room.__reduce__()
        na.PushSelf(value)
        na.PopSelf()
        assert na.GetFirstInstance(tree) is grand
    return [room, result, arg, color, screen, value, grand], use


def stores(runtime, screen):
    objects = [screen, pygame.Surface((4, 4), 0, 32), {}, *(type(n, (), {}) for n in "ABC")]

    def use():  # the screen and the registry hold one reference each; a bad call changes nothing
        before = [sys.getrefcount(o) for o in objects]
        korvel.set_SDL_screen(objects[1])
        korvel.RegisterInstancesDict(*objects[2:])
        pytest.raises(TypeError, korvel.RegisterInstancesDict, [], *objects[3:])  # not a dict
        assert [sys.getrefcount(o) for o in objects] == [
            before[0] - 1, before[1] + 1, *(n + 1 for n in before[2:])]
        korvel.set_SDL_screen(screen)
        standins.register()
    return objects, use


@pytest.mark.parametrize("case", [numbers, particles, drawing_and_helpers, stores],
                         ids=lambda c: c.__name__)
def test_calls_leave_every_count_as_it_was(runtime, screen, case):
    watched, use = case(runtime, screen)
    use()  # caches fill on the first use
    before = [sys.getrefcount(o) for o in watched]
    use()
    gc.collect()
    assert [sys.getrefcount(o) for o in watched] == before


@pytest.mark.parametrize("cls", [korvel.TamVar, korvel.InstanceList, korvel.TamSprite,
                                 korvel.BackgroundData, korvel.TamRoom])
def test_cycles_through_every_field_are_collected(runtime, cls):
    obj, canary = cls(0) if cls is korvel.TamVar else cls(), standins.ObjectInstanceBase()
    alive = weakref.ref(canary)
    if cls is korvel.TamVar:
        obj[2, 3] = [obj, canary]
    elif cls is korvel.InstanceList:
        obj.append(standins.ObjectInstanceBase(members=[obj, canary]))
    else:
        # the collector visits the fields that can hold korvel objects
        members = {korvel.TamRoom: "drawn_objects tiles", korvel.TamSprite: "name subimages scalecache",
                   korvel.BackgroundData: "name surf scaled_data_cache"}[cls].split()
        for name in members:
            setattr(obj, name, [obj, canary])
        assert sorted(map(id, gc.get_referents(obj))) == sorted(id(getattr(obj, n)) for n in members)
    del obj, canary
    gc.collect()
    assert alive() is None


def churn_objects():
    r = korvel.TamSprite()
    r.name = "spr_churn"
    for k in range(2000):
        v = korvel.TamVar(k)
        v[k % 13], v[k % 5 + 1, k % 7] = k, "s"
        v += 1
        r = pickle.loads(pickle.dumps(r))
    for _ in range(300):
        t, b = korvel.part_type_create(), korvel.Beancounter()
        for _ in range(4):
            p = korvel.CParticle_new(t, 1, 2)
            korvel.CParticle_attach_beancounter(p, b)
            korvel.CParticle_step(p)


def churn_images():
    s = shape(3, 3, seed=18)
    for _ in range(100):
        for t in [particle_type(s, color3=(0xFF,) * 3), particle_type(s, alpha3=(0.5,) * 3),
                  particle_type(s, scale=(2, 2))]:
            korvel.CParticle_dec_ttl_and_render(korvel.CParticle_new(t, 20, 20), 0, 0)
            korvel.CParticle_type_cache_clear(t)


# A leak of a few bytes in each of the thousands of steps passes the limit; the
# allocator's own noise (up to about 12 kB here) does not.
@pytest.mark.parametrize("churn,limit", [(churn_objects, 20_000), (churn_images, 10_000)])
def test_churning_objects_does_not_grow_memory(runtime, screen, churn, limit):
    runtime[0].SpriteData_load_images = lambda *args: None
    standins.register()
    assert allocation_growth(churn) < limit
