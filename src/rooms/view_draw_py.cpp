// One view of a room: following, scale, backgrounds (into a port surface
// when scaled), then the frame's instances and particle systems in depth
// order.
#include "rooms/view_draw_py.h"

#include <SDL.h>

#include <climits>
#include <cmath>
#include <cstdio>

#include "korvel_py/common.h"
#include "korvel_py/compat.h"
#include "korvel/sdl_compat.h"
#include "korvel_py/floatlist8.h"
#include "korvel_py/globals.h"
#include "korvel_py/ref.h"
#include "korvel_py/room.h"
#include "korvel/pixels/truncate.h"
#include "rooms/names_py.h"

namespace {

using korvel::Ref;
using korvel::pixels::trunc_saturated;
using korvel::rooms::Name;
using korvel::rooms::attribute;

// A view reports a failure and draws on. CPython must not be called with an
// exception set (an attribute lookup may silently clear it), so the first
// exception is held aside as soon as it is raised, while the rest of the view
// draws, and is set again when the holder goes; later ones are dropped.
// pending() answers "is the error indicator set?" at the checkpoints.
class ErrorStash {
 public:
  ErrorStash() = default;
  ErrorStash(const ErrorStash&) = delete;
  ErrorStash& operator=(const ErrorStash&) = delete;
  ~ErrorStash() {
    if (type_) PyErr_Restore(type_, value_, traceback_);
  }

  bool pending() {
    if (PyErr_Occurred()) {
      if (type_)
        PyErr_Clear();
      else
        PyErr_Fetch(&type_, &value_, &traceback_);
    }
    return type_ != nullptr;
  }
  void report(const char* message) {
    if (pending()) fputs(message, stderr);
  }

