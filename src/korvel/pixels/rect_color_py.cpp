#include <Python.h>

#include <cstdio>

#include "korvel_py/compat.h"
#include "korvel/sdl_compat.h"
#include "korvel_py/methods.h"
#include "korvel/pixels/rect_color.h"

using korvel::pixels::RectColorOutcome;

PyObject* fast_draw_rectangle_color(PyObject*, PyObject* args) {
  int x1, y1, x2, y2, outline;
  unsigned col_tl, col_tr, col_br, col_bl;
  float alphaf;
  if (!PyArg_ParseTuple(args, "iiiiIIIIfi", &x1, &y1, &x2, &y2, &col_tl, &col_tr, &col_br,
                        &col_bl, &alphaf, &outline))
    return nullptr;
  SDL_Surface* s = korvel::compat::screen32();  // guard: RuntimeError / ValueError
  if (!s) return nullptr;
  const int alpha = korvel::pixels::rectangle_alpha(alphaf);
  korvel::compat::SurfaceLock lock(s);
  switch (korvel::pixels::draw_rectangle_color(korvel::compat::view_of(s), s->format, x1, y1, x2,
                                               y2, {col_tl, col_tr, col_br, col_bl}, alpha,
                                               outline != 0)) {
    case RectColorOutcome::drawn:
      break;
    case RectColorOutcome::should_fill:
      puts("BUG: should actually fill.");
      break;
    case RectColorOutcome::translucent_outline:
      puts("BUG: need to draw translucent outline vgrad.");
      break;
    case RectColorOutcome::unsupported:
      printf("Horizontal gradient, complex gradient, or no gradient. %d/%d\n", alpha, outline);
      break;
  }
  fflush(stdout);
  Py_RETURN_NONE;
}
