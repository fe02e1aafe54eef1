// The number and comparison slots of TamVar: each acts on the operands'
// element 0 and returns a plain value.
#pragma once
#include <Python.h>

#include "korvel_py/tamvar.h"

extern PyNumberMethods TamVar_as_number;
PyObject* TamVar_richcompare(PyObject* a, PyObject* b, int op);
// Stores value (borrowed) at element (i, j), growing the array exactly
// enough; 0, or -1 with an exception set.
int TamVar_store(TamVar_Object* v, long i, long j, PyObject* value);
