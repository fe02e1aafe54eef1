// TamVar arithmetic and comparison: the host's own operation on the
// unwrapped operands, so results are plain values, never new variables.
#include "korvel/vars/tamvar_number_py.h"

#include "korvel_py/ref.h"
#include "korvel_py/tamvar.h"

using korvel::Ref;

namespace {

// An operand as a plain value, held while the host operation runs (the
// operation may run script code that replaces a variable's element 0).
Ref operand(PyObject* o) { return Ref::borrow(TamVar_unwrap(o)); }

PyObject* binary(PyObject* a, PyObject* b, PyObject* (*op)(PyObject*, PyObject*)) {
  Ref aa = operand(a), bb = operand(b);
  return op(aa.get(), bb.get());
}

PyObject* unary(PyObject* a, PyObject* (*op)(PyObject*)) { return op(operand(a).get()); }

PyObject* TamVar_nb_add(PyObject* a, PyObject* b) { return binary(a, b, PyNumber_Add); }
PyObject* TamVar_nb_subtract(PyObject* a, PyObject* b) {
  return binary(a, b, PyNumber_Subtract);
}
PyObject* TamVar_nb_remainder(PyObject* a, PyObject* b) {
  return binary(a, b, PyNumber_Remainder);
}
PyObject* TamVar_nb_and(PyObject* a, PyObject* b) { return binary(a, b, PyNumber_And); }
PyObject* TamVar_nb_xor(PyObject* a, PyObject* b) { return binary(a, b, PyNumber_Xor); }
PyObject* TamVar_nb_or(PyObject* a, PyObject* b) { return binary(a, b, PyNumber_Or); }

// The product is always a float, whatever the operands are.
PyObject* TamVar_nb_mul(PyObject* a, PyObject* b) {
  // guard: an operand without a float conversion raises that conversion's error
  Ref fa = Ref::steal(PyNumber_Float(operand(a).get()));
  if (!fa) return nullptr;
  Ref fb = Ref::steal(PyNumber_Float(operand(b).get()));
  if (!fb) return nullptr;
  return PyNumber_Multiply(fa.get(), fb.get());
}

// Classic division: two integers give the floored integer quotient,
// anything else true division.
PyObject* TamVar_nb_divide(PyObject* a, PyObject* b) {
  Ref aa = operand(a), bb = operand(b);
  if (PyLong_Check(aa.get()) && PyLong_Check(bb.get()))
    return PyNumber_FloorDivide(aa.get(), bb.get());
  return PyNumber_TrueDivide(aa.get(), bb.get());
}

PyObject* TamVar_nb_negative(PyObject* a) { return unary(a, PyNumber_Negative); }
PyObject* TamVar_nb_positive(PyObject* a) { return unary(a, PyNumber_Positive); }
PyObject* TamVar_nb_absolute(PyObject* a) { return unary(a, PyNumber_Absolute); }
PyObject* TamVar_nb_int(PyObject* a) { return unary(a, PyNumber_Long); }
PyObject* TamVar_nb_float(PyObject* a) { return unary(a, PyNumber_Float); }

int TamVar_nb_nonzero(PyObject* a) {
  auto* v = reinterpret_cast<TamVar_Object*>(a);
  if (!v->members || !v->members[0]) return 0;
  return PyObject_IsTrue(operand(a).get());
}

// The sum is written back into element 0: the variable keeps its identity
// and every holder sees the new value.
PyObject* TamVar_nb_inplace_add(PyObject* a, PyObject* b) {
  Ref r = Ref::steal(binary(a, b, PyNumber_InPlaceAdd));
  if (!r) return nullptr;
  if (!Py_IS_TYPE(a, &TamVar_Type)) return r.release();
  // guard: a sum that is itself a variable is stored as its scalar, so
  // element 0 never holds a variable and forwarding to it cannot recurse
  if (TamVar_store(reinterpret_cast<TamVar_Object*>(a), 0, 0, TamVar_unwrap(r.get())) < 0)
    return nullptr;
  return Py_NewRef(a);
}

}  // namespace

// No floor division, power, inversion, shifts or index slot: those fail with
// the host's operand-type error, and a variable is no list index.
PyNumberMethods TamVar_as_number = {
    .nb_add = TamVar_nb_add,
    .nb_subtract = TamVar_nb_subtract,
    .nb_multiply = TamVar_nb_mul,
    .nb_remainder = TamVar_nb_remainder,
    .nb_negative = TamVar_nb_negative,
    .nb_positive = TamVar_nb_positive,
    .nb_absolute = TamVar_nb_absolute,
    .nb_bool = TamVar_nb_nonzero,
    .nb_and = TamVar_nb_and,
    .nb_xor = TamVar_nb_xor,
    .nb_or = TamVar_nb_or,
    .nb_int = TamVar_nb_int,
    .nb_float = TamVar_nb_float,
    .nb_inplace_add = TamVar_nb_inplace_add,
    .nb_true_divide = TamVar_nb_divide,
};

// The host's rich comparison never gives NotImplemented (it falls back to
// identity or raises), so no three-way fallback is needed here.
PyObject* TamVar_richcompare(PyObject* a, PyObject* b, int op) {
  Ref aa = operand(a), bb = operand(b);
  return PyObject_RichCompare(aa.get(), bb.get(), op);
}

int TamVar_compare(PyObject* a, PyObject* b) {
  // guard: the operands are held and given back, so a comparison leaves
  // every reference count as it was
  Ref aa = operand(a), bb = operand(b);
  // Equality is probed first; only whether it gives a result matters.
  // guard: a failed probe is returned as an error rather than left set
  if (!Ref::steal(PyObject_RichCompare(aa.get(), bb.get(), Py_EQ))) return -1;
  int less = PyObject_RichCompareBool(aa.get(), bb.get(), Py_LT);
  if (less != 0) return -1;  // less, or an error with its exception set
  int greater = PyObject_RichCompareBool(aa.get(), bb.get(), Py_GT);
  if (greater < 0) return -1;
  return greater;
}
