// Three-way comparison results surfaced through rich comparison.
#pragma once
#include <Python.h>

namespace korvel {

// The rich result of a three-way compare (-1, 0, 1) for operator op. When
// the three-way call failed with an exception set, pass its -1: the error is
// returned as an error.
PyObject* threeway_to_rich(int result, int op);

}  // namespace korvel
