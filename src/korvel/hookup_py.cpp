// The runtime hookup: the objects the runtime hands over and the callables
// looked up by name, kept for the life of the process.
#include <Python.h>

#include <string>

#include "korvel_py/globals.h"
#include "korvel_py/methods.h"
#include "korvel_py/ref.h"

PyObject* global_instances_dict = nullptr;
PyObject* global_objectinstancebase_type = nullptr;
PyObject* global_objectinstancezero_type = nullptr;
PyObject* global_particlesystem_type = nullptr;

PyObject* tam6_SpriteData_load_images = nullptr;
PyObject* tam6_BackgroundData_load_images = nullptr;
PyObject* tam6_Room_Compile = nullptr;
PyObject* tam6_Room_Create = nullptr;
PyObject* tam6_Room_InitializeBackgrounds = nullptr;
PyObject* tam6_Room_AddInstance = nullptr;
PyObject* tam6_Room_AddDrawnInstance = nullptr;
PyObject* tam6_Room_ResortDrawnObjects = nullptr;
PyObject* tam6_Room_SetBackgroundIndex = nullptr;
PyObject* tam6_Room_StepAlarms = nullptr;
PyObject* tam6_Room_MoveInstances = nullptr;
PyObject* tam6_Room_HandleCollisions = nullptr;
PyObject* tam6_Room_StepEvents = nullptr;
PyObject* tam6_Room_DrawBackgrounds = nullptr;
PyObject* tam6_Room_RenderBackground = nullptr;
PyObject* tam6_Room_Leave = nullptr;
PyObject* tam6_Room_MouseButtonDown = nullptr;
PyObject* tam6_Room_MouseButtonUp = nullptr;
PyObject* tam6_Room_HandleKeyrelease = nullptr;
PyObject* tam6_Room_HandleKeypress = nullptr;
PyObject* tamapi_draw_sprite_ext = nullptr;
PyObject* tamapi_py_ParticleSystem = nullptr;
PyObject* tamapi_py_draw_props = nullptr;
PyObject* tamapi_py_self_stack = nullptr;
PyObject* pygame_draw_rect = nullptr;
PyObject* pygame_Surface = nullptr;

