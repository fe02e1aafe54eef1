// The module entry, its method table and type list, and the stored screen.
#include <Python.h>
#include <SDL.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "korvel/background.h"
#include "korvel/compat.h"
#include "korvel/floatlist8.h"
#include "korvel/globals.h"
#include "korvel/instancelist.h"
#include "korvel/methods.h"
#include "korvel/module.h"
#include "korvel/pixels/kernels.h"
#include "korvel/room.h"
#include "korvel/sprite.h"
#include "korvel/tamvar.h"

// The stored screen: held for the life of the process once set.
PyObject* g_screen_pyobj = nullptr;
SDL_Surface* g_screen = nullptr;
uint32_t COLOR_WHITE = 0xFFFFFF00;
PyTypeObject* g_cobject_type_pointer = nullptr;

// Runtime modules: immortal, bound once at import.
PyObject* tam6 = nullptr;
PyObject* tamapi = nullptr;
PyObject* tamapi__dict__ = nullptr;

long this_second = -1;
long last_second = 0;
int current_fps = 0;
double g_view_xscale = 0.0;
double g_view_yscale = 0.0;

PyObject* set_SDL_screen(PyObject*, PyObject* args) {
  PyObject* screen;
  if (!PyArg_ParseTuple(args, "O", &screen)) return nullptr;
  SDL_Surface* surf = korvel::compat::surface_of(screen);  // guard: TypeError, not a crash
  if (!surf) return nullptr;
  Py_INCREF(screen);
  Py_XSETREF(g_screen_pyobj, screen);
  g_screen = surf;
  COLOR_WHITE = surf->format->Rmask | surf->format->Gmask | surf->format->Bmask;
  Py_RETURN_NONE;
}

PyObject* init_subsystems(PyObject*, PyObject*) {
  SDL_InitSubSystem(SDL_INIT_VIDEO);
  Py_RETURN_NONE;
}

namespace {

PyMethodDef KorvelDefs[] = {
    {"breakable", breakable, METH_VARARGS, "A hook for GDB."},
    {"fill_translucent", fill_translucent, METH_VARARGS,
     "Draw a rectangle, possibly with alpha blending."},
    {"init_subsystems", init_subsystems, METH_VARARGS, "Initialize the subsystem variables."},
    {"set_SDL_screen", set_SDL_screen, METH_VARARGS, "Store the SDL screen in a C variable."},
    {"RegisterInstancesDict", RegisterInstancesDict, METH_VARARGS,
     "Store data for InstanceList."},
    {"TamSprite_from_surface", TamSprite_from_surface, METH_VARARGS,
     "Create a new TamSprite from a Pygame surface."},
    {"Room_Draw", Room_Draw, METH_VARARGS, "Draw the current room."},
    {nullptr, nullptr, 0, nullptr}};

PyModuleDef korvel_module = {PyModuleDef_HEAD_INIT, "korvel", nullptr, -1, KorvelDefs,
                             nullptr, nullptr, nullptr, nullptr};

struct PublishedType {
  PyTypeObject* type;
  const char* attribute;
  const char* not_ready;  // null: a failure to ready this type is silent
  void (*prepare)();      // set up before readying, or null
};

// Readied and published in this order; the first failure stops the chain.
const PublishedType kPublishedTypes[] = {
    {&TamVar_Type, "TamVar", nullptr, [] { TamVar_Type.tp_new = TamVar_new; }},
    {&TamSprite_Type, "TamSprite", "TamSprite_Type not ready.\n", nullptr},
    {&BackgroundData_Type, "BackgroundData", "BackgroundData_Type not ready.\n", nullptr},
    {&RoomTileData_Type, "RoomTileData", "RoomTileData_Type not ready.\n", nullptr},
    {&InstanceList_Type, "InstanceList", nullptr, InstanceList_prepare},
    {&TamRoom_Type, "TamRoom", "TamRoom_Type not ready.\n", nullptr},
    {&Floatlist8_Type, "Floatlist8", "Floatlist8_Type not ready.\n", nullptr},
    {nullptr, nullptr, nullptr, nullptr}};

void publish_types(PyObject* m) {
  for (const PublishedType* t = kPublishedTypes; t->type; ++t) {
    if (t->prepare) t->prepare();
    if (PyType_Ready(t->type) < 0) {
      if (t->not_ready) fputs(t->not_ready, stderr);
      return;
    }
    PyModule_AddObjectRef(m, t->attribute, reinterpret_cast<PyObject*>(t->type));
  }
}

void seed_random() {
  int32_t seed = 0;
  int fd = open("/dev/urandom", O_RDONLY);
  if (fd >= 0) {
    if (read(fd, &seed, sizeof seed) < 0) seed = 0;
    close(fd);
  }
  seed ^= int32_t(getpid());
  seed = int32_t(uint32_t(getppid()) << 16) ^ seed;
  srand48(seed);
}

// Runtime module by name: the registered one, or a new empty one that the
// runtime fills later. Kept for the life of the process.
PyObject* bind_runtime_module(const char* name) {
  PyObject* m = PyImport_AddModule(name);  // borrowed
  Py_XINCREF(m);
  return m;
}

}  // namespace

PyMODINIT_FUNC PyInit_korvel() {
  PyObject* m = PyModule_Create(&korvel_module);
  if (!m) return nullptr;
  publish_types(m);
  PyErr_Clear();
  korvel::compat::import_pygame_api();
  korvel_init_rooms();
  PyErr_Clear();  // without pygame the surface functions raise TypeError when called
  seed_random();
  korvel::pixels::select_kernels();
  g_cobject_type_pointer = &PyCapsule_Type;
  Py_INCREF(g_cobject_type_pointer);
  tam6 = bind_runtime_module("tam6");
  tamapi = bind_runtime_module("tamapi");
  if (!tam6 || !tamapi) {
    Py_DECREF(m);
    return nullptr;
  }
  tamapi__dict__ = PyObject_GetAttrString(tamapi, "__dict__");
  if (!tamapi__dict__) {
    Py_DECREF(m);
    return nullptr;
  }
  return m;
}
