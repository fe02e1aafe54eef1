// The common tail of a resource's __setstate__.
#pragma once
#include <Python.h>

namespace korvel::resources {

// Calls the runtime's image loader with loader_args, then publishes self in
// tamapi's namespace under its (possibly loader-changed) name. None, or null
// with the failing step's message written and its exception set.
PyObject* load_and_register(PyObject* self, PyObject* loader, const char* loader_name,
                            PyObject* loader_args);

// The AttributeError of reading an empty object member.
PyObject* empty_member(PyObject* self, const char* name);

}  // namespace korvel::resources