namespace {

struct Lookup {
  PyObject** global;
  PyObject** module;
  const char* name;
};

// In lookup order; the last two are reached through tamapi.pygame.
const Lookup kLookups[] = {
    {&tam6_SpriteData_load_images, &tam6, "SpriteData_load_images"},
    {&tam6_BackgroundData_load_images, &tam6, "BackgroundData_load_images"},
    {&tam6_Room_Compile, &tam6, "Room_Compile"},
    {&tam6_Room_Create, &tam6, "Room_Create"},
    {&tam6_Room_InitializeBackgrounds, &tam6, "Room_InitializeBackgrounds"},
    {&tam6_Room_AddInstance, &tam6, "Room_AddInstance"},
    {&tam6_Room_AddDrawnInstance, &tam6, "Room_AddDrawnInstance"},
    {&tam6_Room_ResortDrawnObjects, &tam6, "Room_ResortDrawnObjects"},
    {&tam6_Room_SetBackgroundIndex, &tam6, "Room_SetBackgroundIndex"},
    {&tam6_Room_StepAlarms, &tam6, "Room_StepAlarms"},
    {&tam6_Room_MoveInstances, &tam6, "Room_MoveInstances"},
    {&tam6_Room_HandleCollisions, &tam6, "Room_HandleCollisions"},
    {&tam6_Room_StepEvents, &tam6, "Room_StepEvents"},
    {&tam6_Room_DrawBackgrounds, &tam6, "Room_DrawBackgrounds"},
    {&tam6_Room_RenderBackground, &tam6, "Room_RenderBackground"},
    {&tam6_Room_Leave, &tam6, "Room_Leave"},
    {&tam6_Room_MouseButtonDown, &tam6, "Room_MouseButtonDown"},
    {&tam6_Room_MouseButtonUp, &tam6, "Room_MouseButtonUp"},
    {&tam6_Room_HandleKeyrelease, &tam6, "Room_HandleKeyrelease"},
    {&tam6_Room_HandleKeypress, &tam6, "Room_HandleKeypress"},
    {&tamapi_draw_sprite_ext, &tamapi, "draw_sprite_ext"},
    {&tamapi_py_ParticleSystem, &tamapi, "py_ParticleSystem"},
    {&tamapi_py_draw_props, &tamapi, "py_draw_props"},
    {&tamapi_py_self_stack, &tamapi, "py_self_stack"},
};

// A failed lookup stores null and is not an error of this call: the runtime
// may register before it has every handler, and a later use of the missing
// one raises (korvel::hooked).
PyObject* look_up(PyObject* owner, const char* name) {
  if (!owner) return nullptr;
  PyObject* r = PyObject_GetAttrString(owner, name);
  if (!r) PyErr_Clear();
  return r;
}

// The previous values are not released: the runtime registers once, and a
// repeated call keeps the old objects alive rather than risk a callable that
// is still running being freed under it.
void look_up_callables() {
  for (const Lookup& l : kLookups) *l.global = look_up(*l.module, l.name);
  korvel::Ref pygame = korvel::Ref::steal(look_up(tamapi, "pygame"));
  korvel::Ref draw = korvel::Ref::steal(look_up(pygame.get(), "draw"));
  pygame_draw_rect = look_up(draw.get(), "rect");
  pygame_Surface = look_up(pygame.get(), "Surface");
}

// True when sys.modules no longer holds, under name, the module bound at import.
bool replaced_since_import(PyObject* bound, const char* name) {
  return PyDict_GetItemString(PyImport_GetModuleDict(), name) != bound;
}

// The looked-up names that found nothing, as "tam6.Room_Create, ...".
std::string missing_names() {
  std::string missing;
  auto note = [&missing](const std::string& name) {
    missing += missing.empty() ? "" : ", ";
    missing += name;
  };
  for (const Lookup& l : kLookups)
    if (!*l.global) note(std::string(l.module == &tam6 ? "tam6." : "tamapi.") + l.name);
  if (!pygame_draw_rect) note("tamapi.pygame.draw.rect");
  if (!pygame_Surface) note("tamapi.pygame.Surface");
  return missing;
}

// One warning that says what the runtime has not given korvel and what to do,
// or nothing when all is in place. -1 when the warning was turned into an error.
int warn_about_hookup() {
  std::string advice;
  if (replaced_since_import(tam6, "tam6") || replaced_since_import(tamapi, "tamapi"))
    advice =
        "korvel was imported before the runtime's tam6 and tamapi were in sys.modules, and "
        "holds the empty modules it made for them then: put them in sys.modules before "
        "`import korvel`.";
  std::string missing = missing_names();
  if (!missing.empty())
    advice += (advice.empty() ? "" : " ") + ("Not found: " + missing) +
              ". Define these before calling RegisterInstancesDict; korvel raises "
              "RuntimeError when it needs one that is missing.";
  if (advice.empty()) return 0;
  return PyErr_WarnEx(PyExc_RuntimeWarning, ("RegisterInstancesDict: " + advice).c_str(), 1);
}

}  // namespace

PyObject* RegisterInstancesDict(PyObject*, PyObject* args) {
  PyObject *instances, *base_type, *zero_type, *particlesystem_type;
  // guard: parse into locals first, so a bad call leaves the stored objects
  // as they were instead of half-replaced and unowned
  bool parsed =
      PyArg_ParseTuple(args, "OOOO", &instances, &base_type, &zero_type, &particlesystem_type);
  // guard: instance numbers are looked up in it as a dict
  if (parsed && !PyDict_Check(instances)) {
    PyErr_Format(PyExc_TypeError, "RegisterInstancesDict: the instances must be a dict, not %.200s",
                 Py_TYPE(instances)->tp_name);
    parsed = false;
  }
  if (parsed) {
    Py_XSETREF(global_instances_dict, Py_NewRef(instances));
    Py_XSETREF(global_objectinstancebase_type, Py_NewRef(base_type));
    Py_XSETREF(global_objectinstancezero_type, Py_NewRef(zero_type));
    Py_XSETREF(global_particlesystem_type, Py_NewRef(particlesystem_type));
  }
  PyObject *type, *value, *tb;
  PyErr_Fetch(&type, &value, &tb);
  look_up_callables();
  PyErr_Restore(type, value, tb);
  if (!parsed) return nullptr;
  if (warn_about_hookup() < 0) return nullptr;
  Py_RETURN_NONE;
}

PyObject* korvel::hooked(PyObject* callable, const char* name) {
  if (!callable)
    PyErr_Format(PyExc_RuntimeError,
                 "the runtime's %s is not registered: define it before calling "
                 "RegisterInstancesDict, with tam6 and tamapi in sys.modules before "
                 "`import korvel`", name);
  return callable;
}
