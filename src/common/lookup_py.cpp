// Resource numbers by position in the game's lists, the scripts' "self"
// stack, the first instance of an object, and two call helpers.
#include <Python.h>

#include <cstdio>

#include "korvel_py/common.h"
#include "korvel_py/globals.h"
#include "korvel_py/ref.h"

using korvel::Ref;

int korvel::sequence_position(PyObject* self, const char* seqname, Py_ssize_t* pos) {
  if (!tam6) return 0;
  Ref game = Ref::steal(PyObject_GetAttrString(tam6, "game"));
  if (!game) return -1;
  Ref seq = Ref::steal(PyObject_GetAttrString(game.get(), seqname));
  if (!seq) return -1;
  // guard: a resource list that is neither list nor tuple raises TypeError
  if (!PyList_Check(seq.get()) && !PyTuple_Check(seq.get())) {
    PyErr_Format(PyExc_TypeError, "tam6.game.%s must be a list or tuple, not '%.200s'",
                 seqname, Py_TYPE(seq.get())->tp_name);
    return -1;
  }
  // Identity, not equality: no script comparison runs, so the items cannot change under us.
  PyObject** items = PySequence_Fast_ITEMS(seq.get());
  for (Py_ssize_t x = 0; x < PySequence_Fast_GET_SIZE(seq.get()); ++x) {
    if (items[x] == self) {
      *pos = x;
      return 1;
    }
  }
  return 0;
}

PyObject* Game_Sequence_Index(PyObject* self, const char* seqname) {
  Py_ssize_t x;
  if (korvel::sequence_position(self, seqname, &x) <= 0) return nullptr;
  return PyLong_FromSsize_t(x);
}

PyObject* Game_Sequence_Index_F(PyObject* self, const char* seqname) {
  Py_ssize_t x;
  if (korvel::sequence_position(self, seqname, &x) <= 0) return nullptr;
  return PyFloat_FromDouble(double(x));
}

PyObject* Game_Sequence_Index_S(PyObject* self, const char* seqname) {
  Py_ssize_t x = 0;  // set when found; 0 keeps compilers that cannot see that quiet
  int found = korvel::sequence_position(self, seqname, &x);
  if (found < 0) return nullptr;
  return found ? PyUnicode_FromFormat("%zd", x) : PyUnicode_FromString("-1");
}

PyObject* invoke_4(PyObject* func, PyObject* self, PyObject* arg2, PyObject* arg3,
                   PyObject* arg4) {
  if (!korvel::hooked(func, "callback")) return nullptr;
  Ref args = Ref::steal(Py_BuildValue("(OOOO)", self, arg2, arg3, arg4));
  if (!args) return nullptr;
  return PyObject_Call(func, args.get(), nullptr);
}

PyObject* invoke(PyObject* func, PyObject* arg) {
  if (!korvel::hooked(func, "callback")) return nullptr;
  Ref args = Ref::steal(Py_BuildValue("(O)", arg));
  if (!args) return nullptr;
  return PyObject_Call(func, args.get(), nullptr);
}

namespace {

// guard: the self stack must have been registered as a list
PyObject* self_stack() {
  if (!korvel::hooked(tamapi_py_self_stack, "py_self_stack")) return nullptr;
  if (!PyList_Check(tamapi_py_self_stack)) {
    PyErr_SetString(PyExc_TypeError, "tamapi.py_self_stack must be a list");
    return nullptr;
  }
  return tamapi_py_self_stack;
}

PyObject* first_instance(PyObject* o);

}  // namespace

int PushSelf(PyObject* o) {
  PyObject* stack = self_stack();
  if (!stack) return -1;
  Ref old = Ref::steal(PyObject_GetAttrString(tamapi, "self"));
  if (!old || PyList_Append(stack, old.get()) < 0) return -1;
  return PyObject_SetAttrString(tamapi, "self", o);
}

void PopSelf() {
  PyObject* stack = self_stack();
  if (!stack) return;
  Py_ssize_t pos = PyList_GET_SIZE(stack) - 1;
  if (pos < 0) {
    fprintf(stderr, "Error in PyList_GetItem %d\n", int(pos));
    return;
  }
  // Held across the assignment: replacing "self" may run script code.
  Ref item = Ref::borrow(PyList_GET_ITEM(stack, pos));
  if (PyObject_SetAttrString(tamapi, "self", item.get()) < 0) return;
  PySequence_DelItem(stack, pos);
}

PyObject* GetFirstInstance(PyObject* o) {
  // guard: a cycle among children raises RecursionError instead of overflowing the stack
  if (Py_EnterRecursiveCall(" in GetFirstInstance")) return nullptr;
  PyObject* found = first_instance(o);
  Py_LeaveRecursiveCall();
  return found;
}

namespace {

// Depth first, pre-order: an object's own instances before its descendants'.
PyObject* first_instance(PyObject* o) {
  Ref instances = Ref::steal(PyObject_GetAttrString(o, "instances"));
  if (!instances) return nullptr;
  Py_ssize_t n = PySequence_Size(instances.get());
  if (n < 0) return nullptr;
  if (n > 0) return PySequence_GetItem(instances.get(), 0);
  Ref children = Ref::steal(PyObject_GetAttrString(o, "children"));
  if (!children) return nullptr;
  Py_ssize_t k = PySequence_Size(children.get());
  if (k < 0) return nullptr;
  for (Py_ssize_t i = 0; i < k; ++i) {
    Ref child = Ref::steal(PySequence_GetItem(children.get(), i));
    if (!child) return nullptr;
    PyObject* r = GetFirstInstance(child.get());
    if (r || PyErr_Occurred()) return r;
  }
  return nullptr;
}

}  // namespace
