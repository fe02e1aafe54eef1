#include <Python.h>

#include "korvel_py/compat.h"
#include "korvel/sdl_compat.h"
#include "korvel_py/methods.h"
#include "korvel/pixels/gradient.h"

using korvel::pixels::EdgeCompare;
using korvel::pixels::GradientLayer;
using korvel::pixels::LayerFactors;

namespace {

GradientLayer gradient(unsigned top, unsigned bottom) { return {false, top, bottom, 0}; }
GradientLayer constant(unsigned word) { return {true, word, 0, 0}; }

// The common tail of the five functions: check the surface, give each layer
// its factor, draw.
PyObject* draw_layers(PyObject* surface, int x1, int y1, int x2, int y2, EdgeCompare cmp,
                      GradientLayer* layers, int count, const LayerFactors& f) {
  SDL_Surface* s = korvel::compat::surface32_of(surface);  // guard: TypeError / ValueError
  if (!s) return nullptr;
  for (int i = 0; i < count; ++i) layers[i].factor = f.layer[i];
  korvel::compat::SurfaceLock lock(s);
  korvel::pixels::draw_gradient_layers(korvel::compat::view_of(s), s->format, x1, y1, x2, y2,
                                       cmp, layers, count, f.dest);
  Py_RETURN_NONE;
}

}  // namespace

PyObject* fast_draw_gradient_v(PyObject*, PyObject* args) {
  PyObject* surface;
  int x1, y1, x2, y2, alpha;
  unsigned col_t, col_b;
  if (!PyArg_ParseTuple(args, "OiiiiIIi", &surface, &x1, &y1, &x2, &y2, &col_t, &col_b, &alpha))
    return nullptr;
  GradientLayer layers[] = {gradient(col_t, col_b)};
  return draw_layers(surface, x1, y1, x2, y2, EdgeCompare::signed_int, layers, 1,
                     korvel::pixels::factors_v(alpha));
}

PyObject* fast_draw_gradients_vc(PyObject*, PyObject* args) {
  PyObject* surface;
  int x1, y1, x2, y2;
  unsigned col_t1, col_b1, col_2;
  float alpha1, alpha2;
  if (!PyArg_ParseTuple(args, "OiiiiIIfIf", &surface, &x1, &y1, &x2, &y2, &col_t1, &col_b1,
                        &alpha1, &col_2, &alpha2))
    return nullptr;
  GradientLayer layers[] = {gradient(col_t1, col_b1), constant(col_2)};
  return draw_layers(surface, x1, y1, x2, y2, EdgeCompare::unsigned_int, layers, 2,
                     korvel::pixels::factors_vc(alpha1, alpha2));
}

PyObject* fast_draw_gradients_vv(PyObject*, PyObject* args) {
  PyObject* surface;
  int x1, y1, x2, y2;
  unsigned col_t1, col_b1, col_t2, col_b2;
  float alpha1, alpha2;
  if (!PyArg_ParseTuple(args, "OiiiiIIfIIf", &surface, &x1, &y1, &x2, &y2, &col_t1, &col_b1,
                        &alpha1, &col_t2, &col_b2, &alpha2))
    return nullptr;
  GradientLayer layers[] = {gradient(col_t1, col_b1), gradient(col_t2, col_b2)};
  return draw_layers(surface, x1, y1, x2, y2, EdgeCompare::unsigned_int, layers, 2,
                     korvel::pixels::factors_vc(alpha1, alpha2));
}

PyObject* fast_draw_gradients_vcv(PyObject*, PyObject* args) {
  PyObject* surface;
  int x1, y1, x2, y2;
  unsigned col_t1, col_b1, col_2, col_t3, col_b3;
  float alpha1, alpha2, alpha3;
  if (!PyArg_ParseTuple(args, "OiiiiIIfIfIIf", &surface, &x1, &y1, &x2, &y2, &col_t1, &col_b1,
                        &alpha1, &col_2, &alpha2, &col_t3, &col_b3, &alpha3))
    return nullptr;
  GradientLayer layers[] = {gradient(col_t1, col_b1), constant(col_2), gradient(col_t3, col_b3)};
  return draw_layers(surface, x1, y1, x2, y2, EdgeCompare::unsigned_int, layers, 3,
                     korvel::pixels::factors_vcv(alpha1, alpha2, alpha3));
}

PyObject* fast_draw_gradients_vcvvc(PyObject*, PyObject* args) {
  PyObject* surface;
  int x1, y1, x2, y2;
  unsigned col_t1, col_b1, col_2, col_t3, col_b3, col_t4, col_b4, col_5;
  float alpha1, alpha2, alpha3, alpha4, alpha5;
  if (!PyArg_ParseTuple(args, "OiiiiIIfIfIIfIIfIf", &surface, &x1, &y1, &x2, &y2, &col_t1,
                        &col_b1, &alpha1, &col_2, &alpha2, &col_t3, &col_b3, &alpha3, &col_t4,
                        &col_b4, &alpha4, &col_5, &alpha5))
    return nullptr;
  GradientLayer layers[] = {gradient(col_t1, col_b1), constant(col_2), gradient(col_t3, col_b3),
                            gradient(col_t4, col_b4), constant(col_5)};
  return draw_layers(surface, x1, y1, x2, y2, EdgeCompare::unsigned_int, layers, 5,
                     korvel::pixels::factors_vcvvc(alpha1, alpha2, alpha3, alpha4, alpha5));
}
