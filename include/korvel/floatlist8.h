// Eight doubles that index like a list and compute like their first element.
#pragma once
#include <Python.h>

struct Floatlist8 {
  PyObject_HEAD
  double f[8];
};

extern PyTypeObject Floatlist8_Type;
