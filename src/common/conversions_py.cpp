// Member-tuple pickling, comparison by integer value and small conversions
// shared by the resource and room types.
#include <Python.h>
#include <SDL.h>
#include <structmember.h>

#include <cstdio>

#include "korvel_py/common.h"
#include "korvel_py/compat.h"
#include "korvel/sdl_compat.h"
#include "korvel_py/globals.h"
#include "korvel_py/ref.h"

using korvel::Ref;

long seqi(PyObject* seq, Py_ssize_t idx) {
  // guard: a short state or one that is neither list nor tuple raises
  // IndexError / TypeError instead of reading past the items
  PyObject* item;  // borrowed
  if (PyList_Check(seq)) {
    item = PyList_GetItem(seq, idx);
  } else if (PyTuple_Check(seq)) {
    item = PyTuple_GetItem(seq, idx);
  } else {
    PyErr_Format(PyExc_TypeError, "a list or tuple is required, not '%.200s'",
                 Py_TYPE(seq)->tp_name);
    return -1;
  }
  if (!item) return -1;
  return PyLong_AsLong(item);
}

PyObject* membertuple(PyObject* self, PyObject*) {
  const PyMemberDef* members = Py_TYPE(self)->tp_members;
  Py_ssize_t n = 0;
  while (members && members[n].name) ++n;
  Ref pairs = Ref::steal(PyTuple_New(n));
  if (!pairs) return nullptr;
  for (Py_ssize_t k = 0; k < n; ++k) {
    // guard: the value is released once packed, so reducing does not leak
    Ref value = Ref::steal(PyObject_GetAttrString(self, members[k].name));
    if (!value) return nullptr;
    PyObject* pair = Py_BuildValue("(sO)", members[k].name, value.get());
    if (!pair) return nullptr;
    PyTuple_SET_ITEM(pairs.get(), k, pair);
  }
  // Only the room reduces through its member table, so its own type is the room type.
  return Py_BuildValue("O()O", reinterpret_cast<PyObject*>(Py_TYPE(self)), pairs.get());
}

PyObject* load_membertuple(PyObject* self, PyObject* args) {
  PyObject* state;
  if (!PyArg_ParseTuple(args, "O", &state)) return nullptr;
  Ref items = Ref::steal(PySequence_Fast(state, "the state must be a sequence of pairs"));
  if (!items) return nullptr;
  PyObject *err_type = nullptr, *err_value = nullptr, *err_tb = nullptr;
  for (Py_ssize_t k = 0; k < PySequence_Fast_GET_SIZE(items.get()); ++k) {
    PyObject* item = PySequence_Fast_GET_ITEM(items.get(), k);
    PyObject *name, *value;
    if (!PyTuple_Check(item) || !PyArg_ParseTuple(item, "UO", &name, &value)) {
      // guard: a malformed pair is reported rather than read blindly
      if (!PyErr_Occurred()) PyErr_SetString(PyExc_TypeError, "state items must be (name, value)");
    } else if (PyObject_SetAttr(self, name, value) == 0) {
      continue;
    } else if (PyErr_ExceptionMatches(PyExc_AttributeError)) {
      // Every state carries the read-only members too; they stay as they are.
      PyErr_Clear();
      continue;
    }
    // The other pairs are still restored; the first failure is raised at the end.
    if (err_type) {
      PyErr_Clear();
    } else {
      PyErr_Fetch(&err_type, &err_value, &err_tb);
    }
  }
  if (err_type) {
    PyErr_Restore(err_type, err_value, err_tb);
    return nullptr;
  }
  Py_RETURN_NONE;
}

PyObject* Truth(int cond) { return PyBool_FromLong(cond); }

int Object_AsInt_compare(PyObject* a, PyObject* b) {
  Ref aa = Ref::steal(PyNumber_Long(a));
  if (!aa) {
    fputs("XXX need to set an exception.\n", stderr);
    return -1;
  }
  Ref bb = Ref::steal(PyNumber_Long(b));
  if (!bb) {
    fputs("XXX need to set an exception.\n", stderr);
    return -1;
  }
  if (PyObject_RichCompareBool(aa.get(), bb.get(), Py_LT) > 0) return -1;
  return PyObject_RichCompareBool(aa.get(), bb.get(), Py_GT) > 0 ? 1 : 0;
}

PyObject* Object_AsInt_richcompare(PyObject* a, PyObject* b, int cond) {
  Ref aa = Ref::steal(PyNumber_Long(a));
  if (!aa) return nullptr;
  Ref bb = Ref::steal(PyNumber_Long(b));
  if (!bb) return nullptr;
  // No such operator: null without an exception.
  if (cond < Py_LT || cond > Py_GE) return nullptr;
  // An int's own rich comparison declines the unconverted resource operand,
  // so the converted values decide (whole ints: no overflow for huge ones).
  return PyObject_RichCompare(aa.get(), bb.get(), cond);
}

long color_as_int(PyObject* o) {
  if (!PySequence_Check(o)) return PyLong_AsLong(o);
  Py_ssize_t n = PySequence_Size(o);
  if (n < 0) return -1;
  if (n <= 2) return long(COLOR_WHITE);
  SDL_Surface* screen = korvel::compat::screen();  // guard: RuntimeError before set_SDL_screen
  if (!screen) return -1;
  long c[3];
  for (Py_ssize_t i = 0; i < 3; ++i) {
    Ref item = Ref::steal(PySequence_GetItem(o, i));
    if (!item) return -1;
    c[i] = PyLong_AsLong(item.get());
    if (c[i] == -1 && PyErr_Occurred()) return -1;
  }
  const SDL_PixelFormat* f = screen->format;
  // Unsigned: components are neither masked nor clamped, and may be negative.
  unsigned long r = (unsigned long)c[0] << (f->Rshift % 32);
  unsigned long g = (unsigned long)c[1] << (f->Gshift % 32);
  unsigned long b = (unsigned long)c[2] << (f->Bshift % 32);
  return long(r + g + b);
}

SDL_Surface* RGBA_copy(SDL_Surface* surf) { return korvel::compat::display_format_alpha(surf); }
