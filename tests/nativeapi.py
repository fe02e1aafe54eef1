"""ctypes access to korvel's exported native helpers (include/korvel/common.h).

The helpers have no module functions of their own; the tests drive them
through the module's exported symbols. PyDLL keeps the interpreter lock and
raises a pending exception after each call; an object result is taken over
as a new reference, and a null one without an exception surfaces as
ValueError(NULL_RESULT).
"""
import ctypes

import korvel

_lib = ctypes.PyDLL(korvel.__file__)
_decref = ctypes.pythonapi.Py_DecRef
_decref.argtypes = [ctypes.c_void_p]
_decref.restype = None
O = ctypes.py_object
NULL_RESULT = "PyObject is NULL"


def _fn(symbol, restype, *argtypes):
    f = _lib[symbol]  # a fresh function object: one symbol may get two prototypes
    f.restype = restype
    f.argtypes = list(argtypes)
    if restype is not O:
        return f
    # ctypes' own object results cannot take a null without an exception.
    f.restype = ctypes.c_void_p

    def call(*args):
        address = f(*args)
        if address is None:
            raise ValueError(NULL_RESULT)
        result = ctypes.cast(address, O).value
        _decref(address)  # the callee's new reference
        return result
    return call


seqi = _fn("_Z4seqiP7_objectl", ctypes.c_long, O, ctypes.c_ssize_t)
membertuple = _fn("_Z11membertupleP7_objectS0_", O, O, O)
load_membertuple = _fn("_Z16load_membertupleP7_objectS0_", O, O, O)
Truth = _fn("_Z5Truthi", O, ctypes.c_int)
Object_AsInt_compare = _fn("_Z20Object_AsInt_compareP7_objectS0_", ctypes.c_int, O, O)
Object_AsInt_richcompare = _fn("_Z24Object_AsInt_richcompareP7_objectS0_i", O, O, O,
                               ctypes.c_int)
color_as_int = _fn("_Z12color_as_intP7_object", ctypes.c_long, O)
RGBA_copy = _fn("_Z9RGBA_copyP11SDL_Surface", ctypes.c_void_p, ctypes.c_void_p)
Game_Sequence_Index = _fn("_Z19Game_Sequence_IndexP7_objectPKc", O, O, ctypes.c_char_p)
Game_Sequence_Index_F = _fn("_Z21Game_Sequence_Index_FP7_objectPKc", O, O, ctypes.c_char_p)
Game_Sequence_Index_S = _fn("_Z21Game_Sequence_Index_SP7_objectPKc", O, O, ctypes.c_char_p)
invoke_4 = _fn("_Z8invoke_4P7_objectS0_S0_S0_S0_", O, O, O, O, O, O)
invoke = _fn("_Z6invokeP7_objectS0_", O, O, O)
# The same entry points with a null callable.
invoke_null = _fn("_Z6invokeP7_objectS0_", O, ctypes.c_void_p, O)
PushSelf = _fn("_Z8PushSelfP7_object", ctypes.c_int, O)
PopSelf = _fn("_Z7PopSelfv", None)
GetFirstInstance = _fn("_Z16GetFirstInstanceP7_object", O, O)


def sdl_surface_pointer(surface):
    """The SDL_Surface* inside a pygame Surface (the word after the object header)."""
    return ctypes.c_void_p.from_address(id(surface) + object.__basicsize__).value
# sprite_scalecache_add(spr, key, subimg, w, h, clockwise, coloro, colori, alpha, flatten)
sprite_scalecache_add = _fn("_Z21sprite_scalecache_addP9TamSpriteP7_objectiiiiS2_iii", O, O, O,
                            ctypes.c_int, ctypes.c_int, ctypes.c_int, ctypes.c_int, O,
                            ctypes.c_int, ctypes.c_int, ctypes.c_int)
