"""The implementation the runtime calls: korvel, or plain Python (--pure-python).

While parts of korvel are still being written, each group of names that work
together comes from korvel when korvel has the whole group, and from the
plain-Python stand-in otherwise.
"""
import types

import purekorvel

GROUPS = {
    "frame": ["set_SDL_screen", "RegisterInstancesDict", "fill_translucent"],
    "vars": ["TamVar"],
    "lists": ["InstanceList"],
    "gradients": ["fast_draw_gradient_v"],
    "transforms": ["rotoscale", "scale", "flip_h"],
    "resources": ["TamSprite", "TamSprite_from_surface", "BackgroundData"],
    "rooms": ["Floatlist8", "TamRoom", "RoomTileData", "Room_Draw"],
    "rectangles": ["draw_rectangle"],
    "particles": ["Beancounter", "part_type_create", "part_type_shape", "part_type_blend",
                  "part_type_size", "part_type_speed", "part_type_direction", "part_type_life",
                  "part_type_color3", "part_type_alpha3", "part_type_orientation",
                  "CParticle_new", "CParticle_attach_beancounter", "CParticle_dec_ttl_and_render"],
}
# Groups that only work with korvel's own version of another group.
NEEDS = {"rooms": "resources", "rectangles": "rooms"}


def _constructible(kind):
    try:
        kind()
    except TypeError:
        return False
    return True


def _has_group(korvel, names):
    if not all(hasattr(korvel, n) for n in names):
        return False
    return all(_constructible(getattr(korvel, n)) for n in ("Floatlist8", "Beancounter") if n in names)


def load(pure_python):
    """(the implementation, the groups standing in for korvel's own)."""
    if pure_python:
        return purekorvel, sorted(GROUPS)
    import korvel
    native = {g for g, names in GROUPS.items() if _has_group(korvel, names)}
    native = {g for g in native if NEEDS.get(g, g) in native}
    if len(native) == len(GROUPS):
        return korvel, []
    impl = types.SimpleNamespace()
    for group, names in GROUPS.items():
        for name in names:
            setattr(impl, name, getattr(korvel if group in native else purekorvel, name))

    def set_SDL_screen(screen):
        korvel.set_SDL_screen(screen)
        purekorvel.set_SDL_screen(screen)

    def RegisterInstancesDict(*args):
        korvel.RegisterInstancesDict(*args)
        purekorvel.RegisterInstancesDict(*args)

    impl.set_SDL_screen, impl.RegisterInstancesDict = set_SDL_screen, RegisterInstancesDict
    return impl, sorted(set(GROUPS) - native)
