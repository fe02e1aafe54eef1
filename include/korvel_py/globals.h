// Module-wide state: the stored screen, the view scale, the frame counter,
// the runtime modules and the runtime hookup. Everything here lives for the
// whole process.
#pragma once
#include <Python.h>

#include <cstdint>

// The stored screen (set_SDL_screen). Drawing reads its live SDL surface
// through korvel::compat::screen(), never a kept pointer.
extern PyObject* g_screen_pyobj;
extern uint32_t COLOR_WHITE;
extern PyTypeObject* g_cobject_type_pointer;

// Runtime modules, bound at import.
extern PyObject* tam6;
extern PyObject* tamapi;
extern PyObject* tamapi__dict__;

// Frame-rate count (Room_Draw) and the scale of the view being drawn.
extern long this_second;
extern int current_fps;
extern double g_view_xscale;
extern double g_view_yscale;

// Runtime hookup (RegisterInstancesDict). A lookup that failed leaves null.
extern PyObject* global_instances_dict;
extern PyObject* global_objectinstancebase_type;
extern PyObject* global_objectinstancezero_type;
extern PyObject* global_particlesystem_type;

extern PyObject* tam6_SpriteData_load_images;
extern PyObject* tam6_BackgroundData_load_images;
extern PyObject* tam6_Room_Compile;
extern PyObject* tam6_Room_Create;
extern PyObject* tam6_Room_InitializeBackgrounds;
extern PyObject* tam6_Room_AddInstance;
extern PyObject* tam6_Room_AddDrawnInstance;
extern PyObject* tam6_Room_ResortDrawnObjects;
extern PyObject* tam6_Room_SetBackgroundIndex;
extern PyObject* tam6_Room_StepAlarms;
extern PyObject* tam6_Room_MoveInstances;
extern PyObject* tam6_Room_HandleCollisions;
extern PyObject* tam6_Room_StepEvents;
extern PyObject* tam6_Room_DrawBackgrounds;
extern PyObject* tam6_Room_RenderBackground;
extern PyObject* tam6_Room_Leave;
extern PyObject* tam6_Room_MouseButtonDown;
extern PyObject* tam6_Room_MouseButtonUp;
extern PyObject* tam6_Room_HandleKeyrelease;
extern PyObject* tam6_Room_HandleKeypress;
extern PyObject* tamapi_draw_sprite_ext;
extern PyObject* tamapi_py_ParticleSystem;
extern PyObject* tamapi_py_draw_props;
extern PyObject* tamapi_py_self_stack;
extern PyObject* pygame_draw_rect;
extern PyObject* pygame_Surface;

namespace korvel {

// guard: a hookup callable that was never registered raises RuntimeError
// naming it, instead of being called through a null pointer.
PyObject* hooked(PyObject* callable, const char* name);

}  // namespace korvel
