// TamSprite: one sprite resource, its frames and its cache of transformed frames.
#include "korvel_py/sprite.h"

#include <SDL.h>
#include <structmember.h>

#include <cstddef>
#include <iterator>

#include "common/fields_py.h"
#include "korvel_py/common.h"
#include "korvel_py/compat.h"
#include "korvel/sdl_compat.h"
#include "korvel_py/globals.h"
#include "korvel_py/methods.h"
#include "korvel_py/ref.h"
#include "korvel/resources/restore_py.h"

using korvel::Ref;

namespace {

TamSprite* sprite(PyObject* o) { return reinterpret_cast<TamSprite*>(o); }

PyObject* TamSprite_new(PyTypeObject* type, PyObject*, PyObject*) {
  Ref self = Ref::steal(type->tp_alloc(type, 0));  // zeroed: every field safe for dealloc
  if (!self) return nullptr;
  TamSprite* s = sprite(self.get());
  s->name = Py_NewRef(Py_None);
  s->subimages = PyList_New(0);
  s->scalecache = PyDict_New();
  if (!s->subimages || !s->scalecache) return nullptr;
  return self.release();
}

// The references, in the order traversal and clearing take them.
constexpr Py_ssize_t kReferences[] = {
    offsetof(TamSprite, name),
    offsetof(TamSprite, subimages),
    offsetof(TamSprite, scalecache),
};

// The int fields in the pickled state's order (the record's own); the
// name and the frame count follow them.
constexpr Py_ssize_t kIntState[] = {
    offsetof(TamSprite, w),
    offsetof(TamSprite, h),
    offsetof(TamSprite, leftbound),
    offsetof(TamSprite, rightbound),
    offsetof(TamSprite, topbound),
    offsetof(TamSprite, bottombound),
    offsetof(TamSprite, xorigin),
    offsetof(TamSprite, yorigin),
    offsetof(TamSprite, transparent),
    offsetof(TamSprite, precise_collision_checking),
    offsetof(TamSprite, bounding_box_type),
    offsetof(TamSprite, smooth_edges),
    offsetof(TamSprite, preload_texture),
    offsetof(TamSprite, use_video_memory),
    offsetof(TamSprite, load_only_on_use),
};
constexpr Py_ssize_t kNameItem = std::size(kIntState);
constexpr Py_ssize_t kCountItem = kNameItem + 1;

int TamSprite_traverse(PyObject* o, visitproc visit, void* arg) {
  return korvel::visit_references(o, kReferences, visit, arg);
}

int TamSprite_clear(PyObject* o) {
  korvel::clear_references(o, kReferences);
  return 0;
}

void TamSprite_dealloc(PyObject* o) {
  PyObject_GC_UnTrack(o);
  TamSprite_clear(o);
  Py_TYPE(o)->tp_free(o);
}

PyObject* TamSprite_nb_int(PyObject* self) { return Game_Sequence_Index(self, "sprites"); }

PyObject* TamSprite_nb_float(PyObject* self) { return Game_Sequence_Index_F(self, "sprites"); }

// The resource index as text; a sprite that is not in the game's list has
// none (null without an exception).
PyObject* TamSprite_str(PyObject* self) {
  Py_ssize_t x;
  if (korvel::sequence_position(self, "sprites", &x) <= 0) return nullptr;
  return PyUnicode_FromFormat("%zd", x);
}

// The first field the pickled state needs that is empty, or null.
const char* missing_state_field(const TamSprite* s) {
  if (!s->name) return "name";
  if (!s->subimages) return "subimages";
  return nullptr;
}

PyObject* TamSprite_reduce(PyObject* self, PyObject*) {
  TamSprite* s = sprite(self);
  // guard: emptied fields raise as reading them does, instead of pickling null
  if (const char* field = missing_state_field(s))
    return korvel::resources::empty_member(self, field);
  // Pickling throws the scale cache away: the field stays empty until
  // __setstate__ or an assignment sets it again.
  Py_CLEAR(s->scalecache);
  // guard: the state is read only now, and its fields checked last, since
  // releasing the cache's entries (or a frame list's length, or a collection
  // while the state is built) runs code that may rename the sprite, add
  // frames or empty a field
  Py_ssize_t count = s->subimages ? PySequence_Size(Ref::borrow(s->subimages).get()) : 0;
  if (count < 0) return nullptr;
  Ref state = korvel::ints_state(self, kIntState, 2);
  if (!state) return nullptr;
  PyObject* frames = PyLong_FromLong(int(count));
  if (!frames) return nullptr;
  PyTuple_SET_ITEM(state.get(), kCountItem, frames);
  if (const char* field = missing_state_field(s))
    return korvel::resources::empty_member(self, field);
  PyTuple_SET_ITEM(state.get(), kNameItem, Py_NewRef(s->name));
  return Py_BuildValue("(O()O)", reinterpret_cast<PyObject*>(Py_TYPE(self)), state.get());
}

PyObject* TamSprite_setstate(PyObject* self, PyObject* args) {
  PyObject* state;
  if (!PyArg_ParseTuple(args, "O", &state)) return nullptr;
  if (!korvel::read_ints_state(self, state, kIntState)) return nullptr;
  TamSprite* s = sprite(self);
  PyObject* name = PySequence_GetItem(state, kNameItem);  // a list or tuple: seqi checked it
  if (!name) return nullptr;
  Py_XSETREF(s->name, name);
  Py_XSETREF(s->subimages, PyList_New(0));
  if (!s->subimages) return nullptr;
  long count = seqi(state, kCountItem);
  if (count == -1 && PyErr_Occurred()) return nullptr;
  Py_XSETREF(s->scalecache, PyDict_New());
  if (!s->scalecache) return nullptr;
  // The loader appends count frames to subimages.
  Ref loader_args = Ref::steal(Py_BuildValue("(OOi)", self, s->name, int(count)));
  return korvel::resources::load_and_register(self, tam6_SpriteData_load_images,
                                              "SpriteData_load_images", loader_args.get());
}

PyNumberMethods TamSprite_numbermethods = {
    .nb_int = TamSprite_nb_int,
    .nb_float = TamSprite_nb_float,
};

#define INT_MEMBER(field, doc) {#field, T_INT, offsetof(TamSprite, field), 0, doc}
#define OBJECT_MEMBER(field) {#field, T_OBJECT_EX, offsetof(TamSprite, field), 0, ""}

PyMemberDef TamSprite_members[] = {
    INT_MEMBER(w, "unscaled sprite width."),
    INT_MEMBER(h, "unscaled sprite height."),
    INT_MEMBER(xorigin, ""),
    INT_MEMBER(yorigin, ""),
    INT_MEMBER(leftbound, ""),
    INT_MEMBER(rightbound, ""),
    INT_MEMBER(topbound, ""),
    INT_MEMBER(bottombound, ""),
    INT_MEMBER(transparent, ""),
    INT_MEMBER(use_video_memory, ""),
    INT_MEMBER(load_only_on_use, ""),
    INT_MEMBER(smooth_edges, ""),
    INT_MEMBER(preload_texture, ""),
    INT_MEMBER(bounding_box_type, ""),
    INT_MEMBER(precise_collision_checking, ""),
    OBJECT_MEMBER(name),
    OBJECT_MEMBER(subimages),
    OBJECT_MEMBER(scalecache),
    {nullptr, 0, 0, 0, nullptr}};

#undef INT_MEMBER
#undef OBJECT_MEMBER

PyMethodDef TamSprite_methods[] = {
    {"__reduce__", TamSprite_reduce, METH_VARARGS, "__reduce__($self, /, *args)\n--\n\n"},
    {"__setstate__", TamSprite_setstate, METH_VARARGS,
     "__setstate__($self, state, /)\n--\n\n"
     "Unpickler"},
    {nullptr, nullptr, 0, nullptr}};

}  // namespace

