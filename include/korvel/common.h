// Helpers shared by the resource and room types: member-tuple pickling,
// comparison by integer value, small conversions, resource numbers, the
// "self" stack and instance lookup. Ownership follows CPython: PyObject*
// results are new references unless a comment says otherwise.
#pragma once
#include <Python.h>

struct SDL_Surface;

// Item idx of a list (or list subtype) or tuple read as a long; -1 with an
// exception when it is not an integer.
long seqi(PyObject* seq, Py_ssize_t idx);
// A room's __reduce__ / __setstate__ through its type's member table.
PyObject* membertuple(PyObject* self, PyObject* args);
PyObject* load_membertuple(PyObject* self, PyObject* args);
PyObject* Truth(int cond);
// Comparison of objects that stand for integers (resource numbers).
int Object_AsInt_compare(PyObject* a, PyObject* b);
PyObject* Object_AsInt_richcompare(PyObject* a, PyObject* b, int cond);
// A script colour integer, or (r, g, b[, a]) packed in the screen's format.
long color_as_int(PyObject* o);
// A display-format copy of surf with an alpha channel; the caller frees it.
SDL_Surface* RGBA_copy(SDL_Surface* surf);

// Position of self in tam6.game.<seqname>, found by identity.
PyObject* Game_Sequence_Index(PyObject* self, const char* seqname);
PyObject* Game_Sequence_Index_F(PyObject* self, const char* seqname);
PyObject* Game_Sequence_Index_S(PyObject* self, const char* seqname);
PyObject* invoke_4(PyObject* func, PyObject* self, PyObject* arg2, PyObject* arg3,
                   PyObject* arg4);
PyObject* invoke(PyObject* func, PyObject* arg);
// Scripts' "self", saved on tamapi's self stack around a callback.
int PushSelf(PyObject* o);
void PopSelf();
// The first instance of an object record or of its descendants, or null.
PyObject* GetFirstInstance(PyObject* o);
