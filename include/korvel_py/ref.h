// One owned Python reference, released when the Ref dies.
#pragma once
#include <Python.h>

#include <utility>

namespace korvel {

class Ref {  // one strong reference or none; moves, never copies
 public:
  Ref() = default;
  static Ref steal(PyObject* o) {  // o is a new reference (or null)
    Ref r;
    r.p_ = o;
    return r;
  }
  static Ref borrow(PyObject* o) {
    Py_XINCREF(o);
    return steal(o);
  }
  Ref(Ref&& o) noexcept : p_(std::exchange(o.p_, nullptr)) {}
  Ref& operator=(Ref o) noexcept {  // the old value dies with o
    std::swap(p_, o.p_);
    return *this;
  }
  Ref(const Ref&) = delete;
  ~Ref() { Py_XDECREF(p_); }

  PyObject* get() const { return p_; }
  explicit operator bool() const { return p_ != nullptr; }
  PyObject* release() { return std::exchange(p_, nullptr); }  // ownership leaves

 private:
  PyObject* p_ = nullptr;
};

}  // namespace korvel
