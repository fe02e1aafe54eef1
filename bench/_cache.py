"""A particle type's image cache counts, read through the module's bench-only
C entry korvel_image_cache_counts (outside korvel's Python API)."""
import ctypes


def counts(korvel, ptype):
    """(hits, misses, emptyings) of ptype's cache since the type was made."""
    entry = ctypes.PyDLL(korvel.__file__).korvel_image_cache_counts
    entry.argtypes = [ctypes.py_object, ctypes.POINTER(ctypes.c_uint64)]
    out = (ctypes.c_uint64 * 3)()
    if entry(ptype, out) != 0:
        raise TypeError("not a particle type")
    return tuple(out)


def describe(before, after):
    """The hit rate and emptyings between two counts, for a note."""
    hits, misses, emptied = (a - b for a, b in zip(after, before))
    looked = hits + misses
    rate = f"{hits / looked:.1%}" if looked else "-"
    return f"{rate} hits of {looked:,} lookups, emptied {emptied:,} times"
