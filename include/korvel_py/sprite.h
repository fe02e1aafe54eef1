// The sprite resource record. Sprite drawing reads subimages and scalecache
// directly; either may be empty (null), for instance after __reduce__.
#pragma once
#include <Python.h>

#include <cstdint>

struct TamSprite {
  PyObject_HEAD
  int32_t w;  // unscaled size in pixels
  int32_t h;
  int32_t leftbound;  // bounding box
  int32_t rightbound;
  int32_t topbound;
  int32_t bottombound;
  int32_t xorigin;  // origin within the frame
  int32_t yorigin;
  int32_t transparent;  // resource flags and settings, as stored in the game data
  int32_t precise_collision_checking;
  int32_t bounding_box_type;
  int32_t smooth_edges;
  int32_t preload_texture;
  int32_t use_video_memory;
  int32_t load_only_on_use;
  PyObject* name;        // owned; None when new
  PyObject* subimages;   // owned; a list of pygame Surfaces, one per frame
  PyObject* scalecache;  // owned; a dict from cache key to transformed Surface
};

extern PyTypeObject TamSprite_Type;
