// draw_rectangle: a rectangle in room coordinates, mapped through the current
// view onto the screen. Opaque ones go to pygame, translucent fills are mixed
// into the screen's pixels here.
#include <Python.h>
#include <SDL.h>

#include <cmath>
#include <cstdint>
#include <cstdio>

#include "korvel_py/common.h"
#include "korvel_py/compat.h"
#include "korvel/sdl_compat.h"
#include "korvel_py/floatlist8.h"
#include "korvel_py/globals.h"
#include "korvel_py/methods.h"
#include "korvel/pixels/fill.h"
#include "korvel/pixels/truncate.h"
#include "korvel_py/ref.h"

using korvel::Ref;

namespace {

// The current view's position and port, read from the room's attributes.
struct ViewPlacement {
  double xview, yview, xport, yport;
};

// Item v of the room's list attribute field.
bool read_attribute_slot(PyObject* room, const char* field, int v, double* out) {
  Ref list = Ref::steal(PyObject_GetAttrString(room, field));
  return list && read_slot(list.get(), "room", field, v, out);
}

// guard: the room's view lists must be Floatlist8 and view_current one of
// their eight slots; anything else raises instead of reading past a list
bool read_view(PyObject* room, ViewPlacement* p) {
  Ref current = Ref::steal(PyObject_GetAttrString(room, "view_current"));
  if (!current) return false;
  const long v = PyLong_AsLong(current.get());
  if (v == -1 && PyErr_Occurred()) return false;
  if (v < 0 || v > 7) {
    PyErr_Format(PyExc_IndexError, "room.view_current %ld is not a view (0 to 7)", v);
    return false;
  }
  return read_attribute_slot(room, "view_xview", int(v), &p->xview) &&
         read_attribute_slot(room, "view_yview", int(v), &p->yview) &&
         read_attribute_slot(room, "view_xport", int(v), &p->xport) &&
         read_attribute_slot(room, "view_yport", int(v), &p->yport);
}

// A room coordinate on the screen: rounded half away from zero after the
// view scale, then kept in single precision.
float on_screen(float c, double view, double scale, double port) {
  return float(std::round((c - view) * scale) + port);
}

PyObject* draw_props() { return korvel::hooked(tamapi_py_draw_props, "py_draw_props"); }

// guard: RuntimeError when no screen was stored, or when its display was
// closed (pygame's own drawing would crash on it); a new reference, held
// while the runtime's code runs, as that code may replace the stored screen
Ref screen_object() {
  return Ref::borrow(korvel::compat::screen() ? g_screen_pyobj : nullptr);
}

PyObject* opaque_fill(float x1, float y1, float x2, float y2) {
  Ref screen = screen_object();
  if (!screen) return nullptr;
  Ref fill = Ref::steal(PyObject_GetAttrString(screen.get(), "fill"));
  if (!fill) return nullptr;
  Ref color = Ref::steal(PyObject_GetAttrString(draw_props(), "color"));
  if (!color) return nullptr;
  Ref args = Ref::steal(Py_BuildValue("(O(ffff))", color.get(), x1, y1, x2 - x1, y2 - y1));
  if (!args) return nullptr;
  Ref result = Ref::steal(PyObject_Call(fill.get(), args.get(), nullptr));
  if (!result) {
    fputs("An error occurred filling surface.\n", stderr);
    return nullptr;
  }
  Py_RETURN_NONE;
}

PyObject* opaque_outline(float x1, float y1, float x2, float y2) {
  if (!screen_object() || !korvel::hooked(pygame_draw_rect, "pygame.draw.rect")) return nullptr;
  Ref color = Ref::steal(PyObject_GetAttrString(draw_props(), "color"));
  if (!color) return nullptr;
  // read again: reading the colour may have run code that closed the display
  Ref screen = screen_object();
  if (!screen) return nullptr;
  Ref args = Ref::steal(
      Py_BuildValue("(OO(ffff)i)", screen.get(), color.get(), x1, y1, x2 - x1, y2 - y1, 1));
  if (!args) return nullptr;
  Ref result = Ref::steal(PyObject_Call(pygame_draw_rect, args.get(), nullptr));
  if (!result) {
    fprintf(stderr, "An error occurred calling pygame.draw.rect(screen,color,%f,%f,%f,%f,1).\n",
            double(x1), double(y1), double(x2 - x1), double(y2 - y1));
    return nullptr;
  }
  Py_RETURN_NONE;
}

// The weight of a translucent fill: the low byte of the unsigned truncation
// of alpha * 255, negative values taken as 0 (x86's conversion for the rest).
int fill_weight(float alpha) {
  const float w = alpha * 255.0f;
  const double clamped = w > 0.0f ? w : 0.0;
  return clamped < 9223372036854775808.0 ? int(uint64_t(clamped) & 0xFF) : 0;
}

PyObject* translucent_fill(float x1, float y1, float x2, float y2, float alpha) {
  Ref to_int = Ref::steal(PyObject_GetAttrString(tamapi, "__color_to_int"));
  if (!to_int) return nullptr;
  Ref color = Ref::steal(PyObject_GetAttrString(draw_props(), "color"));
  if (!color) return nullptr;
  Ref value = Ref::steal(invoke(to_int.get(), color.get()));
  if (!value) return nullptr;
  Ref as_long = Ref::steal(PyNumber_Long(value.get()));
  if (!as_long) return nullptr;
  // The runtime's integer is used as pixel lanes as it is, not mapped.
  const uint32_t c = uint32_t(PyLong_AsUnsignedLongMask(as_long.get()));
  SDL_Surface* s = korvel::compat::screen32();  // guard: RuntimeError / ValueError
  if (!s) return nullptr;
  using korvel::pixels::trunc_i32;
  korvel::compat::SurfaceLock lock(s);
  korvel::pixels::fill_translucent(korvel::compat::view_of(s), trunc_i32(x1), trunc_i32(y1),
                                   trunc_i32(x2), trunc_i32(y2), c, fill_weight(alpha));
  Py_RETURN_NONE;
}

}  // namespace

