// Beancounter: counts the living particles attached to it; int() reads it.
#include <Python.h>

#include "korvel_py/particles.h"

namespace {

// Scripts may make a counter themselves: it starts at 0.
PyObject* Beancounter_new(PyTypeObject* type, PyObject* args, PyObject* kwds) {
  if (!PyArg_ParseTuple(args, ":Beancounter") || (kwds && PyDict_GET_SIZE(kwds) != 0)) {
    if (!PyErr_Occurred())
      PyErr_SetString(PyExc_TypeError, "Beancounter() takes no keyword arguments");
    return nullptr;
  }
  auto* self = reinterpret_cast<Beancounter*>(type->tp_alloc(type, 0));
  if (!self) return nullptr;
  self->count = 0;
  return reinterpret_cast<PyObject*>(self);
}

PyObject* Beancounter_int(PyObject* self) {
  return PyLong_FromLong(reinterpret_cast<Beancounter*>(self)->count);
}

PyNumberMethods Beancounter_as_number = {.nb_int = Beancounter_int};

}  // namespace

PyTypeObject Beancounter_Type = {
    .ob_base = PyVarObject_HEAD_INIT(nullptr, 0)
    .tp_name = "korvel.Beancounter",
    .tp_basicsize = sizeof(Beancounter),
    .tp_as_number = &Beancounter_as_number,
    .tp_flags = Py_TPFLAGS_DEFAULT,
    .tp_doc = "A counter.",
    .tp_new = Beancounter_new,
};
