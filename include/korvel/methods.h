// The module functions of korvel's method table, one declaration each.
// Every one takes the positional argument tuple and returns a new reference
// or null with an exception set.
#pragma once
#include <Python.h>

PyObject* breakable(PyObject* self, PyObject* args);
PyObject* fill_translucent(PyObject* self, PyObject* args);
PyObject* init_subsystems(PyObject* self, PyObject* args);
PyObject* set_SDL_screen(PyObject* self, PyObject* args);
PyObject* RegisterInstancesDict(PyObject* self, PyObject* args);
PyObject* TamSprite_from_surface(PyObject* self, PyObject* args);
PyObject* Room_Draw(PyObject* self, PyObject* args);
