#include <Python.h>

#include <cstdio>

#include "korvel_py/methods.h"

PyObject* breakable(PyObject*, PyObject*) {
  puts("breakable");
  fflush(stdout);
  Py_RETURN_NONE;
}
