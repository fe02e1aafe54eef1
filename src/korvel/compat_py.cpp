#include "korvel_py/compat.h"

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

SDL_Surface* surface32_of(PyObject* o) {
  SDL_Surface* s = surface_of(o);
  if (s && s->format->BytesPerPixel != 4) {
    PyErr_Format(PyExc_ValueError, "a 32-bit surface is required, not %d-bit",
                 int(s->format->BitsPerPixel));
    return nullptr;
  }
  return s;
}

pixels::PixelView view_of(SDL_Surface* s) {
  return pixels::PixelView{static_cast<uint8_t*>(s->pixels), s->w, s->h, s->pitch};
}

bool view32_of(PyObject* o, pixels::PixelView* view) {
  SDL_Surface* s = surface32_of(o);
  if (!s) return false;
  *view = view_of(s);
  return true;
}

int set_alpha(SDL_Surface* s, uint8_t alpha) {
  int rc = SDL_SetSurfaceBlendMode(s, SDL_BLENDMODE_BLEND);
  if (rc == 0 && s->format->Amask == 0) rc = SDL_SetSurfaceAlphaMod(s, alpha);
  return rc;
}

SDL_Surface* display_format_alpha(SDL_Surface* s) {
  SDL_Surface* r = SDL_ConvertSurfaceFormat(s, SDL_PIXELFORMAT_ARGB8888, 0);
  if (r) SDL_SetSurfaceBlendMode(r, SDL_BLENDMODE_BLEND);
  return r;
}

SDL_Surface* convert_surface(SDL_Surface* s, const SDL_PixelFormat* fmt, bool srcalpha) {
  SDL_Surface* r = SDL_ConvertSurface(s, fmt, 0);
  if (r) SDL_SetSurfaceBlendMode(r, srcalpha ? SDL_BLENDMODE_BLEND : SDL_BLENDMODE_NONE);
  return r;
}

SDL_Surface* create_rgb_surface(bool srcalpha, int w, int h, int depth, uint32_t rmask,
                                uint32_t gmask, uint32_t bmask, uint32_t amask) {
  SDL_Surface* r = SDL_CreateRGBSurface(0, w, h, depth, rmask, gmask, bmask, amask);
  if (r) SDL_SetSurfaceBlendMode(r, srcalpha ? SDL_BLENDMODE_BLEND : SDL_BLENDMODE_NONE);
  return r;
}

SDL_Surface* create_rgb_surface32_uncleared(bool srcalpha, int w, int h, uint32_t rmask,
                                            uint32_t gmask, uint32_t bmask, uint32_t amask) {
  // SDL clears new pixels, a whole extra pass over a surface that is about
  // to be overwritten. The pitch is w * 4, as SDL chooses it for 32 bits.
  const std::size_t bytes = std::size_t(w) * 4 * std::size_t(h);
  void* pixels = SDL_SIMDAlloc(bytes ? bytes : 1);
  if (!pixels) return nullptr;
  SDL_Surface* r = SDL_CreateRGBSurfaceFrom(pixels, w, h, 32, w * 4, rmask, gmask, bmask, amask);
  if (!r) {
    SDL_SIMDFree(pixels);
    return nullptr;
  }
  // The surface owns its pixels from here on, as one SDL allocated itself:
  // SDL_FreeSurface frees SIMD-aligned pixels that were not handed in.
  r->flags = (r->flags & ~Uint32(SDL_PREALLOC)) | SDL_SIMD_ALIGNED;
  SDL_SetSurfaceBlendMode(r, srcalpha ? SDL_BLENDMODE_BLEND : SDL_BLENDMODE_NONE);
  return r;
}

bool has_srcalpha(SDL_Surface* s) {
  SDL_BlendMode mode;
  return SDL_GetSurfaceBlendMode(s, &mode) == 0 && mode == SDL_BLENDMODE_BLEND;
}

void copy_palette(SDL_Surface* from, SDL_Surface* to) {
  if (from->format->palette && to->format->palette)
    SDL_SetSurfacePalette(to, from->format->palette);
}

bool get_colorkey(SDL_Surface* s, uint32_t* key) {
  return SDL_HasColorKey(s) && SDL_GetColorKey(s, key) == 0;
}

int set_colorkey(SDL_Surface* s, uint32_t key) { return SDL_SetColorKey(s, SDL_TRUE, key); }

namespace {

// SDL 1.2's rectangle fields: Sint16 x and y, Uint16 w and h.
void narrow_to_16_bits(SDL_Rect* r) {
  if (!r) return;
  r->x = int16_t(r->x);
  r->y = int16_t(r->y);
  r->w = uint16_t(r->w);
  r->h = uint16_t(r->h);
}

}  // namespace

int blit(SDL_Surface* src, SDL_Rect* srcrect, SDL_Surface* dst, SDL_Rect* dstrect) {
  // guard: SDL 2's clipping overflows on positions near the int limits and
  // then copies outside both surfaces; the rectangles keep SDL 1.2's 16-bit
  // fields, which no clipping sum can overflow
  narrow_to_16_bits(srcrect);
  narrow_to_16_bits(dstrect);
  return SDL_BlitSurface(src, srcrect, dst, dstrect);
}

SDL_Surface* screen() {
  if (!g_screen_pyobj) {
    PyErr_SetString(PyExc_RuntimeError, "no screen is stored: call set_SDL_screen first");
    return nullptr;
  }
  return surface_of(g_screen_pyobj);
}

SDL_Surface* screen32() { return screen() ? surface32_of(g_screen_pyobj) : nullptr; }

SurfaceLock::SurfaceLock(SDL_Surface* s) : s_(s), locked_(false) {
  if (SDL_MUSTLOCK(s_)) locked_ = SDL_LockSurface(s_) == 0;
}

SurfaceLock::~SurfaceLock() {
  if (locked_) SDL_UnlockSurface(s_);
}

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
