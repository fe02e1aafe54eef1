// The room's event methods: each hands the room, and what the method was
// given, to the runtime's handler of the same name, and returns its result.
// The handlers are read from the hookup globals on every call, so a runtime
// that registers again is heard at once.
#include <Python.h>

#include <cstdarg>

#include "korvel/common.h"
#include "korvel/globals.h"
#include "korvel/ref.h"
#include "korvel/room.h"

namespace {

using korvel::Ref;

// Calls handler with the argument tuple built from format.
PyObject* forward(PyObject* handler, const char* name, const char* format, ...) {
  // held for the call: a handler that registers a replacement stays alive
  Ref callable = Ref::borrow(korvel::hooked(handler, name));
  if (!callable) return nullptr;
  va_list va;
  va_start(va, format);
  Ref args = Ref::steal(Py_VaBuildValue(format, va));
  va_end(va);
  if (!args) return nullptr;
  return PyObject_CallObject(callable.get(), args.get());
}

// The one object that AddInstance and AddDrawnInstance take, unparsed.
PyObject* first_argument(PyObject* args, const char* method) {
  // guard: the item is read without parsing, so an empty call must not reach it
  if (PyTuple_GET_SIZE(args) < 1) {
    PyErr_Format(PyExc_TypeError, "%s() takes an instance", method);
    return nullptr;
  }
  return PyTuple_GET_ITEM(args, 0);
}

PyObject* Room_Compile(PyObject* self, PyObject*) {
  return forward(tam6_Room_Compile, "tam6.Room_Compile", "(O)", self);
}

PyObject* Room_Create(PyObject* self, PyObject*) {
  return forward(tam6_Room_Create, "tam6.Room_Create", "(O)", self);
}

PyObject* Room_InitializeBackgrounds(PyObject* self, PyObject*) {
  return forward(tam6_Room_InitializeBackgrounds, "tam6.Room_InitializeBackgrounds", "(O)",
                 self);
}

PyObject* Room_AddInstance(PyObject* self, PyObject* args) {
  PyObject* instance = first_argument(args, "AddInstance");
  if (!instance) return nullptr;
  return forward(tam6_Room_AddInstance, "tam6.Room_AddInstance", "(OO)", self, instance);
}

PyObject* Room_AddDrawnInstance(PyObject* self, PyObject* args) {
  PyObject* instance = first_argument(args, "AddDrawnInstance");
  if (!instance) return nullptr;
  return forward(tam6_Room_AddDrawnInstance, "tam6.Room_AddDrawnInstance", "(OO)", self,
                 instance);
}

PyObject* Room_ResortDrawnObjects(PyObject* self, PyObject*) {
  return forward(tam6_Room_ResortDrawnObjects, "tam6.Room_ResortDrawnObjects", "(O)", self);
}

PyObject* Room_SetBackgroundIndex(PyObject* self, PyObject* args) {
  PyObject *a, *b;
  if (!PyArg_ParseTuple(args, "OO", &a, &b)) return nullptr;
  return forward(tam6_Room_SetBackgroundIndex, "tam6.Room_SetBackgroundIndex", "(OOO)", self,
                 a, b);
}

PyObject* Room_StepAlarms(PyObject* self, PyObject*) {
  return forward(tam6_Room_StepAlarms, "tam6.Room_StepAlarms", "(O)", self);
}

PyObject* Room_MoveInstances(PyObject* self, PyObject*) {
  return forward(tam6_Room_MoveInstances, "tam6.Room_MoveInstances", "(O)", self);
}

PyObject* Room_HandleCollisions(PyObject* self, PyObject*) {
  return forward(tam6_Room_HandleCollisions, "tam6.Room_HandleCollisions", "(O)", self);
}

PyObject* Room_StepEvents(PyObject* self, PyObject*) {
  return forward(tam6_Room_StepEvents, "tam6.Room_StepEvents", "(O)", self);
}

PyObject* Room_DrawBackgrounds(PyObject* self, PyObject* args) {
  PyObject *surface, *xoff, *yoff;
  if (!PyArg_ParseTuple(args, "OOO", &surface, &xoff, &yoff)) return nullptr;
  Ref handler =
      Ref::borrow(korvel::hooked(tam6_Room_DrawBackgrounds, "tam6.Room_DrawBackgrounds"));
  if (!handler) return nullptr;
  return invoke_4(handler.get(), self, surface, xoff, yoff);
}

PyObject* Room_RenderBackground(PyObject* self, PyObject*) {
  return forward(tam6_Room_RenderBackground, "tam6.Room_RenderBackground", "(O)", self);
}

PyObject* Room_Leave(PyObject* self, PyObject*) {
  return forward(tam6_Room_Leave, "tam6.Room_Leave", "(O)", self);
}

PyObject* Room_MouseButtonDown(PyObject* self, PyObject* args) {
  PyObject* event;
  if (!PyArg_ParseTuple(args, "O", &event)) return nullptr;
  return forward(tam6_Room_MouseButtonDown, "tam6.Room_MouseButtonDown", "(OO)", self, event);
}

PyObject* Room_MouseButtonUp(PyObject* self, PyObject* args) {
  PyObject* event;
  if (!PyArg_ParseTuple(args, "O", &event)) return nullptr;
  return forward(tam6_Room_MouseButtonUp, "tam6.Room_MouseButtonUp", "(OO)", self, event);
}

PyObject* Room_HandleKeyrelease(PyObject* self, PyObject* args) {
  PyObject* event;
  if (!PyArg_ParseTuple(args, "O", &event)) return nullptr;
  return forward(tam6_Room_HandleKeyrelease, "tam6.Room_HandleKeyrelease", "(OO)", self,
                 event);
}

PyObject* Room_HandleKeypress(PyObject* self, PyObject* args) {
  PyObject* event;
  if (!PyArg_ParseTuple(args, "O", &event)) return nullptr;
  return forward(tam6_Room_HandleKeypress, "tam6.Room_HandleKeypress", "(OO)", self, event);
}

}  // namespace

