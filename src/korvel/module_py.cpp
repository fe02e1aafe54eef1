// The module entry, its method table and type list, and the stored screen.
#include <Python.h>
#include <SDL.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "korvel_py/background.h"
#include "korvel_py/compat.h"
#include "korvel_py/floatlist8.h"
#include "korvel_py/globals.h"
#include "korvel_py/instancelist.h"
#include "korvel_py/methods.h"
#include "korvel_py/module.h"
#include "korvel_py/particles.h"
#include "korvel/pixels/kernels.h"
#include "korvel_py/room.h"
#include "korvel_py/sprite.h"
#include "korvel_py/tamvar.h"

// The stored screen: held for the life of the process once set.
PyObject* g_screen_pyobj = nullptr;
uint32_t COLOR_WHITE = 0xFFFFFF00;
PyTypeObject* g_cobject_type_pointer = nullptr;

// Runtime modules: immortal, bound once at import.
PyObject* tam6 = nullptr;
PyObject* tamapi = nullptr;
PyObject* tamapi__dict__ = nullptr;

long this_second = -1;
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
  COLOR_WHITE = surf->format->Rmask | surf->format->Gmask | surf->format->Bmask;
  Py_RETURN_NONE;
}

PyObject* init_subsystems(PyObject*, PyObject*) {
  // guard: SDL counts initialisations in a byte that wraps after 255 calls,
  // and the wrapped count re-initialises video, destroying the open window
  // and the screen surface stored here
  if (!SDL_WasInit(SDL_INIT_VIDEO)) SDL_InitSubSystem(SDL_INIT_VIDEO);
  Py_RETURN_NONE;
}

