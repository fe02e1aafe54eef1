"""Reference counts of the objects korvel stores: a value stored holds one
reference, a value replaced gets it back, an object destroyed gives back
everything it held, and calls that only look at their arguments leave them
as they were. (Checks the subsystem tests already make are not repeated.)"""
import gc
import pickle
import sys

import pygame
import pytest

import korvel
import standins


def refs(*objects):
    return [sys.getrefcount(o) for o in objects]


class Value:
    """A value of its own, whose count nothing else touches."""


def object_members(cls):
    """The members of cls that hold any object (their descriptors accept one)."""
    probe, names = cls(), []
    for name in dir(cls):
        if type(getattr(cls, name)).__name__ != "member_descriptor":
            continue
        value = Value()
        try:
            setattr(probe, name, value)
        except TypeError:
            continue
        if getattr(probe, name) is value:
            names.append(name)
    return names


MEMBERS = [(t, m) for t in ("TamSprite", "BackgroundData", "TamRoom")
           for m in object_members(getattr(korvel, t))]


def test_every_type_with_object_members_is_checked():
    assert {t for t, _ in MEMBERS} == {"TamSprite", "BackgroundData", "TamRoom"}
    assert {"name", "subimages", "scalecache"} <= {m for t, m in MEMBERS if t == "TamSprite"}


@pytest.mark.parametrize("type_name,member", MEMBERS)
def test_a_member_holds_one_reference_and_gives_it_back(type_name, member):
    obj = getattr(korvel, type_name)()
    a, b = Value(), Value()
    before = refs(a, b)
    setattr(obj, member, a)
    assert refs(a, b) == [before[0] + 1, before[1]]
    setattr(obj, member, b)
    setattr(obj, member, b)  # the same value again
    assert refs(a, b) == [before[0], before[1] + 1]
    try:
        delattr(obj, member)
    except (AttributeError, TypeError):
        pass  # not deletable: given back with the object below
    else:
        assert refs(a, b) == before
    del obj
    assert refs(a, b) == before


@pytest.mark.parametrize("type_name,fields,state", [
    ("TamSprite", ["subimages", "scalecache", "name"], (1,) * 15 + ("spr_refs", 0)),
    ("BackgroundData", ["surf", "scaled_data_cache", "name"], ("bg_refs", 0)),
    ("TamRoom", ["name", "drawn_objects"], (("name", "r"), ("drawn_objects", "r"))),
])
def test_restoring_state_releases_what_it_replaces(runtime, type_name, fields, state):
    obj = getattr(korvel, type_name)()
    old = [Value() for _ in fields]
    for field, value in zip(fields, old):
        setattr(obj, field, value)
    before = refs(*old)
    obj.__setstate__(state)
    assert refs(*old) == [n - 1 for n in before]


def test_sprite_reduce_gives_up_its_cache_and_tile_states_stay_balanced(runtime):
    s, cache = korvel.TamSprite(), {}
    s.scalecache = cache
    before = sys.getrefcount(cache)
    s.__reduce__()
    assert sys.getrefcount(cache) == before - 1
    tile, state = korvel.RoomTileData(), tuple(range(10))
    before = sys.getrefcount(state)
    for _ in range(100):
        tile.__setstate__(state)
        tile.__reduce__()
    assert sys.getrefcount(state) == before


# --- the instance list ----------------------------------------------------------

def test_instance_list_item_assignment_and_state_replace_balance(runtime):
    a, b, c = (standins.ObjectInstanceBase() for _ in range(3))
    il = korvel.InstanceList([a])
    before = refs(a, b, c)
    il[0] = b
    assert refs(a, b, c) == [before[0] - 1, before[1] + 1, before[2]]
    il.__setstate__((c, c))
    assert refs(a, b, c) == [before[0] - 1, before[1], before[2] + 2]
    il.__reduce__()
    del il
    assert refs(a, b, c) == [before[0] - 1, before[1], before[2]]


def test_instance_list_numbers_resolve_without_leaking(runtime):
    inst = standins.ObjectInstanceBase()
    standins.register({7: inst})
    il = korvel.InstanceList()
    before = sys.getrefcount(inst)
    for _ in range(50):
        il.append(7)
        il.insert(0, 7)
        il.remove(7)
        il.remove(inst)
    assert len(il) == 0 and sys.getrefcount(inst) == before


