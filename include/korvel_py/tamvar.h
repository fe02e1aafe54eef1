// The script variable record: a scalar and a 1-D or 2-D array in one.
#pragma once
#include <Python.h>

#include <cstdint>

struct TamVar_Object {
  PyObject_HEAD
  int32_t magic;       // 0xC0FFEE55 once created; an identification marker only
  int32_t arraylen;    // row length (extent of the first index)
  int32_t array2Dlen;  // number of rows (extent of the second index)
  PyObject** members;  // arraylen * array2Dlen slots, row-major by the second
                       // index; each empty or one owned reference
};

extern PyTypeObject TamVar_Type;

// Wherever a plain value is wanted: element 0 of an object whose type is
// exactly TamVar, otherwise the object itself. Borrowed, never null.
PyObject* TamVar_unwrap(PyObject* o);

// The type's constructor slot; the module entry installs it before readying.
PyObject* TamVar_new(PyTypeObject* type, PyObject* args, PyObject* kwds);
// Three-way comparison of two script values by their element 0: -1, 0 or 1,
// or -1 with an exception set.
int TamVar_compare(PyObject* a, PyObject* b);
