// Attribute names that the frame reads for every instance, made into
// interned str objects once: building a str from C text on every lookup
// costs more than the lookup itself.
#pragma once
#include <Python.h>

namespace korvel::rooms {

class Name {
 public:
  explicit constexpr Name(const char* text) : text_(text) {}
  // Borrowed; the str is kept for the life of the process. Null on MemoryError.
  PyObject* get() {
    if (!str_) str_ = PyUnicode_InternFromString(text_);
    return str_;
  }
  const char* text() const { return text_; }

 private:
  const char* text_;
  PyObject* str_ = nullptr;
};

// o.<name>, a new reference or null with the exception set.
inline PyObject* attribute(PyObject* o, Name& name) {
  PyObject* n = name.get();
  return n ? PyObject_GetAttr(o, n) : nullptr;
}

}  // namespace korvel::rooms
