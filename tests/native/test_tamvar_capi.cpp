// TamVar's native entry points and the state a collector clear leaves,
// driven through an embedded interpreter.
#include <Python.h>
#include <gtest/gtest.h>

#include <ostream>

#include "korvel_py/ref.h"
#include "korvel_py/tamvar.h"

using korvel::Ref;

namespace {

class Interpreter : public ::testing::Environment {
 public:
  void SetUp() override {
    Py_InitializeEx(0);
    TamVar_Type.tp_new = TamVar_new;
    ASSERT_EQ(PyType_Ready(&TamVar_Type), 0);
  }
  void TearDown() override { Py_FinalizeEx(); }
};

const auto* const kInterpreter = ::testing::AddGlobalTestEnvironment(new Interpreter);

Ref eval(const char* expression) {
  Ref globals = Ref::steal(PyDict_New());
  PyDict_SetItemString(globals.get(), "__builtins__", PyEval_GetBuiltins());
  PyDict_SetItemString(globals.get(), "TamVar", reinterpret_cast<PyObject*>(&TamVar_Type));
  PyRun_String("class EqRaises:\n"
               "    def __eq__(self, other): raise KeyError('probe')\n"
               "    __hash__ = object.__hash__\n",
               Py_file_input, globals.get(), globals.get());
  Ref r = Ref::steal(PyRun_String(expression, Py_eval_input, globals.get(), globals.get()));
  EXPECT_TRUE(r) << expression;
  return r;
}

Ref var(PyObject* value) {
  return Ref::steal(PyObject_CallOneArg(reinterpret_cast<PyObject*>(&TamVar_Type), value));
}

Ref var(const char* expression) { return var(eval(expression).get()); }

long as_long(PyObject* o) { return o ? PyLong_AsLong(o) : -999; }

void clear(PyObject* v) { TamVar_Type.tp_clear(v); }

TEST(TamVarUnwrap, OtherObjectsStandForThemselvesAndAVariableForItsElement0) {
  for (const char* e : {"5", "'abc'", "None", "[1, 2]", "2.5"}) {
    Ref o = eval(e);
    EXPECT_EQ(TamVar_unwrap(o.get()), o.get()) << e;
  }
  Ref x = eval("object()");
  Ref v = var(x.get());
  Py_ssize_t held = Py_REFCNT(x.get());
  EXPECT_EQ(TamVar_unwrap(v.get()), x.get());
  EXPECT_EQ(Py_REFCNT(x.get()), held);  // borrowed
}

TEST(TamVarUnwrap, AClearedVariableIsTheInteger0) {
  Ref x = eval("object()");
  Ref v = var(x.get());
  Py_ssize_t held = Py_REFCNT(x.get());
  clear(v.get());
  EXPECT_EQ(Py_REFCNT(x.get()), held - 1);
  PyObject* first = TamVar_unwrap(v.get());
  ASSERT_NE(first, nullptr);
  EXPECT_TRUE(PyLong_CheckExact(first));
  EXPECT_EQ(PyLong_AsLong(first), 0);
  // and every operation reads it so
  Ref text = Ref::steal(PyObject_Str(v.get()));
  EXPECT_STREQ(PyUnicode_AsUTF8(text.get()), "0");
  EXPECT_EQ(PyObject_Length(v.get()), 0);
  EXPECT_EQ(PyObject_IsTrue(v.get()), 0);
  EXPECT_EQ(PyObject_Hash(v.get()), 0);
  EXPECT_EQ(as_long(Ref::steal(PyNumber_Add(v.get(), eval("2").get())).get()), 2);
  EXPECT_EQ(PyObject_RichCompareBool(v.get(), eval("0").get(), Py_EQ), 1);
  EXPECT_EQ(as_long(Ref::steal(PyObject_GetItem(v.get(), eval("0").get())).get()), 0);
  EXPECT_EQ(as_long(Ref::steal(PyObject_GetItem(v.get(), eval("(1, 1)").get())).get()), 0);
  EXPECT_EQ(PyObject_Length(v.get()), 0);  // reads never grow it
  Ref r = Ref::steal(PyNumber_InPlaceAdd(v.get(), eval("5").get()));  // into a new element 0
  EXPECT_EQ(r.get(), v.get());
  EXPECT_EQ(as_long(TamVar_unwrap(v.get())), 5);
  EXPECT_EQ(PyObject_Length(v.get()), 1);
}

TEST(TamVarCleared, WritesGrowFromNothing) {
  Ref v = var("1");
  clear(v.get());
  ASSERT_EQ(PyObject_SetItem(v.get(), eval("3").get(), eval("'x'").get()), 0);
  EXPECT_EQ(PyObject_Length(v.get()), 4);
  EXPECT_EQ(as_long(Ref::steal(PyObject_GetItem(v.get(), eval("0").get())).get()), 0);
  Ref w = var("1");
  clear(w.get());
  ASSERT_EQ(PyObject_SetItem(w.get(), eval("(1, 2)").get(), eval("7").get()), 0);
  EXPECT_EQ(PyObject_Length(w.get()), 6);
  EXPECT_EQ(as_long(Ref::steal(PyObject_GetItem(w.get(), eval("(1, 2)").get())).get()), 7);
}

// The interpreter's raw allocator with a calloc that fails, as when memory runs out.
PyMemAllocatorEx g_raw;
void* failing_calloc(void*, size_t, size_t) { return nullptr; }
void* raw_malloc(void*, size_t n) { return g_raw.malloc(g_raw.ctx, n); }
void* raw_realloc(void*, void* p, size_t n) { return g_raw.realloc(g_raw.ctx, p, n); }
void raw_free(void*, void* p) { g_raw.free(g_raw.ctx, p); }

TEST(TamVarGrowth, AFailedAllocationIsAMemoryErrorAndTheVariableStaysAsItWas) {
  Ref v = var("5");
  Ref key = eval("(3, 2)"), value = eval("7");
  PyMem_GetAllocator(PYMEM_DOMAIN_RAW, &g_raw);
  PyMemAllocatorEx failing = {nullptr, raw_malloc, failing_calloc, raw_realloc, raw_free};
  PyMem_SetAllocator(PYMEM_DOMAIN_RAW, &failing);
  const int rc = PyObject_SetItem(v.get(), key.get(), value.get());
  PyMem_SetAllocator(PYMEM_DOMAIN_RAW, &g_raw);
  EXPECT_EQ(rc, -1);
  EXPECT_TRUE(PyErr_ExceptionMatches(PyExc_MemoryError));
  PyErr_Clear();
  EXPECT_EQ(PyObject_Length(v.get()), 1);
  EXPECT_EQ(as_long(TamVar_unwrap(v.get())), 5);
}

struct CompareCase {
  const char* a;
  const char* b;
  int want;
  const char* error;  // the exception a failed comparison returns, or none
};

std::ostream& operator<<(std::ostream& os, const CompareCase& c) {
  return os << c.a << " vs " << c.b;
}

class TamVarCompare : public ::testing::TestWithParam<CompareCase> {};

TEST_P(TamVarCompare, GivesTheThreeWayResultOfTheScalarsOrTheError) {
  const CompareCase& c = GetParam();
  Ref a = eval(c.a), b = eval(c.b);
  EXPECT_EQ(TamVar_compare(a.get(), b.get()), c.want);
  PyObject* error = PyErr_Occurred();  // borrowed
  if (c.error) {
    ASSERT_NE(error, nullptr);
    EXPECT_STREQ(reinterpret_cast<PyTypeObject*>(error)->tp_name, c.error);
  } else {
    EXPECT_EQ(error, nullptr);
  }
  PyErr_Clear();
}

INSTANTIATE_TEST_SUITE_P(
    Pairs, TamVarCompare,
    ::testing::Values(CompareCase{"TamVar(2)", "3", -1, nullptr},
                      CompareCase{"TamVar(3)", "TamVar(3)", 0, nullptr},
                      CompareCase{"TamVar(4.5)", "4", 1, nullptr},
                      CompareCase{"'b'", "TamVar('a')", 1, nullptr},
                      CompareCase{"TamVar((1, 2))", "(1, 3)", -1, nullptr},
                      CompareCase{"TamVar(float('nan'))", "1", 0, nullptr},
                      CompareCase{"TamVar('x')", "'x'", 0, nullptr},
                      CompareCase{"TamVar(1)", "'a'", -1, "TypeError"},
                      CompareCase{"TamVar(EqRaises())", "1", -1, "KeyError"},
                      CompareCase{"TamVar(None)", "TamVar(2)", -1, "TypeError"}));

TEST(TamVarCompareRefs, ComparingLeavesEveryCountAsItWas) {
  Ref x = eval("10**30"), y = eval("-10**30");
  Ref vx = var(x.get()), vy = var(y.get());
  Py_ssize_t counts[] = {Py_REFCNT(x.get()), Py_REFCNT(y.get()), Py_REFCNT(vx.get()),
                         Py_REFCNT(vy.get())};
  for (int k = 0; k < 100; ++k) {
    EXPECT_EQ(TamVar_compare(vx.get(), vy.get()), 1);
    EXPECT_EQ(TamVar_compare(y.get(), vx.get()), -1);
    EXPECT_EQ(TamVar_compare(vx.get(), x.get()), 0);
  }
  EXPECT_EQ(Py_REFCNT(x.get()), counts[0]);
  EXPECT_EQ(Py_REFCNT(y.get()), counts[1]);
  EXPECT_EQ(Py_REFCNT(vx.get()), counts[2]);
  EXPECT_EQ(Py_REFCNT(vy.get()), counts[3]);
}

}  // namespace