 private:
  PyObject* type_ = nullptr;
  PyObject* value_ = nullptr;
  PyObject* traceback_ = nullptr;
};

// The largest port side: SDL 1.2 rectangles were 16-bit.
constexpr int kMaxPortSide = 32767;

// One view's settings, copied out of the room before any runtime code runs.
struct View {
  int v;
  double xview, yview, object, hborder, vborder, wview, hview, xport, yport, wport, hport;
};

bool read_view(const TamRoom* r, int v, View* w) {
  w->v = v;
  return read_slot(r->view_xview, "TamRoom", "view_xview", v, &w->xview) &&
         read_slot(r->view_yview, "TamRoom", "view_yview", v, &w->yview) &&
         read_slot(r->view_object, "TamRoom", "view_object", v, &w->object) &&
         read_slot(r->view_hborder, "TamRoom", "view_hborder", v, &w->hborder) &&
         read_slot(r->view_vborder, "TamRoom", "view_vborder", v, &w->vborder) &&
         read_slot(r->view_wview, "TamRoom", "view_wview", v, &w->wview) &&
         read_slot(r->view_hview, "TamRoom", "view_hview", v, &w->hview) &&
         read_slot(r->view_xport, "TamRoom", "view_xport", v, &w->xport) &&
         read_slot(r->view_yport, "TamRoom", "view_yport", v, &w->yport) &&
         read_slot(r->view_wport, "TamRoom", "view_wport", v, &w->wport) &&
         read_slot(r->view_hport, "TamRoom", "view_hport", v, &w->hport);
}

bool number_attribute(PyObject* o, const char* name, double* out) {
  Ref value = Ref::steal(PyObject_GetAttrString(o, name));
  if (!value) return false;
  *out = PyFloat_AsDouble(value.get());
  return !(*out == -1.0 && PyErr_Occurred());
}

// The first instance of object number fo or of its descendants; null without
// an exception when there is none.
PyObject* followed_instance(int fo) {
  Ref game = Ref::steal(PyObject_GetAttrString(tam6, "game"));
  if (!game) return nullptr;
  Ref objects = Ref::steal(PyObject_GetAttrString(game.get(), "objects"));
  if (!objects) return nullptr;
  // guard: an object number beyond the game's objects is an IndexError
  Ref object = Ref::steal(PySequence_GetItem(objects.get(), fo));
  if (!object) return nullptr;
  return GetFirstInstance(object.get());
}

// The view's position on one axis: pos, kept inside the room.
double clamp_to_room(double pos, double size, int room_size) {
  if (pos < 0) return 0;
  if (pos + size > room_size) return room_size - size;
  return pos;
}

// Moves the view onto the first instance of the object it follows.
void follow(TamRoom* r, View* w) {
  const int fo = trunc_saturated(w->object);
  if (fo < 0) return;
  Ref instance = Ref::steal(followed_instance(fo));
  double x, y;
  if (!instance || !number_attribute(instance.get(), "x", &x) ||
      !number_attribute(instance.get(), "y", &y))
    return;
  const double vx = clamp_to_room(x - w->hborder, w->wview, r->room_width);
  const double vy = clamp_to_room(y - w->vborder, w->hview, r->room_height);
  if (vx != w->xview || vy != w->yview) {
    // read again: the runtime code run above may have replaced the lists
    Floatlist8* xl = Floatlist8_of(r->view_xview, "TamRoom", "view_xview");
    Floatlist8* yl = Floatlist8_of(r->view_yview, "TamRoom", "view_yview");
    if (!xl || !yl) return;
    xl->f[w->v] = vx;
    yl->f[w->v] = vy;
  }
  w->xview = vx;
  w->yview = vy;
}

void set_runtime_scale(PyObject* xscale, PyObject* yscale) {
  if (xscale && yscale && PyObject_SetAttrString(tam6, "view_xscale", xscale) == 0)
    PyObject_SetAttrString(tam6, "view_yscale", yscale);
}

// The port: a surface of the port's size in the screen's format, wrapped in
// a pygame Surface that frees it.
Ref make_port(const View& w) {
  // guard: the port takes the screen's masks, so the screen must be stored,
  // and read afresh, as the drawing so far may have set up the display again
  SDL_Surface* screen = korvel::compat::screen();
  if (!screen) return Ref();
  // guard: a side no surface can have (SDL 1.2 rectangles were 16-bit) is
  // refused before SDL is asked for gigabytes of port
  const int pw = trunc_saturated(w.wport), ph = trunc_saturated(w.hport);
  if (pw > kMaxPortSide || ph > kMaxPortSide) {
    PyErr_Format(PyExc_ValueError, "view port %d x %d is larger than a surface can be", pw, ph);
    return Ref();
  }
  const SDL_PixelFormat* f = screen->format;
  // Without an alpha mask the port's per-surface alpha stays at 255, which
  // SDL 1.2 blitted as a copy; SDL 2 would run its blending loop for the
  // same pixels, so such a port blits as a copy.
  const bool srcalpha = f->Amask != 0;
  SDL_Surface* port = korvel::compat::create_rgb_surface(
      srcalpha, pw, ph, 32, f->Rmask, f->Gmask, f->Bmask, f->Amask);
  return Ref::steal(PySurface_FromSurface(port));
}

// Where a view's backgrounds go: straight onto the target, or into a port
// that is then blitted onto it. Neither when the port could not be made.
struct Scale {
  bool direct = false;
  Ref port;
};

// Sets the view scale everywhere the drawing code reads it.
Scale scale_view(const View& w, PyObject* surface_py, ErrorStash& e) {
  Scale scale;
  // fetched again: the runtime code run while following may have replaced it
  const SDL_Surface* target = korvel::compat::surface_of(surface_py);
  if (!target) return scale;
  if (w.xport == 0 && w.yport == 0 && target->w == w.wview && target->h == w.hview) {
    Ref one = Ref::steal(PyLong_FromLong(1));
    set_runtime_scale(one.get(), one.get());
    g_view_xscale = g_view_yscale = 1.0;
    scale.direct = true;
    e.pending();
    return scale;
  }
  scale.port = make_port(w);
  e.pending();
  g_view_xscale = w.wport / w.wview;
  g_view_yscale = w.hport / w.hview;
  Ref xscale = Ref::steal(PyFloat_FromDouble(g_view_xscale));
  Ref yscale = Ref::steal(PyFloat_FromDouble(g_view_yscale));
  set_runtime_scale(xscale.get(), yscale.get());
  e.report("An error has occurred 638\n");
  return scale;
}

// Calls the runtime's Room_DrawBackgrounds(room, on, xview, yview).
void draw_backgrounds(PyObject* room, PyObject* on, const View& w) {
  Ref handler =
      Ref::borrow(korvel::hooked(tam6_Room_DrawBackgrounds, "tam6.Room_DrawBackgrounds"));
  if (!handler) return;
  Ref xview = Ref::steal(PyFloat_FromDouble(w.xview));
  Ref yview = Ref::steal(PyFloat_FromDouble(w.yview));
  if (xview && yview)  // the result is released unchecked; a failure stays set
    Ref::steal(invoke_4(handler.get(), room, on, xview.get(), yview.get()));
}

// Draws the backgrounds straight onto the target, or into the port and the
// port onto the target at the port's position.
void draw_view_backgrounds(PyObject* room, PyObject* surface_py, const View& w,
                           const Scale& scale, ErrorStash& e) {
  if (scale.direct) {
    draw_backgrounds(room, surface_py, w);
    return;
  }
  if (!scale.port) return;  // its error is pending
  draw_backgrounds(room, scale.port.get(), w);
  e.pending();  // the blit below may set its own error
  SDL_Surface* target = korvel::compat::surface_of(surface_py);
  SDL_Surface* from = korvel::compat::surface_of(scale.port.get());
  if (!target || !from) return;
  SDL_Rect at{trunc_saturated(w.xport), trunc_saturated(w.yport), 0, 0};
  if (korvel::compat::blit(from, nullptr, target, &at) != 0)
    PyErr_Format(PyExc_RuntimeError, "SDL could not blit the view port: %s", SDL_GetError());
}

// o.py_Draw run with o as the scripts' "self".
bool eval_as_self(PyObject* o, PyObject* code) {
  // guard: PyEval_EvalCode would take any object for a code object
  if (!PyCode_Check(code)) {
    PyErr_Format(PyExc_TypeError, "draw code must be a code object, not '%.200s'",
                 Py_TYPE(code)->tp_name);
    return false;
  }
  if (PushSelf(o) < 0) return false;
  Ref value = Ref::steal(PyEval_EvalCode(code, tamapi__dict__, tamapi__dict__));
  ErrorStash failure;  // PopSelf calls into the runtime
  failure.pending();
  PopSelf();
  return bool(value);
}

Name kSpriteAttributes[] = {Name("sprite_index"), Name("image_index"),  Name("x"),
                            Name("y"),            Name("image_xscale"), Name("image_yscale"),
                            Name("image_angle"),  Name("image_blend"),  Name("image_alpha")};
constexpr size_t kSpriteArguments = sizeof kSpriteAttributes / sizeof kSpriteAttributes[0];

// tamapi.draw_sprite_ext with the instance's sprite settings.
bool draw_sprite_automatically(PyObject* o) {
  Ref values[kSpriteArguments];
  PyObject* args[kSpriteArguments];
  for (size_t i = 0; i < kSpriteArguments; ++i) {
    // guard: an instance missing one of these is an AttributeError, not a null argument
    values[i] = Ref::steal(attribute(o, kSpriteAttributes[i]));
    if (!values[i]) return false;
    args[i] = values[i].get();
  }
  Ref draw = Ref::borrow(korvel::hooked(tamapi_draw_sprite_ext, "tamapi.draw_sprite_ext"));
  if (!draw) return false;
  return bool(Ref::steal(PyObject_Vectorcall(draw.get(), args, kSpriteArguments, nullptr)));
}

// py_Draw: 0 (or missing) to resolve, another int to draw the sprite, or
// the draw code itself.
bool draw_instance(PyObject* o) {
  static Name py_Draw("py_Draw");
  Ref d = Ref::steal(attribute(o, py_Draw));
  if (!d) {
    ErrorStash missing;  // reported after the draw code is resolved
    missing.pending();
    return init_instance_drawfunc(o);
  }
  if (PyLong_CheckExact(d.get())) {
    if (PyObject_Not(d.get())) return init_instance_drawfunc(o);
    return draw_sprite_automatically(o);
  }
  return eval_as_self(o, d.get());
}

// A particle system draws itself, with the view's offset, when automatic.
bool draw_particle_system(PyObject* o, PyObject* offset) {
  static Name py_automatic_draw("py_automatic_draw");
  static Name py_RealDraw("py_RealDraw");
  Ref automatic = Ref::steal(attribute(o, py_automatic_draw));
  if (!automatic) return true;  // the result stands; the attribute error is reported
  const int truth = PyObject_IsTrue(automatic.get());
  if (truth <= 0) return truth == 0;
  Ref real_draw = Ref::steal(attribute(o, py_RealDraw));
  if (!real_draw) return false;
  return bool(Ref::steal(PyObject_CallObject(real_draw.get(), offset)));
}

// Every item of the snapshot in order; particle systems in view 0 only.
bool draw_snapshot(PyObject* depthsorted, int v, PyObject* offset, ErrorStash& e) {
  bool result = true;
  const Py_ssize_t omax = PyTuple_GET_SIZE(depthsorted);
  for (Py_ssize_t onum = 0; onum < omax; ++onum) {
    PyObject* o = PyTuple_GET_ITEM(depthsorted, onum);
    if (e.pending()) fprintf(stderr, "Error after GI %d\n", int(onum));
    if (reinterpret_cast<PyObject*>(Py_TYPE(o)) != tamapi_py_ParticleSystem) {
      result = draw_instance(o) && result;
      e.report("Error drawing instance\n");
    } else if (v == 0) {
      result = draw_particle_system(o, offset) && result;
      e.report("Error drawing PS\n");
    }
  }
  return result;
}

// The code of a draw event: its first action's "python". Null without an
// exception when there is no event or it has no actions.
PyObject* draw_event_code(PyObject* ev) {
  if (!ev || !PySequence_Check(ev)) return nullptr;
  const Py_ssize_t actions = PySequence_Size(ev);
  if (actions < 1) return nullptr;
  Ref action = Ref::steal(PySequence_GetItem(ev, 0));
  if (!action) return nullptr;
  return PyObject_GetAttrString(action.get(), "python");
}

// o.object_index.py_objectdata.events; null without an exception when the
// object data has no events.
PyObject* object_events(PyObject* o) {
  Ref index = Ref::steal(PyObject_GetAttrString(o, "object_index"));
  if (!index) return nullptr;
  Ref data = Ref::steal(PyObject_GetAttrString(index.get(), "py_objectdata"));
  if (!data) return nullptr;
  PyObject* events = PyObject_GetAttrString(data.get(), "events");
  if (!events && PyErr_ExceptionMatches(PyExc_AttributeError)) PyErr_Clear();
  return events;
}

// The draw event of an object's events: item 8, null when there are fewer.
Ref draw_event(PyObject* events, int* ok) {
  if (PySequence_Size(events) > 8) return Ref::steal(PySequence_GetItem(events, 8));
  fputs("Events too small!\n", stderr);
  *ok = 0;
  return Ref();
}

bool set_automatic(PyObject* o) {
  Ref one = Ref::steal(PyLong_FromLong(1));
  return one && PyObject_SetAttrString(o, "py_Draw", one.get()) == 0;
}

}  // namespace