# --- particles ---------------------------------------------------------------------

def test_a_sprite_shape_is_held_replaced_released_and_not_kept_when_refused(runtime):
    pt = korvel.part_type_create()
    sprite, surface = Value(), pygame.Surface((2, 2), 0, 32)
    before = refs(sprite, surface)
    with pytest.raises(TypeError):
        korvel.part_type_sprite(5, sprite, 0.0, 0.0, 0.0)
    assert refs(sprite, surface) == before
    korvel.part_type_sprite(pt, sprite, 0.0, 0.0, 0.0)
    assert refs(sprite, surface) == [before[0] + 1, before[1]]
    korvel.part_type_shape(pt, surface)
    assert refs(sprite, surface) == [before[0], before[1] + 1]
    korvel.part_type_sprite(pt, sprite, 1.0, 1.0, 0.0)
    assert refs(sprite, surface) == [before[0] + 1, before[1]]
    del pt
    assert refs(sprite, surface) == before


def test_particles_give_back_their_type_and_counters(runtime):
    pt = korvel.part_type_create()
    first, second = korvel.Beancounter(), korvel.Beancounter()
    before = refs(pt, first, second)
    particles = [korvel.CParticle_new(pt, 0.0, 0.0) for _ in range(20)]
    for p in particles:
        korvel.CParticle_attach_beancounter(p, first)
        korvel.CParticle_attach_beancounter(p, second)
    assert refs(pt, first, second) == [before[0] + 20, before[1], before[2] + 20]
    assert (int(first), int(second)) == (0, 20)
    del particles, p
    assert refs(pt, first, second) == before and int(second) == 0


def test_rendering_leaves_handles_and_shape_balanced(runtime, screen):
    pt = korvel.part_type_create()
    shape = pygame.Surface((3, 3), pygame.SRCALPHA, 32)
    korvel.part_type_shape(pt, shape)
    korvel.part_type_alpha3(pt, 1.0, 0.5, 0.1)
    korvel.part_type_color3(pt, 0xFF0000, 0x00FF00, 0x0000FF)
    korvel.part_type_life(pt, 10, 10)
    p = korvel.CParticle_new(pt, 10.0, 10.0)
    before = refs(pt, shape, p, screen)
    while korvel.CParticle_dec_ttl_and_render(p, 1, 1) > 0:
        pass
    assert refs(pt, shape, p, screen) == before
    korvel.CParticle_type_cache_clear(pt)


# --- calls that keep nothing ------------------------------------------------------

@pytest.mark.parametrize("alpha,outline", [(1.0, 0.0), (1.0, 1.0), (0.5, 0.0), (0.5, 1.0)])
def test_draw_rectangle_keeps_nothing(runtime, screen, alpha, outline):
    _, tamapi = runtime
    room = tamapi.room = korvel.TamRoom()
    for name in ("view_xview", "view_yview", "view_xport", "view_yport"):
        setattr(room, name, korvel.Floatlist8())
    color = tamapi.py_draw_props.color = (10, 20, 30)
    tamapi.py_draw_props.alpha = alpha
    before = refs(room, color, screen)
    for _ in range(20):
        try:
            korvel.draw_rectangle(1.0, 2.0, 9.0, 7.0, outline)
        except SystemError:
            pass  # the translucent outline is refused, as designed
    assert refs(room, color, screen) == before


def test_pickling_korvel_objects_keeps_their_contents_balanced(runtime):
    """Pickle round trips leave the values the objects held as they were."""
    value = "pickled-%d" % 12345
    objects = [korvel.Floatlist8(), korvel.TamVar(value),
               korvel.InstanceList([standins.ObjectInstanceBase()])]
    before = sys.getrefcount(value)
    for obj in objects:
        for _ in range(20):
            try:
                pickle.loads(pickle.dumps(obj))
            except (TypeError, pickle.PicklingError):
                pass  # not every type pickles; what matters is the count
    gc.collect()
    assert sys.getrefcount(value) == before
