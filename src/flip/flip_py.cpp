#include <Python.h>
#include <SDL.h>
#include <SDL2_rotozoom.h>

#include <cstdint>

#include "flip/transform.h"
#include "flip/transform_py.h"
#include "korvel_py/compat.h"
#include "korvel/sdl_compat.h"
#include "korvel_py/methods.h"
#include "korvel/pixels/truncate.h"

namespace {

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

}  // namespace

bool transform_allowed(SDL_Surface* s, double angle, double xscale, double yscale) {
  switch (check_transform(s, angle, xscale, yscale)) {
    case TransformCheck::allowed: return true;
    case TransformCheck::empty:
      PyErr_SetString(PyExc_ValueError, "cannot scale or rotate an empty surface");
      return false;
    case TransformCheck::not_finite:
      PyErr_SetString(PyExc_ValueError, "scale factors must be finite");
      return false;
    case TransformCheck::mirrored_8_bit:
      PyErr_SetString(PyExc_ValueError, "an 8-bit surface cannot be mirrored by a negative scale");
      return false;
    case TransformCheck::too_large:
      PyErr_Format(PyExc_MemoryError, "the %dx%d surface would become too large", s->w, s->h);
      return false;
  }
  return false;
}

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
