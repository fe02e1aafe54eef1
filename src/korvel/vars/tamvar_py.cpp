// TamVar: a script variable that is a scalar and a 1-D or 2-D array at once.
// Element (i, j) lives in slot j * arraylen + i; element 0 is the scalar.
#include "korvel_py/tamvar.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>

#include "korvel_py/ref.h"
#include "korvel/vars/tamvar_number_py.h"

using korvel::Ref;

namespace {

constexpr int32_t kMagic = int32_t(0xC0FFEE55u);

TamVar_Object* as_var(PyObject* o) { return reinterpret_cast<TamVar_Object*>(o); }

// The integer 0 that empty and missing elements read as; held for the life
// of the process so that TamVar_unwrap can hand it out borrowed.
PyObject* g_zero = nullptr;

PyObject* zero() {
  if (!g_zero) g_zero = PyLong_FromLong(0);
  return g_zero;
}

PyObject* new_zero() { return PyLong_FromLong(0); }

void release_block(PyObject** block, Py_ssize_t n) {
  for (Py_ssize_t k = n - 1; k >= 0; --k) Py_XDECREF(block[k]);
  PyMem_RawFree(block);
}

// Detaches the block before releasing it, so that a finaliser run by a
// release sees an empty variable instead of a half-released block.
void release_members(TamVar_Object* v) {
  PyObject** block = v->members;
  Py_ssize_t n = Py_ssize_t(v->arraylen) * v->array2Dlen;
  v->members = nullptr;
  v->arraylen = 0;
  v->array2Dlen = 0;
  release_block(block, n);
}

// Grows the block exactly enough to hold element (i, j), keeping every
// element at its (i, j). The array never shrinks.
bool hold(TamVar_Object* v, long i, long j) {
  if (i < v->arraylen && j < v->array2Dlen) return true;
  // guard: a size the record's 32-bit lengths cannot describe is an
  // allocation failure, not an overflow or a huge request
  if (i >= INT32_MAX || j >= INT32_MAX) {
    PyErr_NoMemory();
    return false;
  }
  int64_t len = std::max<int64_t>(v->arraylen, i + 1);
  // guard: after a clear there are no rows; a one-index write makes row 0
  int64_t rows = std::max<int64_t>(v->array2Dlen, j + 1);
  if (len * rows > INT32_MAX) {
    PyErr_NoMemory();
    return false;
  }
  auto* block = static_cast<PyObject**>(PyMem_RawCalloc(size_t(len * rows), sizeof(PyObject*)));
  if (!block) {
    PyErr_NoMemory();
    return false;
  }
  for (int64_t r = 0; r < v->array2Dlen; ++r)
    std::copy_n(v->members + r * v->arraylen, v->arraylen, block + r * len);
  PyMem_RawFree(v->members);
  v->members = block;
  v->arraylen = int32_t(len);
  v->array2Dlen = int32_t(rows);
  return true;
}

// An index as the host's integer conversion gives it: a float truncates, as
// it did for the scripts this type was made for.
bool index_of(PyObject* key, long* out) {
  Ref n = Ref::steal(PyNumber_Long(key));
  if (!n) return false;
  *out = PyLong_AsLong(n.get());
  return !(*out == -1 && PyErr_Occurred());
}

enum class Pair { error, not_numbers, ok };

// The two indices of a key like (i, j) or [i, j].
Pair pair_of(PyObject* key, long* i, long* j) {
  Ref first = Ref::steal(PySequence_GetItem(key, 0));
  if (!first) return Pair::error;
  Ref second = Ref::steal(PySequence_GetItem(key, 1));
  if (!second) return Pair::error;
  if (!PyNumber_Check(first.get()) || !PyNumber_Check(second.get())) return Pair::not_numbers;
  if (!index_of(first.get(), i) || !index_of(second.get(), j)) return Pair::error;
  return Pair::ok;
}

PyObject* negative_index() {
  PyErr_SetString(PyExc_IndexError, "TamVar index must not be negative");
  return nullptr;
}

}  // namespace

// The old occupant is released after the slot is set, so its finaliser
// sees the new value.
int TamVar_store(TamVar_Object* v, long i, long j, PyObject* value) {
  if (!hold(v, i, j)) return -1;
  Py_INCREF(value);
  Py_XSETREF(v->members[j * Py_ssize_t(v->arraylen) + i], value);
  return 0;
}

