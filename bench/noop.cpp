// A native function that does nothing: the swarm benchmark times the
// runtime's particle loop calling it, which leaves korvel's own share of a
// particle when subtracted from the loop calling korvel.
#include <Python.h>

namespace {

// Any arguments, one positional tuple as korvel's functions take; returns 1
// so that the loop keeps every particle.
PyObject* noop(PyObject*, PyObject*) { return PyLong_FromLong(1); }

PyMethodDef methods[] = {{"noop", noop, METH_VARARGS, "Does nothing; returns 1."},
                         {nullptr, nullptr, 0, nullptr}};

PyModuleDef module = {PyModuleDef_HEAD_INIT, "korvel_bench_noop", nullptr, -1, methods,
                      nullptr, nullptr, nullptr, nullptr};

}  // namespace

PyMODINIT_FUNC PyInit_korvel_bench_noop() { return PyModule_Create(&module); }