PyTypeObject TamSprite_Type = {
    .ob_base = PyVarObject_HEAD_INIT(nullptr, 0)
    .tp_name = "korvel.TamSprite",
    .tp_basicsize = sizeof(TamSprite),
    .tp_dealloc = TamSprite_dealloc,
    .tp_as_number = &TamSprite_numbermethods,
    .tp_str = TamSprite_str,
    .tp_flags = Py_TPFLAGS_DEFAULT | Py_TPFLAGS_HAVE_GC,
    .tp_doc = "Tam-compatible sprites.",
    .tp_traverse = TamSprite_traverse,
    .tp_clear = TamSprite_clear,
    .tp_richcompare = Object_AsInt_richcompare,
    .tp_methods = TamSprite_methods,
    .tp_members = TamSprite_members,
    .tp_new = TamSprite_new,
};

PyObject* TamSprite_from_surface(PyObject*, PyObject* args) {
  PyObject *surface, *name = nullptr;
  if (!PyArg_ParseTuple(args, "O|O", &surface, &name)) return nullptr;
  SDL_Surface* src = korvel::compat::surface_of(surface);  // guard: TypeError for a non-surface
  if (!src) return nullptr;
  SDL_Surface* screen = korvel::compat::screen();
  if (!screen) return nullptr;
  Ref self = Ref::steal(PyObject_CallNoArgs(reinterpret_cast<PyObject*>(&TamSprite_Type)));
  if (!self) return nullptr;
  TamSprite* s = sprite(self.get());
  if (name) Py_SETREF(s->name, Py_NewRef(name));
  // The box runs to one past the last pixel: (0, w, 0, h).
  s->w = s->rightbound = src->w;
  s->h = s->bottombound = src->h;
  // The caller's surface is not kept: the frame is a copy in the screen's format.
  Ref frame = Ref::steal(
      PySurface_FromSurface(korvel::compat::convert_surface(src, screen->format, false)));
  if (!frame || PyList_Append(s->subimages, frame.get()) < 0) return nullptr;
  return self.release();
}
