// The background resource record. Tile drawing reads surf directly; each
// object field may be empty (null).
#pragma once
#include <Python.h>

#include <cstdint>

struct BackgroundData {
  PyObject_HEAD
  PyObject* name;               // owned; None when new
  PyObject* surf;               // owned; the image, a pygame Surface, set by the runtime's loader
  PyObject* scaled_data_cache;  // owned; a dict of scaled copies of the image
  int32_t w;                    // image size in pixels
  int32_t h;
  int32_t transparent;  // resource flag, as stored in the game data
};

extern PyTypeObject BackgroundData_Type;