int init_instance_drawfunc(PyObject* o) {
  ErrorStash e;
  int ok = 1;
  Ref code;
  if (Ref events = Ref::steal(object_events(o))) {
    Ref ev = draw_event(events.get(), &ok);
    e.pending();
    code = Ref::steal(draw_event_code(ev.get()));
  }
  // guard: a missing object, object data or action "python" fails here
  // instead of storing and running no code
  if (e.pending()) return 0;
  if (code) {
    if (PyObject_SetAttrString(o, "py_Draw", code.get()) < 0) {
      fputs("Error setting attribute string to code.\n", stderr);
      ok = 0;
      e.pending();
    }
    if (!eval_as_self(o, code.get())) {
      fputs("Code eval failed\n", stderr);
      ok = 0;
    }
    return ok;
  }
  if (!set_automatic(o)) {
    fputs("Error setting attribute string to number.\n", stderr);
    ok = 0;
  }
  return ok;
}

int Room_DrawView(PyObject* room, PyObject* surface_py, int x, PyObject* depthsorted) {
  // guard: views read the room's fields natively, so only a TamRoom will do
  if (!PyObject_TypeCheck(room, &TamRoom_Type)) {
    PyErr_Format(PyExc_TypeError, "a room with views must be a TamRoom, not '%.200s'",
                 Py_TYPE(room)->tp_name);
    return 0;
  }
  TamRoom* r = reinterpret_cast<TamRoom*>(room);
  View w;
  if (!korvel::compat::surface_of(surface_py) || !read_view(r, x, &w)) return 0;

  ErrorStash e;
  follow(r, &w);
  r->view_current = x;
  e.report("An error has occurred 615\n");
  draw_view_backgrounds(room, surface_py, w, scale_view(w, surface_py, e), e);

  // the numbered checkpoints, kept so that a log reads the same
  e.report("660\n");
  e.report("660 a\n");
  e.report("An error has occurred 661\n");
  Ref offset =
      Ref::steal(Py_BuildValue("(ii)", trunc_saturated(-w.xview), trunc_saturated(-w.yview)));
  bool result = offset && draw_snapshot(depthsorted, x, offset.get(), e);
  offset = Ref();
  e.report("An error has occurred\n");
  return result && !e.pending();
}
