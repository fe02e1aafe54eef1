// The room record and its tiles. The per-frame drawing reads the view and
// background settings straight from these fields; scripts see every field as
// an attribute of the same name.
#pragma once
#include <Python.h>

#include <cstdint>

// Each "list" field holds a Floatlist8: one value per view or background
// slot 0 to 7. The fields are plain references, since assignment from
// scripts is not type-checked; the drawing code checks before reading.
struct TamRoom {
  PyObject_HEAD
  int32_t id;
  PyObject* name;
  int32_t room_width;
  int32_t room_height;
  int32_t snapx;
  int32_t snapy;
  int32_t isogrid;
  int32_t room_speed;
  int32_t room_persistent;
  int32_t bgcolor;
  int32_t draw_bgcolor;
  PyObject* room_caption;
  float frame_duration;
  PyObject* creation_code;
  PyObject* bg0;
  PyObject* bg1;
  PyObject* bg2;
  PyObject* bg3;
  PyObject* bg4;
  PyObject* bg5;
  PyObject* bg6;
  PyObject* bg7;
  int32_t view_enabled;
  int32_t numviews;
  PyObject* view_xview;
  PyObject* view_yview;
  PyObject* view_object;
  PyObject* view_hborder;
  PyObject* view_vborder;
  PyObject* view_wview;
  PyObject* view_hview;
  PyObject* view_xport;
  PyObject* view_yport;
  PyObject* view_wport;
  PyObject* view_hport;
  PyObject* background_index;
  PyObject* initial_view_data;
  PyObject* background_x;
  PyObject* background_y;
  PyObject* background_visible;
  PyObject* background_width;
  PyObject* background_height;
  PyObject* background_xscale;
  PyObject* background_yscale;
  PyObject* background_hspeed;
  PyObject* background_vspeed;
  PyObject* background_blend;
  PyObject* background_alpha;
  PyObject* background_htiled;
  PyObject* background_vtiled;
  PyObject* view_visible;
  PyObject* instances;
  PyObject* tiles;
  int32_t tile_w;
  int32_t tile_h;
  int32_t tile_hsep;
  int32_t tile_vsep;
  int32_t tile_hoffset;
  int32_t tile_voffset;
  int32_t created;
  PyObject* all_objects;
  PyObject* drawn_objects;
  PyObject* deactivated_objects;
  PyObject* keypressed_objects;
  PyObject* keyreleased_objects;
  PyObject* mouse_leftpressed_objects;
  PyObject* mouse_rightpressed_objects;
  PyObject* collisioned_objects;
  PyObject* stepped_objects;
  PyObject* moving_objects;
  PyObject* alarmed_objects;
  PyObject* animated_objects;
  PyObject* key_objects;
  PyObject* mouse_objects;
  int32_t view_current;
  PyObject* cached_bg;
  PyObject* cached_bg_scaled;
  PyObject* creation_code_compiled;
};

struct RoomTileData {
  PyObject_HEAD
  int32_t x;
  int32_t y;
  int32_t background_idx;
  int32_t tilex;
  int32_t tiley;
  int32_t w;
  int32_t h;
  int32_t layer_depth;
  int32_t id;
  int32_t locked;
};

extern PyTypeObject TamRoom_Type;
extern PyTypeObject RoomTileData_Type;
// The room's method table: the pickling pair and the event forwarding.
extern PyMethodDef TamRoom_methods[];
