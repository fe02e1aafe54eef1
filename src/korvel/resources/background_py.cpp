// BackgroundData: one background resource, its image and its scaled copies.
#include "korvel_py/background.h"

#include <structmember.h>

#include <cstddef>

#include "common/fields_py.h"
#include "common/threeway_py.h"
#include "korvel_py/common.h"
#include "korvel_py/globals.h"
#include "korvel_py/ref.h"
#include "korvel/resources/restore_py.h"

using korvel::Ref;

namespace {

BackgroundData* background(PyObject* o) { return reinterpret_cast<BackgroundData*>(o); }

PyObject* BackgroundData_new(PyTypeObject* type, PyObject*, PyObject*) {
  Ref self = Ref::steal(type->tp_alloc(type, 0));  // zeroed: every field safe for dealloc
  if (!self) return nullptr;
  BackgroundData* b = background(self.get());
  b->name = Py_NewRef(Py_None);
  b->surf = Py_NewRef(Py_None);
  b->scaled_data_cache = PyDict_New();
  if (!b->scaled_data_cache) return nullptr;
  return self.release();
}

// The references, in the order traversal and clearing take them.
constexpr Py_ssize_t kReferences[] = {
    offsetof(BackgroundData, name),
    offsetof(BackgroundData, surf),
    offsetof(BackgroundData, scaled_data_cache),
};

int BackgroundData_traverse(PyObject* o, visitproc visit, void* arg) {
  return korvel::visit_references(o, kReferences, visit, arg);
}

int BackgroundData_clear(PyObject* o) {
  korvel::clear_references(o, kReferences);
  return 0;
}

void BackgroundData_dealloc(PyObject* o) {
  PyObject_GC_UnTrack(o);
  BackgroundData_clear(o);
  Py_TYPE(o)->tp_free(o);
}

PyObject* BackgroundData_nb_int(PyObject* self) {
  return Game_Sequence_Index(self, "backgrounds");
}

PyObject* BackgroundData_nb_float(PyObject* self) {
  return Game_Sequence_Index_F(self, "backgrounds");
}

PyObject* BackgroundData_str(PyObject* self) { return Game_Sequence_Index_S(self, "backgrounds"); }

// Backgrounds compare three-way, by resource number.
PyObject* BackgroundData_richcompare(PyObject* a, PyObject* b, int op) {
  return korvel::threeway_to_rich(Object_AsInt_compare(a, b), op);
}

PyObject* BackgroundData_reduce(PyObject* o, PyObject*) {
  BackgroundData* b = background(o);
  // guard: an emptied name raises as reading it does, instead of pickling null
  if (!b->name) return korvel::resources::empty_member(o, "name");
  return Py_BuildValue("(O()(Oi))", reinterpret_cast<PyObject*>(Py_TYPE(o)), b->name,
                       b->transparent);
}

PyObject* BackgroundData_setstate(PyObject* self, PyObject* args) {
  PyObject* state;
  if (!PyArg_ParseTuple(args, "O", &state)) return nullptr;
  BackgroundData* b = background(self);
  // Item 1 before item 0, as the game data was written.
  long transparent = seqi(state, 1);
  if (transparent == -1 && PyErr_Occurred()) return nullptr;
  b->transparent = int32_t(transparent);
  PyObject* name = PySequence_GetItem(state, 0);  // a list or tuple: seqi checked it
  if (!name) return nullptr;
  Py_XSETREF(b->name, name);
  Py_XSETREF(b->scaled_data_cache, PyDict_New());
  if (!b->scaled_data_cache) return nullptr;
  Py_XSETREF(b->surf, Py_NewRef(Py_None));
  // The loader finds the name on the object and sets surf, w and h.
  Ref loader_args = Ref::steal(Py_BuildValue("(O)", self));
  return korvel::resources::load_and_register(self, tam6_BackgroundData_load_images,
                                              "BackgroundData_load_images", loader_args.get());
}

PyNumberMethods BackgroundData_numbermethods = {
    .nb_int = BackgroundData_nb_int,
    .nb_float = BackgroundData_nb_float,
};

PyMemberDef BackgroundData_members[] = {
    {"name", T_OBJECT_EX, offsetof(BackgroundData, name), 0, ""},
    {"surf", T_OBJECT_EX, offsetof(BackgroundData, surf), 0, ""},
    {"scaled_data_cache", T_OBJECT_EX, offsetof(BackgroundData, scaled_data_cache), 0, ""},
    {"w", T_INT, offsetof(BackgroundData, w), 0, ""},
    {"h", T_INT, offsetof(BackgroundData, h), 0, ""},
    {"transparent", T_INT, offsetof(BackgroundData, transparent), 0, ""},
    {nullptr, 0, 0, 0, nullptr}};

PyMethodDef BackgroundData_methods[] = {
    {"__reduce__", BackgroundData_reduce, METH_VARARGS, "__reduce__($self, /, *args)\n--\n\n"},
    {"__setstate__", BackgroundData_setstate, METH_VARARGS,
     "__setstate__($self, state, /)\n--\n\n"
     "Unpickler"},
    {nullptr, nullptr, 0, nullptr}};

}  // namespace

PyTypeObject BackgroundData_Type = {
    .ob_base = PyVarObject_HEAD_INIT(nullptr, 0)
    .tp_name = "korvel.BackgroundData",
    .tp_basicsize = sizeof(BackgroundData),
    .tp_dealloc = BackgroundData_dealloc,
    .tp_as_number = &BackgroundData_numbermethods,
    .tp_str = BackgroundData_str,
    .tp_flags = Py_TPFLAGS_DEFAULT | Py_TPFLAGS_HAVE_GC,
    .tp_doc = "Tam-compatible backgrounds.",
    .tp_traverse = BackgroundData_traverse,
    .tp_clear = BackgroundData_clear,
    .tp_richcompare = BackgroundData_richcompare,
    .tp_methods = BackgroundData_methods,
    .tp_members = BackgroundData_members,
    .tp_new = BackgroundData_new,
};
