// Eight doubles that index like a list and compute like their first element.
#pragma once
#include <Python.h>

struct Floatlist8 {
  PyObject_HEAD
  double f[8];
};

extern PyTypeObject Floatlist8_Type;

// Three-way comparison by float value (a list counts as its element 0):
// -1, 0 or 1, or -1 with an exception set. NaN compares equal to anything.
int Floatlist8_compare(PyObject* a, PyObject* b);
