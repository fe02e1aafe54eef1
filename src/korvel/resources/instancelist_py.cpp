// InstanceList: a host list whose append, remove, insert and item assignment
// resolve instance numbers to the instances themselves.
#include "korvel_py/instancelist.h"

#include <cstring>

#include "korvel_py/globals.h"
#include "korvel_py/ref.h"
#include "korvel_py/tamvar.h"

using korvel::Ref;

namespace {

bool is_instance_like(PyObject* v) {
  PyObject* type = reinterpret_cast<PyObject*>(Py_TYPE(v));
  return type == global_objectinstancezero_type || type == global_objectinstancebase_type ||
         type == global_particlesystem_type;
}

enum class Missing { silent, key_error };

// The instance an instance-like value stands for: an instance as it is, a
// TamVar by its element 0, anything else as an instance number looked up in
// the runtime's instance dictionary. A new reference, or null: with an
// exception, or for an unknown number without one when missing is silent.
PyObject* resolve(PyObject* o, Missing missing) {
  Ref value = Ref::borrow(TamVar_unwrap(o));
  if (is_instance_like(value.get())) return value.release();
  Ref number = Ref::steal(PyNumber_Long(value.get()));
  if (!number) return nullptr;
  PyObject* instances = korvel::hooked(global_instances_dict, "instance dictionary");
  if (!instances) return nullptr;
  // RegisterInstancesDict stores nothing but a dict here.
  // guard: a dictionary-found instance gets its own reference, so that the
  // list's stores and the caller's release balance
  PyObject* found = Py_XNewRef(PyDict_GetItemWithError(instances, number.get()));
  // guard: an unknown number where none may be missing raises KeyError
  // instead of storing an empty slot
  if (!found && !PyErr_Occurred() && missing == Missing::key_error)
    PyErr_SetObject(PyExc_KeyError, number.get());
  return found;
}

PyObject* InstanceList_append(PyObject* self, PyObject* args) {
  PyObject* o;
  if (!PyArg_ParseTuple(args, "O", &o)) return nullptr;
  Ref instance = Ref::steal(resolve(o, Missing::silent));
  if (!instance || PyList_Append(self, instance.get()) < 0) return nullptr;
  Py_RETURN_NONE;
}

// First occurrence by identity: no script comparison runs, and the tail moves
// down in place.
PyObject* InstanceList_remove(PyObject* self, PyObject* args) {
  PyObject* o;
  if (!PyArg_ParseTuple(args, "O", &o)) return nullptr;
  Ref instance = Ref::steal(resolve(o, Missing::silent));
  if (!instance) return nullptr;
  PyObject** items = reinterpret_cast<PyListObject*>(self)->ob_item;
  Py_ssize_t n = PyList_GET_SIZE(self);
  for (Py_ssize_t k = 0; k < n; ++k) {
    if (items[k] != instance.get()) continue;
    PyObject* removed = items[k];
    std::memmove(items + k, items + k + 1, size_t(n - k - 1) * sizeof(PyObject*));
    Py_SET_SIZE(self, n - 1);
    items[n - 1] = nullptr;
    // Released last: a finaliser it runs sees a consistent list.
    Py_DECREF(removed);
    Py_RETURN_NONE;
  }
  return nullptr;  // absent or empty: null without an exception
}

PyObject* InstanceList_insert(PyObject* self, PyObject* args) {
  int where;
  PyObject* o;
  if (!PyArg_ParseTuple(args, "iO", &where, &o)) return nullptr;
  Ref instance = Ref::steal(resolve(o, Missing::key_error));
  if (!instance || PyList_Insert(self, where, instance.get()) < 0) return nullptr;
  Py_RETURN_NONE;
}

int InstanceList_assitem(PyObject* self, Py_ssize_t i, PyObject* v) {
  // guard: deletion through this slot (__delitem__) is the host list's own
  if (!v) return PyList_Type.tp_as_sequence->sq_ass_item(self, i, nullptr);
  // Past the end, or still negative after the host added the length: -1
  // without an exception.
  if (i < 0 || i >= PyList_GET_SIZE(self)) return -1;
  PyObject* instance = resolve(v, Missing::key_error);
  if (!instance) return -1;
  // guard: PyList_SetItem checks the index again, as resolving may run
  // script code that shortens the list
  return PyList_SetItem(self, i, instance);
}

Py_ssize_t InstanceList_length(PyObject* self) { return PyList_GET_SIZE(self); }

PyObject* InstanceList_reduce(PyObject* self, PyObject*) {
  Ref items = Ref::steal(PySequence_Tuple(self));
  if (!items) return nullptr;
  return Py_BuildValue("O()O", reinterpret_cast<PyObject*>(&InstanceList_Type), items.get());
}

// The items are stored as given: numbers in a state are not resolved.
PyObject* InstanceList_setstate(PyObject* self, PyObject* args) {
  PyObject* state;
  if (!PyArg_ParseTuple(args, "O", &state)) return nullptr;
  if (PyList_SetSlice(self, 0, PyList_GET_SIZE(self), state) < 0) return nullptr;
  Py_RETURN_NONE;
}

int InstanceList_traverse(PyObject* self, visitproc visit, void* arg) {
  for (Py_ssize_t k = PyList_GET_SIZE(self) - 1; k >= 0; --k)
    Py_VISIT(PyList_GET_ITEM(self, k));
  return 0;
}

int InstanceList_clear(PyObject* self) { return PyList_Type.tp_clear(self); }

void InstanceList_dealloc(PyObject* self) { PyList_Type.tp_dealloc(self); }

PySequenceMethods InstanceList_as_sequence = {
    .sq_length = InstanceList_length,
    .sq_ass_item = InstanceList_assitem,
};

PyMethodDef InstanceList_methods[] = {
    {"append", InstanceList_append, METH_VARARGS,
     "append($self, instance, /)\n--\n\n"
     "Add an instance"},
    {"remove", InstanceList_remove, METH_VARARGS,
     "remove($self, instance, /)\n--\n\n"
     "Remove an instance."},
    {"insert", InstanceList_insert, METH_VARARGS,
     "insert($self, index, instance, /)\n--\n\n"
     "Insert an instance into the list."},
    {"__reduce__", InstanceList_reduce, METH_VARARGS, "__reduce__($self, /, *args)\n--\n\n"},
    {"__setstate__", InstanceList_setstate, METH_VARARGS, "__setstate__($self, state, /)\n--\n\n"},
    {nullptr, nullptr, 0, nullptr}};

}  // namespace

// The host list keeps the items in its own array: no item size here.
PyTypeObject InstanceList_Type = {
    .ob_base = PyVarObject_HEAD_INIT(nullptr, 0)
    .tp_name = "korvel.InstanceList",
    .tp_basicsize = sizeof(PyListObject),
    .tp_dealloc = InstanceList_dealloc,
    .tp_as_sequence = &InstanceList_as_sequence,
    .tp_flags = Py_TPFLAGS_DEFAULT | Py_TPFLAGS_HAVE_GC,
    .tp_doc = "InstanceList",
    .tp_traverse = InstanceList_traverse,
    .tp_clear = InstanceList_clear,
    .tp_methods = InstanceList_methods,
};

void InstanceList_prepare() {
  InstanceList_Type.tp_base = &PyList_Type;
  Py_INCREF(&PyList_Type);
}