// StepAlarms stands twice; the first entry is the one the type publishes.
PyMethodDef TamRoom_methods[] = {
    {"__reduce__", membertuple, METH_VARARGS, nullptr},
    {"__setstate__", load_membertuple, METH_VARARGS, nullptr},
    {"Compile", Room_Compile, METH_VARARGS, nullptr},
    {"Create", Room_Create, METH_VARARGS, nullptr},
    {"InitializeBackgrounds", Room_InitializeBackgrounds, METH_VARARGS, nullptr},
    {"AddInstance", Room_AddInstance, METH_VARARGS, nullptr},
    {"AddDrawnInstance", Room_AddDrawnInstance, METH_VARARGS, nullptr},
    {"ResortDrawnObjects", Room_ResortDrawnObjects, METH_VARARGS, nullptr},
    {"SetBackgroundIndex", Room_SetBackgroundIndex, METH_VARARGS, nullptr},
    {"StepAlarms", Room_StepAlarms, METH_NOARGS, nullptr},
    {"MoveInstances", Room_MoveInstances, METH_NOARGS, nullptr},
    {"HandleCollisions", Room_HandleCollisions, METH_NOARGS, nullptr},
    {"StepAlarms", Room_StepAlarms, METH_NOARGS, nullptr},
    {"StepEvents", Room_StepEvents, METH_NOARGS, nullptr},
    {"DrawBackgrounds", Room_DrawBackgrounds, METH_VARARGS, nullptr},
    {"RenderBackground", Room_RenderBackground, METH_NOARGS, nullptr},
    {"Leave", Room_Leave, METH_NOARGS, nullptr},
    {"MouseButtonDown", Room_MouseButtonDown, METH_VARARGS, nullptr},
    {"MouseButtonUp", Room_MouseButtonUp, METH_VARARGS, nullptr},
    {"HandleKeyrelease", Room_HandleKeyrelease, METH_VARARGS, nullptr},
    {"HandleKeypress", Room_HandleKeypress, METH_VARARGS, nullptr},
    {nullptr, nullptr, 0, nullptr}};
