// Drawing one view of a room, for Room_Draw.
#pragma once
#include <Python.h>

// Draws view x (0 to 7) of room onto surface_py: follows the view's
// instance, sets the view scale, draws the backgrounds and then every item of
// depthsorted (a tuple). 1 when everything drew; 0 otherwise, usually with
// an exception set.
int Room_DrawView(PyObject* room, PyObject* surface_py, int x, PyObject* depthsorted);

// Resolves and caches the instance's draw code in its "py_Draw"; runs the
// code when there is some. 1 on success, 0 when something failed.
int init_instance_drawfunc(PyObject* o);
