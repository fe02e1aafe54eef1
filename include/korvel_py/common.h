// Helpers shared by the resource and room types: member-tuple pickling,
// comparison by integer value, small conversions, resource numbers, the
// "self" stack and instance lookup. Ownership follows CPython: PyObject*
// results are new references unless a comment says otherwise.
#pragma once
#include <Python.h>

struct SDL_Surface;

// Exported from the module under their plain C names (CPython extensions
// hide symbols by default), so that native callers and the tests (through
// ctypes) reach these helpers by name.
#define KORVEL_EXPORT extern "C" __attribute__((visibility("default")))

// Item idx of a list (or list subtype) or tuple read as a long; -1 with an
// exception when it is missing or not an integer.
KORVEL_EXPORT long seqi(PyObject* seq, Py_ssize_t idx);
// A room's __reduce__ / __setstate__ through its type's member table.
KORVEL_EXPORT PyObject* membertuple(PyObject* self, PyObject* args);
KORVEL_EXPORT PyObject* load_membertuple(PyObject* self, PyObject* args);
KORVEL_EXPORT PyObject* Truth(int cond);
// Comparison of objects that stand for integers (resource numbers).
KORVEL_EXPORT int Object_AsInt_compare(PyObject* a, PyObject* b);
KORVEL_EXPORT PyObject* Object_AsInt_richcompare(PyObject* a, PyObject* b, int cond);
// A script colour integer, or (r, g, b[, a]) packed in the screen's format.
KORVEL_EXPORT long color_as_int(PyObject* o);
// A display-format copy of surf with an alpha channel; the caller frees it.
KORVEL_EXPORT SDL_Surface* RGBA_copy(SDL_Surface* surf);

// Position of self in tam6.game.<seqname>, found by identity. Absent: null
// without an exception ("-1" from the string variant).
KORVEL_EXPORT PyObject* Game_Sequence_Index(PyObject* self, const char* seqname);
KORVEL_EXPORT PyObject* Game_Sequence_Index_F(PyObject* self, const char* seqname);
KORVEL_EXPORT PyObject* Game_Sequence_Index_S(PyObject* self, const char* seqname);
KORVEL_EXPORT PyObject* invoke_4(PyObject* func, PyObject* self, PyObject* arg2,
                                 PyObject* arg3, PyObject* arg4);
KORVEL_EXPORT PyObject* invoke(PyObject* func, PyObject* arg);
// Scripts' "self", saved on tamapi's self stack around a callback.
KORVEL_EXPORT int PushSelf(PyObject* o);
KORVEL_EXPORT void PopSelf();
// The first instance of an object record or of its descendants; null
// without an exception when there is none.
KORVEL_EXPORT PyObject* GetFirstInstance(PyObject* o);

namespace korvel {

// Finds self by identity in tam6.game.<seqname>: 1 with *pos set, 0 when
// absent (or tam6 unbound), -1 with an exception when the list is missing.
int sequence_position(PyObject* self, const char* seqname, Py_ssize_t* pos);

}  // namespace korvel
