// The room's event methods: each hands the room, and what the method was
// given, to the runtime's handler of the same name, and returns its result.
// The handlers are read from the hookup globals on every call, so a runtime
// that registers again is heard at once.
#include <Python.h>

#include "korvel_py/common.h"
#include "korvel_py/globals.h"
#include "korvel_py/ref.h"
#include "korvel_py/room.h"

namespace {

using korvel::Ref;

// What an event method takes after self, and so hands on after the room.
enum class Takes {
  nothing,   // no arguments at all (the no-argument convention)
  anything,  // any arguments, ignored
  instance,  // the first item of the arguments, taken without parsing
  one,       // exactly one object
  two,       // exactly two objects
  three,     // exactly three objects
};

constexpr int objects_taken(Takes takes) {
  switch (takes) {
    case Takes::nothing:
    case Takes::anything:
      return 0;
    case Takes::instance:
    case Takes::one:
      return 1;
    case Takes::two:
      return 2;
    case Takes::three:
      return 3;
  }
  return 0;
}

// By the number of objects taken: how they are parsed, and the handler's
// argument tuple with the room first.
constexpr const char* kParseFormats[] = {"", "O", "OO", "OOO"};
constexpr const char* kCallFormats[] = {"(O)", "(OO)", "(OOO)", "(OOOO)"};

PyObject* forward(PyObject* self, PyObject* args, const char* method, Takes takes,
                  PyObject* handler, const char* handler_name) {
  const int n = objects_taken(takes);
  PyObject* taken[3] = {};
  if (takes == Takes::instance) {
    // guard: the item is read without parsing, so an empty call must not reach it
    if (PyTuple_GET_SIZE(args) < 1) {
      PyErr_Format(PyExc_TypeError, "%s() takes an instance", method);
      return nullptr;
    }
    taken[0] = PyTuple_GET_ITEM(args, 0);
  } else if (n > 0 &&
             !PyArg_ParseTuple(args, kParseFormats[n], &taken[0], &taken[1], &taken[2])) {
    return nullptr;
  }
  // held for the call: a handler that registers a replacement stays alive
  Ref callable = Ref::borrow(korvel::hooked(handler, handler_name));
  if (!callable) return nullptr;
  Ref call_args = Ref::steal(Py_BuildValue(kCallFormats[n], self, taken[0], taken[1], taken[2]));
  if (!call_args) return nullptr;
  return PyObject_CallObject(callable.get(), call_args.get());
}

}  // namespace

// One row per method: its name, which is also the name of the runtime's
// handler tam6.Room_<name> (the hookup global tam6_Room_<name>), what it
// takes, and its doc string.
#define ROOM_EVENT(method, takes, doc)                                                 \
  {#method,                                                                            \
   [](PyObject* self, PyObject* args) {                                                \
     return forward(self, args, #method, Takes::takes, tam6_Room_##method,             \
                    "tam6.Room_" #method);                                             \
   },                                                                                  \
   Takes::takes == Takes::nothing ? METH_NOARGS : METH_VARARGS, doc}

// StepAlarms stands twice; the first entry is the one the type publishes.
PyMethodDef TamRoom_methods[] = {
    {"__reduce__", membertuple, METH_VARARGS, "__reduce__($self, /, *args)\n--\n\n"},
    {"__setstate__", load_membertuple, METH_VARARGS, "__setstate__($self, state, /)\n--\n\n"},
    ROOM_EVENT(Compile, anything, "Compile($self, /, *args)\n--\n\n"),
    ROOM_EVENT(Create, anything, "Create($self, /, *args)\n--\n\n"),
    ROOM_EVENT(InitializeBackgrounds, anything, "InitializeBackgrounds($self, /, *args)\n--\n\n"),
    ROOM_EVENT(AddInstance, instance, "AddInstance($self, instance, /, *args)\n--\n\n"),
    ROOM_EVENT(AddDrawnInstance, instance, "AddDrawnInstance($self, instance, /, *args)\n--\n\n"),
    ROOM_EVENT(ResortDrawnObjects, anything, "ResortDrawnObjects($self, /, *args)\n--\n\n"),
    ROOM_EVENT(SetBackgroundIndex, two, "SetBackgroundIndex($self, a, b, /)\n--\n\n"),
    ROOM_EVENT(StepAlarms, nothing, "StepAlarms($self, /)\n--\n\n"),
    ROOM_EVENT(MoveInstances, nothing, "MoveInstances($self, /)\n--\n\n"),
    ROOM_EVENT(HandleCollisions, nothing, "HandleCollisions($self, /)\n--\n\n"),
    ROOM_EVENT(StepAlarms, nothing, "StepAlarms($self, /)\n--\n\n"),
    ROOM_EVENT(StepEvents, nothing, "StepEvents($self, /)\n--\n\n"),
    ROOM_EVENT(DrawBackgrounds, three, "DrawBackgrounds($self, surface, xoff, yoff, /)\n--\n\n"),
    ROOM_EVENT(RenderBackground, nothing, "RenderBackground($self, /)\n--\n\n"),
    ROOM_EVENT(Leave, nothing, "Leave($self, /)\n--\n\n"),
    ROOM_EVENT(MouseButtonDown, one, "MouseButtonDown($self, event, /)\n--\n\n"),
    ROOM_EVENT(MouseButtonUp, one, "MouseButtonUp($self, event, /)\n--\n\n"),
    ROOM_EVENT(HandleKeyrelease, one, "HandleKeyrelease($self, event, /)\n--\n\n"),
    ROOM_EVENT(HandleKeypress, one, "HandleKeypress($self, event, /)\n--\n\n"),
    {nullptr, nullptr, 0, nullptr}};

#undef ROOM_EVENT