namespace {

PyMethodDef KorvelDefs[] = {
    {"breakable", breakable, METH_VARARGS,
     "breakable($module, /, *args)\n--\n\n"
     "A hook for GDB."},
    {"fast_draw_gradient_v", fast_draw_gradient_v, METH_VARARGS,
     "fast_draw_gradient_v($module, surface, x1, y1, x2, y2, col_t, col_b, alpha, /)\n--\n\n"
     "Draw a vertical gradient, with alpha blending."},
    {"fast_draw_gradients_vc", fast_draw_gradients_vc, METH_VARARGS,
     "fast_draw_gradients_vc($module, surface, x1, y1, x2, y2, col_t1, col_b1, alpha1, col_2, "
     "alpha2, /)\n--\n\n"
     "Draw a vertical translucent gradient, then fill translucently."},
    {"fast_draw_gradients_vv", fast_draw_gradients_vv, METH_VARARGS,
     "fast_draw_gradients_vv($module, surface, x1, y1, x2, y2, col_t1, col_b1, alpha1, col_t2, "
     "col_b2, alpha2, /)\n--\n\n"
     "Draw two vertical translucent gradients."},
    {"fast_draw_gradients_vcv", fast_draw_gradients_vcv, METH_VARARGS,
     "fast_draw_gradients_vcv($module, surface, x1, y1, x2, y2, col_t1, col_b1, alpha1, col_2, "
     "alpha2, col_t3, col_b3, alpha3, /)\n--\n\n"
     "Draw a vertical gradient, a constant, and another vgrad, each alphablent."},
    {"fast_draw_gradients_vcvvc", fast_draw_gradients_vcvvc, METH_VARARGS,
     "fast_draw_gradients_vcvvc($module, surface, x1, y1, x2, y2, col_t1, col_b1, alpha1, col_2, "
     "alpha2, col_t3, col_b3, alpha3, col_t4, col_b4, alpha4, col_5, alpha5, /)\n--\n\n"
     "More complex gradients."},
    {"fast_draw_rectangle_color", fast_draw_rectangle_color, METH_VARARGS,
     "fast_draw_rectangle_color($module, x1, y1, x2, y2, col_tl, col_tr, col_br, col_bl, alphaf, "
     "outline, /)\n--\n\n"
     "C core for draw_rectangle_color."},
    {"draw_rectangle", draw_rectangle, METH_VARARGS,
     "draw_rectangle($module, x1, y1, x2, y2, outline=0.0, /)\n--\n\n"
     "Draw a rectangle."},
    {"fill_translucent", fill_translucent, METH_VARARGS,
     "fill_translucent($module, surface, x1, y1, x2, y2, color, alpha, /)\n--\n\n"
     "Draw a rectangle, possibly with alpha blending."},
    {"init_subsystems", init_subsystems, METH_VARARGS,
     "init_subsystems($module, /, *args)\n--\n\n"
     "Initialize the subsystem variables."},
    {"CParticle_new", CParticle_new, METH_VARARGS,
     "CParticle_new($module, pt, x, y, /)\n--\n\n"
     "Create a new particle."},
    {"CParticle_new_size_color", CParticle_new_size_color, METH_VARARGS,
     "CParticle_new_size_color($module, pt, x, y, size, color, /)\n--\n\n"
     "Create a new particle of a given size and color."},
    {"CParticle_step", CParticle_step, METH_VARARGS,
     "CParticle_step($module, p, /)\n--\n\n"
     "Per-particle step function."},
    {"CParticle_dec_ttl", CParticle_dec_ttl, METH_VARARGS,
     "CParticle_dec_ttl($module, p, /)\n--\n\n"
     "Decrement the particle TTL and return the new value."},
    {"CParticle_dec_ttl_and_render", CParticle_dec_ttl_and_render, METH_VARARGS,
     "CParticle_dec_ttl_and_render($module, p, xoff, yoff, /)\n--\n\n"
     "Decrement the particle TTL and render if the particle still should exist."},
    {"CParticle_attach_beancounter", CParticle_attach_beancounter, METH_VARARGS,
     "CParticle_attach_beancounter($module, p, counter, /)\n--\n\n"
     "Attach a beancounter to the particle.  The beancounter will be increased.  Destroying "
     "the particle will decrease it.  If there is a preexisting beancounter, it will be "
     "decreased."},
    {"CParticle_type_cache_clear", CParticle_type_cache_clear, METH_VARARGS,
     "CParticle_type_cache_clear($module, pt, /)\n--\n\n"
     "Remove cache of prerendered particle surfaces for this type."},
    {"flip_vh", py_flip_vh, METH_VARARGS,
     "flip_vh($module, surface, /)\n--\n\n"
     "Flip a surface."},
    {"flip_v", py_flip_v, METH_VARARGS,
     "flip_v($module, surface, /)\n--\n\n"
     "Flip a surface."},
    {"flip_h", py_flip_h, METH_VARARGS,
     "flip_h($module, surface, /)\n--\n\n"
     "Flip a surface."},
    {"part_type_alpha2", part_type_alpha2, METH_VARARGS,
     "part_type_alpha2($module, pt, start, end, /)\n--\n\n"
     "Set start and end alphas, linear interpolation."},
    {"part_type_alpha3", part_type_alpha3, METH_VARARGS,
     "part_type_alpha3($module, pt, start, half, end, /)\n--\n\n"
     "Set start/half/end alphas."},
    {"part_type_blend", part_type_blend, METH_VARARGS,
     "part_type_blend($module, pt, mode, /)\n--\n\n"
     "Set particle blend mode flag."},
    {"part_type_color3", part_type_color3, METH_VARARGS,
     "part_type_color3($module, pt, start, half, end, /)\n--\n\n"
     "Lowlevel color3 implementation.  Expects ints."},
    {"part_type_create", part_type_create, METH_VARARGS,
     "part_type_create($module, /, *args)\n--\n\n"
     "C implementation of part_type_create."},
    {"part_type_direction", part_type_direction, METH_VARARGS,
     "part_type_direction($module, pt, min, max, incr, wiggle, /)\n--\n\n"
     "Set the direction min/max/incr/wiggle."},
    {"part_type_gravity", part_type_gravity, METH_VARARGS,
     "part_type_gravity($module, pt, amount, direction, /)\n--\n\n"
     "Set the gravity strength and angle."},
    {"part_type_life", part_type_life, METH_VARARGS,
     "part_type_life($module, pt, min, max, /)\n--\n\n"
     "Set the particle minimum and maximum lifespan in frames."},
    {"part_type_orientation", part_type_orientation, METH_VARARGS,
     "part_type_orientation($module, pt, min, max, incr, wiggle, relative, /)\n--\n\n"
     "Set the orientation min/max/incr/wiggle/relativity for this particle type."},
    {"part_type_scale", part_type_scale, METH_VARARGS,
     "part_type_scale($module, pt, xscale, yscale, /)\n--\n\n"
     "Set the x and y scale factors for the particle type."},
    {"part_type_shape", part_type_shape, METH_VARARGS,
     "part_type_shape($module, pt, shape, /)\n--\n\n"
     "Set the shape of a particle type."},
    {"part_type_size", part_type_size, METH_VARARGS,
     "part_type_size($module, pt, min, max, incr, wiggle, /)\n--\n\n"
     "Set min/max/incr/wiggle for particle size."},
    {"part_type_speed", part_type_speed, METH_VARARGS,
     "part_type_speed($module, pt, min, max, incr, wiggle, /)\n--\n\n"
     "Set min/max/incr/wiggle por particle speed."},
    {"part_type_sprite", part_type_sprite, METH_VARARGS,
     "part_type_sprite($module, pt, sprite, animate, stretch, random, /)\n--\n\n"
     "Set particle type to use a sprite/animated/stretched/random"},
    {"rotoscale", rotoscale, METH_VARARGS,
     "rotoscale($module, surface, xscale, yscale, clockwise, /)\n--\n\n"
     "Rotate and scale a Pygame surface; return a new Pygame surface."},
    {"scale", scale, METH_VARARGS,
     "scale($module, surface, xscale, yscale, /)\n--\n\n"
     "Scale a Pygame surface."},
    {"set_SDL_screen", set_SDL_screen, METH_VARARGS,
     "set_SDL_screen($module, screen, /)\n--\n\n"
     "Store the SDL screen in a C variable."},
    {"RegisterInstancesDict", RegisterInstancesDict, METH_VARARGS,
     "RegisterInstancesDict($module, instances, base_type, zero_type, particlesystem_type, "
     "/)\n--\n\n"
     "Store data for InstanceList."},
    {"TamSprite_from_surface", TamSprite_from_surface, METH_VARARGS,
     "TamSprite_from_surface($module, surface, name=None, /)\n--\n\n"
     "Create a new TamSprite from a Pygame surface."},
    {"Room_Draw", Room_Draw, METH_VARARGS,
     "Room_Draw($module, room, surface, /)\n--\n\n"
     "Draw the current room."},
    {"draw_sprite_ext", draw_sprite_ext, METH_VARARGS,
     "draw_sprite_ext($module, /, *args)\n--\n\n"
     "Draw a sprite."},
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
    {&Beancounter_Type, "Beancounter", "Beancounter_Type not ready.\n", nullptr},
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

// The wrapper type of the handles, learnt from a default particle type that
// dies at once (its destructor frees the record).
bool learn_wrapper_type() {
  PyObject* probe = new_particle_type_handle();
  if (!probe) return false;
  g_cobject_type_pointer = Py_TYPE(probe);
  Py_INCREF(g_cobject_type_pointer);
  Py_DECREF(probe);
  return true;
}

// KORVEL_ISA pins the pixel kernels; a name this build cannot run here
// stops the import rather than silently running another set.
bool select_kernels_or_raise() {
  const char* pin = std::getenv("KORVEL_ISA");
  if (korvel::pixels::select_kernels(pin)) return true;
  PyErr_Format(PyExc_ImportError,
               "KORVEL_ISA=%s names no kernel set of this build and processor; choose one of: %s",
               pin, korvel::pixels::available_isa_names().c_str());
  return false;
}

}  // namespace

PyMODINIT_FUNC PyInit_korvel() {
  PyObject* m = PyModule_Create(&korvel_module);
  if (!m) return nullptr;
  if (PyModule_AddStringConstant(m, "__version__", KORVEL_VERSION) < 0) {
    Py_DECREF(m);
    return nullptr;
  }
  publish_types(m);
  PyErr_Clear();
  korvel::compat::import_pygame_api();
  korvel_init_rooms();
  PyErr_Clear();  // without pygame the surface functions raise TypeError when called
  seed_random();
  if (!select_kernels_or_raise() || !learn_wrapper_type()) {
    Py_DECREF(m);
    return nullptr;
  }
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
