// Floatlist8: eight doubles that index like a list and, in arithmetic,
// comparison and conversions, act as their first element.
#include "korvel_py/floatlist8.h"

#include <cmath>
#include <cstdint>

#include "common/threeway_py.h"
#include "korvel_py/ref.h"
#include "korvel/pixels/truncate.h"

using korvel::Ref;

namespace {

Floatlist8* as_list(PyObject* o) { return reinterpret_cast<Floatlist8*>(o); }

// The host's float conversion, which also reads numeric strings.
// guard: a value without one fails with the conversion's own error
bool to_double(PyObject* o, double* out) {
  Ref f = Ref::steal(PyNumber_Float(o));
  if (!f) return false;
  *out = PyFloat_AS_DOUBLE(f.get());
  return true;
}

// Eight zeros: the way a pickle loader makes the list it then restores.
PyObject* Floatlist8_new(PyTypeObject* type, PyObject* args, PyObject* kwds) {
  if (PyTuple_GET_SIZE(args) != 0 || (kwds && PyDict_GET_SIZE(kwds) != 0)) {
    PyErr_SetString(PyExc_TypeError, "Floatlist8() takes no arguments");
    return nullptr;
  }
  return type->tp_alloc(type, 0);  // the host's allocation zeroes the record
}

Py_ssize_t Floatlist8_length(PyObject*) { return 8; }

bool in_range(Py_ssize_t idx) {
  if (size_t(idx) <= 7) return true;
  // guard: IndexError, so that iteration and unpacking end after eight items
  PyErr_SetString(PyExc_IndexError, "Floatlist8 index out of range");
  return false;
}

PyObject* Floatlist8_item(PyObject* self, Py_ssize_t idx) {
  if (!in_range(idx)) return nullptr;
  return PyFloat_FromDouble(as_list(self)->f[idx]);
}

int Floatlist8_ass_item(PyObject* self, Py_ssize_t idx, PyObject* value) {
  if (!in_range(idx)) return -1;
  if (!value) {  // guard: a clear error instead of converting an absent value
    PyErr_SetString(PyExc_TypeError, "Floatlist8 items cannot be deleted");
    return -1;
  }
  double d;
  if (!to_double(value, &d)) return -1;
  as_list(self)->f[idx] = d;
  return 0;
}

PyObject* Floatlist8_int(PyObject* self) { return PyLong_FromDouble(as_list(self)->f[0]); }

PyObject* Floatlist8_float(PyObject* self) { return PyFloat_FromDouble(as_list(self)->f[0]); }

// Whole values print as integers; any other value prints as the two
// characters "%f", which is what the list has always shown.
PyObject* Floatlist8_str(PyObject* self) {
  double d = as_list(self)->f[0];
  if (d == std::floor(d)) return PyUnicode_FromFormat("%d", int(korvel::pixels::trunc_i32(d)));
  return PyUnicode_FromString("%f");
}

enum class Op { add, sub, mul, div };

double apply(Op op, double a, double b) {
  switch (op) {
    case Op::add: return a + b;
    case Op::sub: return a - b;
    case Op::mul: return a * b;
    case Op::div: return a / b;  // IEEE: a zero divisor gives an infinity or NaN
  }
  return 0.0;
}

// A new list: element 0 is the list's element 0 OP the other operand, the
// rest copied. The list's element 0 always comes first, whichever side the
// list stood on: 10 - fl is fl[0] - 10.
PyObject* arithmetic(PyObject* a, PyObject* b, Op op) {
  bool left_is_list = Py_IS_TYPE(a, &Floatlist8_Type);
  PyObject* list = left_is_list ? a : b;
  PyObject* other = left_is_list ? b : a;
  double x;
  if (!to_double(other, &x)) return nullptr;
  PyObject* result = Py_TYPE(list)->tp_alloc(Py_TYPE(list), 0);
  if (!result) return nullptr;
  const double* f = as_list(list)->f;
  double* g = as_list(result)->f;
  for (int k = 1; k < 8; ++k) g[k] = f[k];
  g[0] = apply(op, f[0], x);
  return result;
}

PyObject* Floatlist8_add(PyObject* a, PyObject* b) { return arithmetic(a, b, Op::add); }
PyObject* Floatlist8_sub(PyObject* a, PyObject* b) { return arithmetic(a, b, Op::sub); }
PyObject* Floatlist8_mul(PyObject* a, PyObject* b) { return arithmetic(a, b, Op::mul); }
PyObject* Floatlist8_div(PyObject* a, PyObject* b) { return arithmetic(a, b, Op::div); }

// In place: every holder of the list sees the change.
PyObject* Floatlist8_isub(PyObject* self, PyObject* other) {
  double x;
  if (!to_double(other, &x)) return nullptr;
  as_list(self)->f[0] -= x;
  return Py_NewRef(self);
}

PyObject* Floatlist8_richcompare(PyObject* a, PyObject* b, int op) {
  return korvel::threeway_to_rich(Floatlist8_compare(a, b), op);
}

PyObject* Floatlist8_reduce(PyObject* self, PyObject*) {
  const double* f = as_list(self)->f;
  return Py_BuildValue("O()(dddddddd)", Py_TYPE(self), f[0], f[1], f[2], f[3], f[4], f[5],
                       f[6], f[7]);
}

PyObject* Floatlist8_setstate(PyObject* self, PyObject* args) {
  PyObject* state;
  if (!PyArg_ParseTuple(args, "O", &state)) return nullptr;
  // guard: a state that is not eight numbers is refused with the list unchanged
  Ref items = Ref::steal(PySequence_Fast(state, "Floatlist8 state must be a sequence"));
  if (!items) return nullptr;
  if (PySequence_Fast_GET_SIZE(items.get()) < 8) {
    PyErr_SetString(PyExc_ValueError, "Floatlist8 state needs 8 floats");
    return nullptr;
  }
  double f[8];
  for (int k = 0; k < 8; ++k) {
    f[k] = PyFloat_AsDouble(PySequence_Fast_GET_ITEM(items.get(), k));
    if (f[k] == -1.0 && PyErr_Occurred()) return nullptr;
  }
  for (int k = 0; k < 8; ++k) as_list(self)->f[k] = f[k];
  Py_RETURN_NONE;
}

// No negation, absolute value, truth or remainder: truth falls back to the
// length, so every list is true.
PyNumberMethods Floatlist8_as_number = {
    .nb_add = Floatlist8_add,
    .nb_subtract = Floatlist8_sub,
    .nb_multiply = Floatlist8_mul,
    .nb_int = Floatlist8_int,
    .nb_float = Floatlist8_float,
    .nb_inplace_subtract = Floatlist8_isub,
    .nb_true_divide = Floatlist8_div,
};

PySequenceMethods Floatlist8_as_sequence = {
    .sq_length = Floatlist8_length,
    .sq_item = Floatlist8_item,
    .sq_ass_item = Floatlist8_ass_item,
};

PyMethodDef Floatlist8_methods[] = {
    {"__reduce__", Floatlist8_reduce, METH_VARARGS, "__reduce__($self, /, *args)\n--\n\n"},
    {"__setstate__", Floatlist8_setstate, METH_VARARGS, "__setstate__($self, state, /)\n--\n\n"},
    {nullptr, nullptr, 0, nullptr}};

}  // namespace

