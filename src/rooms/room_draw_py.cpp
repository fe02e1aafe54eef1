// Room_Draw: one frame of the current room, through its views or, without
// views, backgrounds, tiles and instances at scale 1; and the frame count.
#include <Python.h>
#include <SDL.h>

#include <cstdio>
#include <ctime>

#include "korvel_py/background.h"
#include "korvel_py/compat.h"
#include "korvel/sdl_compat.h"
#include "korvel_py/globals.h"
#include "korvel_py/methods.h"
#include "korvel_py/ref.h"
#include "korvel_py/room.h"
#include "rooms/names_py.h"
#include "rooms/view_draw_py.h"

namespace {

using korvel::Ref;

// Publishes in tamapi.fps the frames drawn in the last whole second.
bool count_frame() {
  const long now = long(time(nullptr));
  if (now != this_second) {
    Ref fps = Ref::steal(PyLong_FromLong(current_fps));
    if (!fps || PyObject_SetAttrString(tamapi, "fps", fps.get()) < 0) return false;
    this_second = now;
    current_fps = 0;
  }
  ++current_fps;
  return true;
}

// The frame's drawn objects as a tuple, so that the room's list may change
// while the frame is drawn.
PyObject* snapshot(PyObject* room) {
  Ref drawn = Ref::steal(PyObject_GetAttrString(room, "drawn_objects"));
  if (!drawn) return nullptr;
  PyObject* tuple = PySequence_Tuple(drawn.get());
  if (!tuple) fputs("Error making tuple from drawn_objects\n", stderr);
  return tuple;
}

PyObject* draw_views(PyObject* room, PyObject* surface, PyObject* drawn) {
  Ref visible = Ref::steal(PyObject_GetAttrString(room, "view_visible"));
  if (!visible) return nullptr;
  // Name the field, as the reads of the other view fields do.
  if (!PySequence_Check(visible.get())) {
    PyErr_Format(PyExc_TypeError, "TamRoom.view_visible must be a sequence, not '%.200s'",
                 Py_TYPE(visible.get())->tp_name);
    return nullptr;
  }
  for (int x = 0; x < 8; ++x) {
    Ref item = Ref::steal(PySequence_GetItem(visible.get(), x));
    if (!item) {
      // guard: a short view_visible ends the views; other failures fail the frame
      if (!PyErr_ExceptionMatches(PyExc_IndexError)) return nullptr;
      PyErr_Clear();
      break;
    }
    const int shown = PyObject_IsTrue(item.get());
    if (shown < 0) return nullptr;
    if (shown && !Room_DrawView(room, surface, x, drawn)) {
      // guard: some failures of a view are only messages; the frame still fails clearly
      if (!PyErr_Occurred())
        PyErr_Format(PyExc_RuntimeError, "view %d of the room could not be drawn", x);
      return nullptr;
    }
  }
  Py_RETURN_NONE;
}

// room.DrawBackgrounds(surface, 0, 0).
bool draw_backgrounds(PyObject* room, PyObject* surface) {
  Ref method = Ref::steal(PyObject_GetAttrString(room, "DrawBackgrounds"));
  if (!method) return false;
  Ref zero = Ref::steal(PyLong_FromLong(0));
  Ref args = Ref::steal(zero ? PyTuple_Pack(3, surface, zero.get(), zero.get()) : nullptr);
  if (!args) return false;
  Ref drawn = Ref::steal(PyObject_CallObject(method.get(), args.get()));
  if (!drawn) fputs("Drawing backgrounds failed.\n", stderr);
  return bool(drawn);
}

// guard: a tiles list may hold anything, and a tile may name any background
SDL_Surface* tile_image(PyObject* backgrounds, const RoomTileData* t) {
  const Py_ssize_t count = PySequence_Size(backgrounds);
  if (count < 0) return nullptr;
  if (t->background_idx < 0 || t->background_idx >= count) {
    PyErr_Format(PyExc_IndexError, "tile %d names background %d of %zd", int(t->id),
                 int(t->background_idx), count);
    return nullptr;
  }
  Ref bg = Ref::steal(PySequence_GetItem(backgrounds, t->background_idx));
  if (!bg) return nullptr;
  if (!PyObject_TypeCheck(bg.get(), &BackgroundData_Type)) {
    PyErr_Format(PyExc_TypeError, "a tile's background must be a BackgroundData, not '%.200s'",
                 Py_TYPE(bg.get())->tp_name);
    return nullptr;
  }
  // borrowed: the game's list keeps the background, and it its image
  PyObject* surf = reinterpret_cast<BackgroundData*>(bg.get())->surf;
  return korvel::compat::surface_of(surf ? surf : Py_None);
}

bool draw_tile(PyObject* backgrounds, PyObject* tile, SDL_Surface* target) {
  if (!PyObject_TypeCheck(tile, &RoomTileData_Type)) {
    PyErr_Format(PyExc_TypeError, "room tiles must be RoomTileData, not '%.200s'",
                 Py_TYPE(tile)->tp_name);
    return false;
  }
  const RoomTileData* t = reinterpret_cast<const RoomTileData*>(tile);
  SDL_Surface* image = tile_image(backgrounds, t);
  if (!image) return false;
  SDL_Rect from{t->tilex, t->tiley, t->w, t->h};
  SDL_Rect to{t->x, t->y, 0, 0};
  if (korvel::compat::blit(image, &from, target, &to) != 0) {
    PyErr_Format(PyExc_RuntimeError, "SDL could not blit tile %d: %s", int(t->id),
                 SDL_GetError());
    return false;
  }
  return true;
}

// Every tile in list order, cut from its background onto the surface.
bool draw_tiles(PyObject* room, PyObject* surface) {
  Ref tiles = Ref::steal(PyObject_GetAttrString(room, "tiles"));
  if (!tiles) return false;
  const Py_ssize_t numtiles = PySequence_Size(tiles.get());
  if (numtiles <= 0) return numtiles == 0;
  Ref game = Ref::steal(PyObject_GetAttrString(tamapi, "game"));
  Ref backgrounds = Ref::steal(game ? PyObject_GetAttrString(game.get(), "backgrounds") : nullptr);
  if (!backgrounds) return false;
  SDL_Surface* target = korvel::compat::surface_of(surface);
  if (!target) return false;
  for (Py_ssize_t i = 0; i < numtiles; ++i) {
    Ref tile = Ref::steal(PySequence_GetItem(tiles.get(), i));
    if (!tile || !draw_tile(backgrounds.get(), tile.get(), target)) return false;
  }
  return true;
}

// Each drawn instance's Draw(), in depth order.
bool draw_instances(PyObject* drawn) {
  static korvel::rooms::Name Draw("Draw");
  const Py_ssize_t n = PyTuple_GET_SIZE(drawn);
  for (Py_ssize_t i = 0; i < n; ++i) {
    Ref method = Ref::steal(korvel::rooms::attribute(PyTuple_GET_ITEM(drawn, i), Draw));
    if (!method) {
      fputs("ERror!\n", stderr);
      return false;
    }
    if (!Ref::steal(PyObject_CallNoArgs(method.get()))) {
      fputs("Error!\n", stderr);
      return false;
    }
  }
  return true;
}

PyObject* draw_without_views(PyObject* room, PyObject* surface, PyObject* drawn) {
  g_view_xscale = g_view_yscale = 1.0;
  if (!draw_backgrounds(room, surface) || !draw_tiles(room, surface)) return nullptr;
  Ref zero = Ref::steal(PyLong_FromLong(0));
  if (!zero || PyObject_SetAttrString(room, "view_current", zero.get()) < 0) return nullptr;
  if (!draw_instances(drawn)) return nullptr;
  Py_RETURN_NONE;
}

}  // namespace

PyObject* Room_Draw(PyObject*, PyObject* args) {
  PyObject *room, *surface;
  if (!PyArg_ParseTuple(args, "OO", &room, &surface)) return nullptr;
  if (!count_frame()) return nullptr;
  Ref enabled = Ref::steal(PyObject_GetAttrString(room, "view_enabled"));
  const int views = enabled ? PyObject_IsTrue(enabled.get()) : -1;
  if (views < 0) return nullptr;
  Ref drawn = Ref::steal(snapshot(room));
  if (!drawn) return nullptr;
  if (views) return draw_views(room, surface, drawn.get());
  return draw_without_views(room, surface, drawn.get());
}
