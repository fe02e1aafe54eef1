// Transformed copies of sprite frames, kept in each sprite's scalecache.
#pragma once
#include <Python.h>

#include "korvel_py/common.h"

struct TamSprite;

// Builds the copy of frame subimg of spr at w x h pixels (a negative size
// mirrors), turned by clockwise degrees, filled with the pixel word colori
// unless it is COLOR_WHITE, at opacity alpha (0-255), flattened into a plain
// 32-bit surface when flatten is non-zero; stores it as spr.scalecache[key]
// and returns it (a new reference). coloro is not used. Null on failure,
// after a message on standard error.
KORVEL_EXPORT PyObject* sprite_scalecache_add(TamSprite* spr, PyObject* key, int subimg, int w,
                                              int h, int clockwise, PyObject* coloro, int colori,
                                              int alpha, int flatten);
