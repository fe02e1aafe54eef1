// The layer between korvel and pygame 2: pygame Surfaces to SDL surfaces
// and back, and the stored screen. Only compat_py.cpp includes pygame's
// headers. The SDL-only part, which the core uses, is korvel/sdl_compat.h.
#pragma once
#include <Python.h>
#include <SDL.h>

namespace korvel::pixels {
struct PixelView;
}

namespace korvel::compat {

// Fills pygame's surface and surflock tables from pygame 2's capsules. A
// failed import leaves the import error set and the tables empty.
void import_pygame_api();

// True when o is a pygame Surface (or a subclass) whose SDL surface exists.
bool is_surface(PyObject* o);
// The pygame Surface type, or null before pygame was imported.
PyTypeObject* surface_type();

// guard: TypeError when o is not a live pygame Surface.
SDL_Surface* surface_of(PyObject* o);
// guard: as surface_of, plus ValueError unless 32 bits per pixel.
SDL_Surface* surface32_of(PyObject* o);
// The pixels of a 32-bit surface, or false with TypeError / ValueError set.
bool view32_of(PyObject* o, pixels::PixelView* view);

// The one accessor of the stored screen: its live SDL surface, read through
// the stored pygame object. guard: RuntimeError when no screen was stored or
// its display was closed.
SDL_Surface* screen();
// As screen(), plus ValueError unless it has 32 bits per pixel.
SDL_Surface* screen32();

}  // namespace korvel::compat

// Wraps an SDL surface in a new pygame Surface that owns it (pygame's surface
// constructor). Null surface: RuntimeError with SDL's error text.
PyObject* PySurface_FromSurface(SDL_Surface* surf);
