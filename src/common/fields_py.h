// Fields of a record, named by their offsets: one list per type drives its
// collector traversal and clearing, or its pickled state, in the list's order.
#pragma once
#include <Python.h>

#include <cstdint>
#include <span>

#include "korvel_py/common.h"
#include "korvel_py/ref.h"

namespace korvel {

// The owned reference (or null) that o holds at offset bytes.
inline PyObject*& reference_at(PyObject* o, Py_ssize_t offset) {
  return *reinterpret_cast<PyObject**>(reinterpret_cast<char*>(o) + offset);
}

inline int32_t& int_at(PyObject* o, Py_ssize_t offset) {
  return *reinterpret_cast<int32_t*>(reinterpret_cast<char*>(o) + offset);
}

// tp_traverse: visits the fields in order, skipping empty ones, and stops
// at the first non-zero result.
inline int visit_references(PyObject* o, std::span<const Py_ssize_t> offsets, visitproc visit,
                            void* arg) {
  for (Py_ssize_t offset : offsets) Py_VISIT(reference_at(o, offset));
  return 0;
}

// Empties each field and then releases what it held, in order.
inline void clear_references(PyObject* o, std::span<const Py_ssize_t> offsets) {
  for (Py_ssize_t offset : offsets) Py_CLEAR(reference_at(o, offset));
}

// A state tuple: the int fields as ints, then extra items that the caller
// sets (they are empty until then).
inline Ref ints_state(PyObject* o, std::span<const Py_ssize_t> offsets, Py_ssize_t extra = 0) {
  Ref state = Ref::steal(PyTuple_New(Py_ssize_t(offsets.size()) + extra));
  if (!state) return state;
  for (std::size_t i = 0; i < offsets.size(); ++i) {
    PyObject* v = PyLong_FromLong(int_at(o, offsets[i]));
    if (!v) return Ref();
    PyTuple_SET_ITEM(state.get(), Py_ssize_t(i), v);
  }
  return state;
}

// Sets the int fields from items 0, 1, ... of state (read as seqi does).
// False with the exception at the first item that fails; the fields before
// it keep their new values.
inline bool read_ints_state(PyObject* o, PyObject* state, std::span<const Py_ssize_t> offsets) {
  for (std::size_t i = 0; i < offsets.size(); ++i) {
    long v = seqi(state, Py_ssize_t(i));
    if (v == -1 && PyErr_Occurred()) return false;
    int_at(o, offsets[i]) = int32_t(v);
  }
  return true;
}

}  // namespace korvel
