#include "korvel_py/compat.h"

#include "korvel/sdl_compat.h"
#include "korvel_py/globals.h"

// pygame.h defines pygame's slot tables: this is the only file that includes it.
#include "pygame/pygame.h"

namespace korvel::compat {

void import_pygame_api() { import_pygame_surface(); }

PyTypeObject* surface_type() {
  return _PGSLOTS_surface ? &pgSurface_Type : nullptr;
}

bool is_surface(PyObject* o) {
  PyTypeObject* t = surface_type();
  return t && PyObject_TypeCheck(o, t) && pgSurface_AsSurface(o) != nullptr;
}

SDL_Surface* surface_of(PyObject* o) {
  if (!is_surface(o)) {
    PyErr_Format(PyExc_TypeError, "a pygame Surface is required, not '%.200s'",
                 Py_TYPE(o)->tp_name);
    return nullptr;
  }
  return pgSurface_AsSurface(o);
}

namespace {

// ValueError unless s (when not null already) has 32 bits per pixel.
SDL_Surface* only_32_bit(SDL_Surface* s) {
  if (s && s->format->BytesPerPixel != 4) {
    PyErr_Format(PyExc_ValueError, "a 32-bit surface is required, not %d-bit",
                 int(s->format->BitsPerPixel));
    return nullptr;
  }
  return s;
}

}  // namespace

SDL_Surface* surface32_of(PyObject* o) { return only_32_bit(surface_of(o)); }

bool view32_of(PyObject* o, pixels::PixelView* view) {
  SDL_Surface* s = surface32_of(o);
  if (!s) return false;
  *view = view_of(s);
  return true;
}

SDL_Surface* screen() {
  if (!g_screen_pyobj) {
    PyErr_SetString(PyExc_RuntimeError, "the screen is not stored (call set_SDL_screen)");
    return nullptr;
  }
  // guard: read afresh from the stored Surface: pygame gives a display a new
  // SDL surface (and frees the old one) when the display is set up again,
  // and none once it is closed, so the pointer kept by set_SDL_screen may
  // point at freed memory
  SDL_Surface* s = is_surface(g_screen_pyobj) ? pgSurface_AsSurface(g_screen_pyobj) : nullptr;
  if (!s)
    PyErr_SetString(PyExc_RuntimeError,
                    "the stored screen has no surface any more (call set_SDL_screen)");
  return s;
}

SDL_Surface* screen32() { return only_32_bit(screen()); }

}  // namespace korvel::compat

PyObject* PySurface_FromSurface(SDL_Surface* surf) {
  if (!surf) {
    PyErr_Format(PyExc_RuntimeError, "SDL could not make the surface: %s", SDL_GetError());
    return nullptr;
  }
  if (!_PGSLOTS_surface) {
    PyErr_SetString(PyExc_RuntimeError, "pygame's surface interface is not available");
    return nullptr;
  }
  return reinterpret_cast<PyObject*>(pgSurface_New2(surf, 1));
}
