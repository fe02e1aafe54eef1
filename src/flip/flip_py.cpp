#include <Python.h>
#include <SDL.h>
#include <SDL2_rotozoom.h>

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "flip/transform.h"
#include "korvel/compat.h"
#include "korvel/methods.h"
#include "korvel/pixels/truncate.h"

namespace {

// The largest surface a scale or rotation may return, in bytes.
constexpr double kMaxResultBytes = double(1u << 30);
// Below this reach every size SDL_gfx works out fits in an int.
constexpr double kMaxReach = double(1u << 30);

using FlipFn = SDL_Surface* (*)(SDL_Surface*);

PyObject* py_flip(PyObject* args, FlipFn flip, bool only_32_bit) {
  PyObject* surface;
  if (!PyArg_ParseTuple(args, "O", &surface)) return nullptr;
  SDL_Surface* s = korvel::compat::surface_of(surface);  // guard: TypeError
  if (!s) return nullptr;
  SDL_Surface* r = flip(s);
  // guard: after the refusal message, ValueError instead of an empty surface
  if (!r && only_32_bit && s->format->BytesPerPixel != 4) {
    PyErr_Format(PyExc_ValueError, "a 32-bit surface is required, not %d-bit",
                 int(s->format->BitsPerPixel));
    return nullptr;
  }
  return PySurface_FromSurface(r);
}

// The checks before SDL_gfx is called. guard: the result's size is worked out
// first, so wild factors raise instead of exhausting memory or overflowing
// SDL_gfx's int sizes
bool transform_allowed(SDL_Surface* s, double angle, double xscale, double yscale) {
  // guard: SDL_gfx reads the source's first pixel whatever its size
  if (s->w == 0 || s->h == 0) {
    PyErr_SetString(PyExc_ValueError, "cannot scale or rotate an empty surface");
    return false;
  }
  if (!std::isfinite(xscale) || !std::isfinite(yscale)) {
    PyErr_SetString(PyExc_ValueError, "scale factors must be finite");
    return false;
  }
  const bool turns = std::fabs(angle) > 0.001;  // SDL_gfx's own test for a turn
  // guard: SDL_gfx reads outside an 8-bit source that it mirrors while only zooming
  if (!turns && s->format->BytesPerPixel == 1 && (xscale < 0 || yscale < 0)) {
    PyErr_SetString(PyExc_ValueError, "an 8-bit surface cannot be mirrored by a negative scale");
    return false;
  }
  // Any turn of the source fits in a square of this side.
  const double reach =
      (double(s->w) + s->h) * std::max({std::fabs(xscale), std::fabs(yscale), 1.0}) + 2;
  int w = 0, h = 0;
  if (reach < kMaxReach) {
    if (turns)
      rotozoomSurfaceSizeXY(s->w, s->h, angle, xscale, yscale, &w, &h);
    else
      zoomSurfaceSize(s->w, s->h, xscale, yscale, &w, &h);
  }
  if (reach >= kMaxReach || double(w) * h * 4 > kMaxResultBytes) {
    PyErr_Format(PyExc_MemoryError, "the %dx%d surface would become too large", s->w, s->h);
    return false;
  }
  return true;
}

}  // namespace

PyObject* py_flip_vh(PyObject*, PyObject* args) { return py_flip(args, flip_vh, true); }
PyObject* py_flip_v(PyObject*, PyObject* args) { return py_flip(args, flip_v, false); }
PyObject* py_flip_h(PyObject*, PyObject* args) { return py_flip(args, flip_h, true); }

PyObject* rotoscale(PyObject*, PyObject* args) {
  PyObject* surface;
  float xscale, yscale, clockwise;
  if (!PyArg_ParseTuple(args, "Offf", &surface, &xscale, &yscale, &clockwise)) return nullptr;
  SDL_Surface* s = korvel::compat::surface_of(surface);  // guard: TypeError
  if (!s) return nullptr;
  // Whole degrees, passed on without a change of sign.
  const double angle = korvel::pixels::trunc_i32(clockwise);
  if (!transform_allowed(s, angle, xscale, yscale)) return nullptr;
  SDL_Surface* r = xscale != yscale
                       ? rotozoomSurfaceXY(s, angle, xscale, yscale, SMOOTHING_OFF)
                       : rotozoomSurface(s, angle, xscale, SMOOTHING_OFF);
  return PySurface_FromSurface(r);
}

PyObject* scale(PyObject*, PyObject* args) {
  PyObject* surface;
  float xscale, yscale;
  if (!PyArg_ParseTuple(args, "Off", &surface, &xscale, &yscale)) return nullptr;
  SDL_Surface* s = korvel::compat::surface_of(surface);  // guard: TypeError
  if (!s) return nullptr;
  if (!transform_allowed(s, 0.0, xscale, yscale)) return nullptr;
  SDL_Surface* r = zoomSurface(s, xscale, yscale, SMOOTHING_ON);
  if (!r) return nullptr;  // SDL_gfx's failure is reported without an exception of its own
  uint32_t key;
  if (korvel::compat::get_colorkey(s, &key) && korvel::compat::set_colorkey(r, key) != 0) {
    SDL_FreeSurface(r);
    return nullptr;
  }
  return PySurface_FromSurface(r);
}