PyObject* TamVar_unwrap(PyObject* o) {
  if (!Py_IS_TYPE(o, &TamVar_Type)) return o;
  TamVar_Object* v = as_var(o);
  // guard: element 0 is absent after a clear; it reads as the integer 0
  if (!v->members || !v->members[0]) return zero();
  return v->members[0];
}

PyObject* TamVar_new(PyTypeObject* type, PyObject*, PyObject*) {
  if (!zero()) return nullptr;
  Ref self = Ref::steal(type->tp_alloc(type, 0));
  if (!self) return nullptr;
  TamVar_Object* v = as_var(self.get());
  v->magic = kMagic;
  v->members = static_cast<PyObject**>(PyMem_RawCalloc(1, sizeof(PyObject*)));
  if (!v->members) return PyErr_NoMemory();
  v->arraylen = 1;
  v->array2Dlen = 1;
  return self.release();
}

namespace {

int TamVar_init(PyObject* self, PyObject* args, PyObject*) {
  PyObject* arg;
  if (!PyArg_ParseTuple(args, "O", &arg)) return -1;
  // a variable built from a variable copies its scalar, not the array
  PyObject* first = TamVar_unwrap(arg);
  auto* block = static_cast<PyObject**>(PyMem_RawCalloc(1, sizeof(PyObject*)));
  if (!block) {
    PyErr_NoMemory();
    return -1;
  }
  block[0] = Py_NewRef(first);
  TamVar_Object* v = as_var(self);
  PyObject** old = v->members;
  Py_ssize_t old_n = Py_ssize_t(v->arraylen) * v->array2Dlen;
  v->members = block;
  v->arraylen = 1;
  v->array2Dlen = 1;
  // guard: a second __init__ releases what the variable held instead of leaking it
  release_block(old, old_n);
  return 0;
}

int TamVar_traverse(PyObject* self, visitproc visit, void* arg) {
  TamVar_Object* v = as_var(self);
  for (Py_ssize_t k = Py_ssize_t(v->arraylen) * v->array2Dlen - 1; k >= 0; --k)
    Py_VISIT(v->members[k]);
  return 0;
}

int TamVar_clear(PyObject* self) {
  release_members(as_var(self));
  return 0;
}

void TamVar_dealloc(PyObject* self) {
  // guard: untracked before the releases, so a collection started by a
  // finaliser never visits a variable that is being freed
  PyObject_GC_UnTrack(self);
  release_members(as_var(self));
  Py_TYPE(self)->tp_free(self);
}

Py_ssize_t TamVar_mp_len(PyObject* self) {
  Ref first = Ref::borrow(TamVar_unwrap(self));
  if (PySequence_Check(first.get())) return PySequence_Size(first.get());
  TamVar_Object* v = as_var(self);
  return Py_ssize_t(v->arraylen) * v->array2Dlen;
}

// Reads outside the array never fail and never grow it: they give 0.
PyObject* TamVar_mp_subscript(PyObject* self, PyObject* key) {
  TamVar_Object* v = as_var(self);
  if (PyNumber_Check(key)) {
    long i;
    if (!index_of(key, &i)) return nullptr;
    // guard: a clear error instead of a failure without an exception
    if (i < 0) return negative_index();
    // guard: an empty slot inside the row reads as 0, never as garbage
    if (i >= v->arraylen || !v->members[i]) return new_zero();
    return Py_NewRef(v->members[i]);
  }
  if (PySequence_Check(key)) {
    long i, j;
    Pair p = pair_of(key, &i, &j);
    if (p == Pair::error) return nullptr;
    if (p == Pair::not_numbers || i < 0 || j < 0 || i >= v->arraylen || j >= v->array2Dlen)
      return new_zero();
    PyObject** slot = &v->members[j * Py_ssize_t(v->arraylen) + i];
    if (!*slot) {  // a two-index read fills the empty slot it reads
      *slot = new_zero();
      if (!*slot) return nullptr;
    }
    return Py_NewRef(*slot);
  }
  return new_zero();
}

int TamVar_mp_ass_subscript(PyObject* self, PyObject* key, PyObject* value) {
  if (!value) {
    puts("Assigning a blank val");
    fflush(stdout);
    // guard: deletion is refused with an error instead of reading the absent value
    PyErr_SetString(PyExc_TypeError, "TamVar elements cannot be deleted");
    return -1;
  }
  TamVar_Object* v = as_var(self);
  // A variable stored into a variable stores its scalar.
  Ref stored = Ref::borrow(TamVar_unwrap(value));
  if (PyNumber_Check(key)) {
    long i;
    if (!index_of(key, &i)) return -1;
    if (i < 0) {  // guard: a clear error, as on read
      negative_index();
      return -1;
    }
    return TamVar_store(v, i, 0, stored.get());
  }
  if (PySequence_Check(key)) {
    long i, j;
    Pair p = pair_of(key, &i, &j);
    if (p == Pair::error) return -1;
    if (p == Pair::not_numbers) {  // guard: a clear error instead of a bare failure
      PyErr_SetString(PyExc_TypeError, "TamVar indices must be numbers");
      return -1;
    }
    if (i < 0 || j < 0) {
      negative_index();
      return -1;
    }
    return TamVar_store(v, i, j, stored.get());
  }
  PyErr_SetString(PyExc_TypeError, "TamVar index must be a number or a pair of numbers");
  return -1;
}

// Attribute access, hashing, str and calls act on element 0. A reference is
// held across each call, in case the call replaces element 0.
PyObject* TamVar_getattro(PyObject* self, PyObject* name) {
  Ref first = Ref::borrow(TamVar_unwrap(self));
  return PyObject_GetAttr(first.get(), name);
}

int TamVar_setattro(PyObject* self, PyObject* name, PyObject* value) {
  Ref first = Ref::borrow(TamVar_unwrap(self));
  return PyObject_SetAttr(first.get(), name, value);
}

Py_hash_t TamVar_hash(PyObject* self) {
  Ref first = Ref::borrow(TamVar_unwrap(self));
  // guard: a variable whose element 0 holds it (v[0] = (v,)) raises
  // RecursionError; the host's hashing of tuples has no depth check of its own
  if (Py_EnterRecursiveCall(" while hashing a TamVar")) return -1;
  Py_hash_t h = PyObject_Hash(first.get());
  Py_LeaveRecursiveCall();
  return h;
}

PyObject* TamVar_str(PyObject* self) {
  Ref first = Ref::borrow(TamVar_unwrap(self));
  return PyObject_Str(first.get());
}

PyObject* TamVar_call(PyObject* self, PyObject* args, PyObject* kwds) {
  Ref first = Ref::borrow(TamVar_unwrap(self));
  return PyObject_Call(first.get(), args, kwds);
}

PyMappingMethods TamVar_as_mapping = {
    .mp_length = TamVar_mp_len,
    .mp_subscript = TamVar_mp_subscript,
    .mp_ass_subscript = TamVar_mp_ass_subscript,
};

PyMethodDef TamVar_methods[] = {{nullptr, nullptr, 0, nullptr}};

}  // namespace

// tp_new is set by the module entry before the type is readied.
PyTypeObject TamVar_Type = {
    .ob_base = PyVarObject_HEAD_INIT(nullptr, 0)
    .tp_name = "py_korvel.TamVar",
    .tp_basicsize = sizeof(TamVar_Object),
    .tp_itemsize = 0,
    .tp_dealloc = TamVar_dealloc,
    .tp_as_number = &TamVar_as_number,
    .tp_as_mapping = &TamVar_as_mapping,
    .tp_hash = TamVar_hash,
    .tp_call = TamVar_call,
    .tp_str = TamVar_str,
    .tp_getattro = TamVar_getattro,
    .tp_setattro = TamVar_setattro,
    .tp_flags = Py_TPFLAGS_DEFAULT | Py_TPFLAGS_HAVE_GC,
    .tp_doc = "Tam-compatible magical variable",
    .tp_traverse = TamVar_traverse,
    .tp_clear = TamVar_clear,
    .tp_richcompare = TamVar_richcompare,
    .tp_methods = TamVar_methods,
    .tp_init = TamVar_init,
};
