# ctypes access to korvel's exported native helpers (include/korvel_py/common.h),
# which have no module functions of their own. PyDLL keeps the interpreter lock and
# raises a pending exception; an object result is taken over as a new reference, and
# a null one without an exception surfaces as ValueError(NULL_RESULT).
import ctypes

import korvel

_lib = ctypes.PyDLL(korvel.__file__)
_decref = ctypes.pythonapi.Py_DecRef
_decref.argtypes = [ctypes.c_void_p]
O, NULL_RESULT = ctypes.py_object, "PyObject is NULL"


def _fn(symbol, restype, *argtypes):
    f = _lib[symbol]
    # ctypes' own object results cannot take a null without an exception.
    f.argtypes, f.restype = list(argtypes), ctypes.c_void_p if restype is O else restype
    if restype is not O:
        return f

    def call(*args):
        address = f(*args)
        if address is None:
            raise ValueError(NULL_RESULT)
        result = ctypes.cast(address, O).value
        _decref(address)  # the callee's new reference
        return result
    return call


membertuple = _fn("membertuple", O, O, O)
load_membertuple = _fn("load_membertuple", O, O, O)
color_as_int = _fn("color_as_int", ctypes.c_long, O)
PushSelf = _fn("PushSelf", ctypes.c_int, O)
PopSelf = _fn("PopSelf", None)
GetFirstInstance = _fn("GetFirstInstance", O, O)
# sprite_scalecache_add(spr, key, subimg, w, h, clockwise, coloro, colori, alpha, flatten)
sprite_scalecache_add = _fn("sprite_scalecache_add", O, O, O, *[ctypes.c_int] * 4, O,
                            *[ctypes.c_int] * 3)
