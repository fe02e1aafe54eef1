#include "korvel/resources/restore_py.h"

#include <cstdio>

#include "korvel_py/globals.h"
#include "korvel_py/ref.h"

namespace korvel::resources {

PyObject* load_and_register(PyObject* self, PyObject* loader, const char* loader_name,
                            PyObject* loader_args) {
  if (!hooked(loader, loader_name)) return nullptr;
  if (!loader_args) return nullptr;
  Ref loaded = Ref::steal(PyObject_Call(loader, loader_args, nullptr));
  if (!loaded) {
    fputs("An exception occurred!\n", stderr);
    return nullptr;
  }
  // guard: the name is read afresh, so a loader that emptied it raises AttributeError
  Ref name = Ref::steal(PyObject_GetAttrString(self, "name"));
  if (!name || PyObject_SetItem(tamapi__dict__, name.get(), self) < 0) {
    puts("Retnull");
    fflush(stdout);
    return nullptr;
  }
  Py_RETURN_NONE;
}

PyObject* empty_member(PyObject* self, const char* name) {
  return PyErr_Format(PyExc_AttributeError, "'%.200s' object has no attribute '%s'",
                      Py_TYPE(self)->tp_name, name);
}

}  // namespace korvel::resources