// The other operand may be anything with a float conversion, so a list
// compares by element 0 with numbers and with other lists. NaN equals all.
int Floatlist8_compare(PyObject* a, PyObject* b) {
  double aa, bb;
  if (!to_double(a, &aa) || !to_double(b, &bb)) return -1;
  if (bb > aa) return -1;
  if (aa > bb) return 1;
  return 0;
}

PyTypeObject Floatlist8_Type = {
    .ob_base = PyVarObject_HEAD_INIT(nullptr, 0)
    .tp_name = "korvel.Floatlist8",
    .tp_basicsize = sizeof(Floatlist8),
    .tp_itemsize = 0,
    .tp_as_number = &Floatlist8_as_number,
    .tp_as_sequence = &Floatlist8_as_sequence,
    .tp_str = Floatlist8_str,
    .tp_flags = Py_TPFLAGS_DEFAULT,
    .tp_doc = "A list of 8 floats.",
    .tp_richcompare = Floatlist8_richcompare,
    .tp_methods = Floatlist8_methods,
    .tp_new = Floatlist8_new,
};

// guard: scripts may store anything in a list field
Floatlist8* Floatlist8_of(PyObject* o, const char* owner, const char* field) {
  if (!o || Py_TYPE(o) != &Floatlist8_Type) {
    PyErr_Format(PyExc_TypeError, "%s.%s must be a Floatlist8, not '%.200s'", owner, field,
                 Py_TYPE(o ? o : Py_None)->tp_name);
    return nullptr;
  }
  return reinterpret_cast<Floatlist8*>(o);
}

bool read_slot(PyObject* o, const char* owner, const char* field, int v, double* out) {
  Floatlist8* l = Floatlist8_of(o, owner, field);
  if (l) *out = l->f[v];
  return l != nullptr;
}
