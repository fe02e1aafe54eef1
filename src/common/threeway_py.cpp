#include "common/threeway_py.h"

namespace korvel {

PyObject* threeway_to_rich(int result, int op) {
  if (result == -1 && PyErr_Occurred()) return nullptr;
  Py_RETURN_RICHCOMPARE(result, 0, op);
}

}  // namespace korvel
