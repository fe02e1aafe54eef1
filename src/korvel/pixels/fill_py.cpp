#include <Python.h>

#include "korvel_py/compat.h"
#include "korvel/sdl_compat.h"
#include "korvel_py/methods.h"
#include "korvel/pixels/fill.h"

PyObject* fill_translucent(PyObject*, PyObject* args) {
  PyObject* surface;
  int x1, y1, x2, y2, color, alpha;
  if (!PyArg_ParseTuple(args, "Oiiiiii", &surface, &x1, &y1, &x2, &y2, &color, &alpha))
    return nullptr;
  korvel::pixels::PixelView view;
  if (!korvel::compat::view32_of(surface, &view)) return nullptr;
  korvel::compat::SurfaceLock lock(korvel::compat::surface_of(surface));
  korvel::pixels::fill_translucent(view, x1, y1, x2, y2, uint32_t(color), alpha);
  Py_RETURN_NONE;
}
