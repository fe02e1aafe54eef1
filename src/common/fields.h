// Reference fields of a record, named by their offsets: one list per type
// drives its collector traversal and its clearing, in the list's order.
#pragma once
#include <Python.h>

#include <span>

namespace korvel {

// The owned reference (or null) that o holds at offset bytes.
inline PyObject*& reference_at(PyObject* o, Py_ssize_t offset) {
  return *reinterpret_cast<PyObject**>(reinterpret_cast<char*>(o) + offset);
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

}  // namespace korvel
