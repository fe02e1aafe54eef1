// Eight doubles that index like a list and compute like their first element.
#pragma once
#include <Python.h>

struct Floatlist8 {
  PyObject_HEAD
  double f[8];
};

extern PyTypeObject Floatlist8_Type;

// o as a Floatlist8, or null with TypeError naming it "<owner>.<field>" when
// it is anything else (o may be null: an emptied field).
Floatlist8* Floatlist8_of(PyObject* o, const char* owner, const char* field);
// Item v (0 to 7) of the Floatlist8 o into *out; false as Floatlist8_of.
bool read_slot(PyObject* o, const char* owner, const char* field, int v, double* out);

// Three-way comparison by float value (a list counts as its element 0):
// -1, 0 or 1, or -1 with an exception set. NaN compares equal to anything.
int Floatlist8_compare(PyObject* a, PyObject* b);
