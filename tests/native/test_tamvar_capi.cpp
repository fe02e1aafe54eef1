// TamVar's native entry points and the state a collector clear leaves,
// driven through an embedded interpreter.
#include <Python.h>
#include <gtest/gtest.h>

#include <tuple>

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
  Ref r = Ref::steal(PyRun_String(expression, Py_eval_input, globals.get(), globals.get()));
  EXPECT_TRUE(r) << expression;
  return r;
}

Ref var(PyObject* value) {
  return Ref::steal(PyObject_CallOneArg(reinterpret_cast<PyObject*>(&TamVar_Type), value));
}

long as_long(PyObject* o) { return o ? PyLong_AsLong(o) : -999; }

long item(PyObject* v, const char* key) {
  return as_long(Ref::steal(PyObject_GetItem(v, eval(key).get())).get());
}

// Other objects stand for themselves, a variable for its element 0
// (borrowed), and a cleared one for the integer 0, which every operation
// reads so without growing it; a write grows it from nothing.
TEST(TamVarUnwrap, ElementZeroOrTheObjectOrZeroOnceCleared) {
  Ref x = eval("object()");
  EXPECT_EQ(TamVar_unwrap(x.get()), x.get());
  Ref v = var(x.get());
  const Py_ssize_t held = Py_REFCNT(x.get());
  EXPECT_EQ(TamVar_unwrap(v.get()), x.get());
  EXPECT_EQ(Py_REFCNT(x.get()), held);
  TamVar_Type.tp_clear(v.get());
  EXPECT_EQ(Py_REFCNT(x.get()), held - 1);
  PyObject* first = TamVar_unwrap(v.get());
  ASSERT_TRUE(first && PyLong_CheckExact(first));
  EXPECT_EQ(PyLong_AsLong(first), 0);
  EXPECT_EQ(std::tuple(PyObject_IsTrue(v.get()), PyObject_Hash(v.get())), std::tuple(0, 0));
  EXPECT_EQ(as_long(Ref::steal(PyNumber_Add(v.get(), eval("2").get())).get()), 2);
  EXPECT_EQ(PyObject_RichCompareBool(v.get(), eval("0").get(), Py_EQ), 1);
  EXPECT_EQ(std::tuple(item(v.get(), "0"), item(v.get(), "(1, 1)")), std::tuple(0, 0));
  EXPECT_EQ(PyObject_Length(v.get()), 0);
  EXPECT_EQ(Ref::steal(PyNumber_InPlaceAdd(v.get(), eval("5").get())).get(), v.get());
  EXPECT_EQ(std::tuple(as_long(TamVar_unwrap(v.get())), PyObject_Length(v.get())),
            std::tuple(5, 1));
  for (auto [key, length] : {std::pair{"3", 4}, {"(1, 2)", 6}}) {
    Ref w = var(eval("1").get());
    TamVar_Type.tp_clear(w.get());
    ASSERT_EQ(PyObject_SetItem(w.get(), eval(key).get(), eval("7").get()), 0);
    EXPECT_EQ(std::tuple(PyObject_Length(w.get()), item(w.get(), key), item(w.get(), "0")),
              std::tuple(length, 7, 0)) << key;
  }
}

// The interpreter's raw allocator with a calloc that fails, as when memory runs out.
PyMemAllocatorEx g_raw;
void* failing_calloc(void*, size_t, size_t) { return nullptr; }
void* raw_malloc(void*, size_t n) { return g_raw.malloc(g_raw.ctx, n); }
void* raw_realloc(void*, void* p, size_t n) { return g_raw.realloc(g_raw.ctx, p, n); }
void raw_free(void*, void* p) { g_raw.free(g_raw.ctx, p); }

TEST(TamVarGrowth, AFailedAllocationIsAMemoryErrorAndTheVariableStaysAsItWas) {
  Ref v = var(eval("5").get());
  Ref key = eval("(3, 2)"), value = eval("7");
  PyMem_GetAllocator(PYMEM_DOMAIN_RAW, &g_raw);
  PyMemAllocatorEx failing = {nullptr, raw_malloc, failing_calloc, raw_realloc, raw_free};
  PyMem_SetAllocator(PYMEM_DOMAIN_RAW, &failing);
  const int rc = PyObject_SetItem(v.get(), key.get(), value.get());
  PyMem_SetAllocator(PYMEM_DOMAIN_RAW, &g_raw);
  EXPECT_TRUE(rc == -1 && PyErr_ExceptionMatches(PyExc_MemoryError));
  PyErr_Clear();
  EXPECT_EQ(std::tuple(PyObject_Length(v.get()), as_long(TamVar_unwrap(v.get()))), std::tuple(1, 5));
}

// The three-way result of the scalars, or -1 with the error a failed
// comparison raises; every reference count stays as it was.
TEST(TamVarCompare, GivesTheThreeWayResultOfTheScalarsOrTheError) {
  const struct { const char *a, *b; int want; const char* error; } cases[] = {
      {"TamVar(2)", "3", -1, nullptr},           {"TamVar(3)", "TamVar(3)", 0, nullptr},
      {"'b'", "TamVar('a')", 1, nullptr},         {"TamVar((1, 2))", "(1, 3)", -1, nullptr},
      {"TamVar(float('nan'))", "1", 0, nullptr}, {"TamVar(1)", "'a'", -1, "TypeError"},
      {"TamVar(None)", "TamVar(2)", -1, "TypeError"},
      {"TamVar(type('EqRaises', (), {'__eq__': lambda s, o: {}['probe'],"
       " '__hash__': object.__hash__})())", "1", -1, "KeyError"},
      {"TamVar(10**30)", "TamVar(-10**30)", 1, nullptr}, {"-10**30", "TamVar(10**30)", -1, nullptr}};
  for (const auto& c : cases) {
    Ref a = eval(c.a), b = eval(c.b);
    PyObject* objects[] = {a.get(), b.get(), TamVar_unwrap(a.get()), TamVar_unwrap(b.get())};
    Py_ssize_t counts[4];
    for (int i = 0; i < 4; ++i) counts[i] = Py_REFCNT(objects[i]);
    EXPECT_EQ(TamVar_compare(a.get(), b.get()), c.want) << c.a << " vs " << c.b;
    PyObject* error = PyErr_Occurred();  // borrowed
    EXPECT_STREQ(error ? reinterpret_cast<PyTypeObject*>(error)->tp_name : nullptr, c.error);
    PyErr_Clear();
    for (int i = 0; i < 4; ++i) EXPECT_EQ(Py_REFCNT(objects[i]), counts[i]) << c.a << " " << i;
  }
}

}  // namespace