PyObject* draw_rectangle(PyObject*, PyObject* args) {
  float x1, y1, x2, y2, outline = 0.0f;
  if (!PyArg_ParseTuple(args, "ffff|f", &x1, &y1, &x2, &y2, &outline)) return nullptr;
  if (!draw_props()) return nullptr;
  ViewPlacement view;
  {
    Ref room = Ref::steal(PyObject_GetAttrString(tamapi, "room"));
    if (!room || !read_view(room.get(), &view)) return nullptr;
  }
  x1 = on_screen(x1, view.xview, g_view_xscale, view.xport);
  x2 = on_screen(x2, view.xview, g_view_xscale, view.xport);
  y1 = on_screen(y1, view.yview, g_view_yscale, view.yport);
  y2 = on_screen(y2, view.yview, g_view_yscale, view.yport);
  Ref alpha_obj = Ref::steal(PyObject_GetAttrString(draw_props(), "alpha"));
  if (!alpha_obj) return nullptr;
  const float alpha = float(PyFloat_AsDouble(alpha_obj.get()));
  if (alpha == -1.0f && PyErr_Occurred()) return nullptr;

  if (alpha == 1.0f) {
    // A NaN outline counts as no outline.
    if (!(outline <= -0.5f || outline >= 0.5f)) return opaque_fill(x1, y1, x2, y2);
    return opaque_outline(x1, y1, x2, y2);
  }
  // An outline of exactly 0.5 is filled here, though it outlines when opaque.
  if (outline > 0.5f || outline <= -0.5f) {
    fputs("Can't do alphablending on outline rectangles yet.\n", stderr);
    return nullptr;
  }
  return translucent_fill(x1, y1, x2, y2, alpha);
}
