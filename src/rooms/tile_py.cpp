// RoomTileData: one tile of a room, a plain record of ints that converts to
// its tile number.
#include <Python.h>
#include <structmember.h>

#include <cstddef>
#include <cstdint>

#include "common/fields_py.h"
#include "common/threeway_py.h"
#include "korvel_py/common.h"
#include "korvel_py/ref.h"
#include "korvel_py/room.h"

namespace {

#define TILE_INT(field) {#field, T_INT, offsetof(RoomTileData, field), 0, ""}

PyMemberDef RoomTileData_members[] = {
    TILE_INT(x),
    TILE_INT(y),
    TILE_INT(id),
    TILE_INT(background_idx),
    TILE_INT(tilex),
    TILE_INT(tiley),
    TILE_INT(w),
    TILE_INT(h),
    TILE_INT(layer_depth),
    TILE_INT(locked),
    {nullptr, 0, 0, 0, nullptr}};

#undef TILE_INT

RoomTileData* tile(PyObject* o) { return reinterpret_cast<RoomTileData*>(o); }

// The pickled state's order: the record's own, not the attribute table's.
constexpr Py_ssize_t kState[] = {
    offsetof(RoomTileData, x),
    offsetof(RoomTileData, y),
    offsetof(RoomTileData, background_idx),
    offsetof(RoomTileData, tilex),
    offsetof(RoomTileData, tiley),
    offsetof(RoomTileData, w),
    offsetof(RoomTileData, h),
    offsetof(RoomTileData, layer_depth),
    offsetof(RoomTileData, id),
    offsetof(RoomTileData, locked),
};

PyObject* RoomTileData_reduce(PyObject* self, PyObject*) {
  korvel::Ref state = korvel::ints_state(self, kState);
  if (!state) return nullptr;
  return Py_BuildValue("(O()O)", &RoomTileData_Type, state.get());
}

// A short or malformed state stops at its first bad item; the fields read
// so far keep their values.
PyObject* RoomTileData_setstate(PyObject* self, PyObject* args) {
  PyObject* state;
  if (!PyArg_ParseTuple(args, "O", &state)) return nullptr;
  if (!korvel::read_ints_state(self, state, kState)) return nullptr;
  Py_RETURN_NONE;
}

PyMethodDef RoomTileData_methods[] = {
    {"__reduce__", RoomTileData_reduce, METH_VARARGS, "__reduce__($self, /, *args)\n--\n\n"},
    {"__setstate__", RoomTileData_setstate, METH_VARARGS, "__setstate__($self, state, /)\n--\n\n"},
    {nullptr, nullptr, 0, nullptr}};

PyObject* RoomTileData_int(PyObject* o) { return PyLong_FromLong(tile(o)->id); }
PyObject* RoomTileData_float(PyObject* o) { return PyFloat_FromDouble(tile(o)->id); }
PyObject* RoomTileData_str(PyObject* o) { return PyUnicode_FromFormat("%d", tile(o)->id); }

PyObject* RoomTileData_richcompare(PyObject* a, PyObject* b, int op) {
  return korvel::threeway_to_rich(Object_AsInt_compare(a, b), op);
}

PyNumberMethods RoomTileData_as_number = {
    .nb_int = RoomTileData_int,
    .nb_float = RoomTileData_float,
};

}  // namespace

PyTypeObject RoomTileData_Type = {
    .ob_base = PyVarObject_HEAD_INIT(nullptr, 0)
    .tp_name = "korvel.RoomTileData",
    .tp_basicsize = sizeof(RoomTileData),
    .tp_as_number = &RoomTileData_as_number,
    .tp_str = RoomTileData_str,
    .tp_flags = Py_TPFLAGS_DEFAULT,
    .tp_doc = "Tam-compatible room tile entries.",
    .tp_richcompare = RoomTileData_richcompare,
    .tp_methods = RoomTileData_methods,
    .tp_members = RoomTileData_members,
    // A zeroed tile, for the unpickler and the runtime.
    .tp_new = PyType_GenericNew,
};
