// The sprite scale cache: flipped, scaled, rotated, tinted and translucent
// copies of sprite frames, built once per key and kept in the sprite.
#include "korvel_py/scalecache.h"

#include <SDL.h>
#include <SDL2_rotozoom.h>

#include <cstdint>
#include <cstdio>
#include <utility>

#include "flip/transform.h"
#include "flip/transform_py.h"
#include "korvel_py/compat.h"
#include "korvel/sdl_compat.h"
#include "korvel_py/globals.h"
#include "korvel_py/methods.h"
#include "korvel_py/ref.h"
#include "korvel/pixels/blend.h"
#include "korvel_py/sprite.h"

using korvel::Ref;
namespace compat = korvel::compat;

namespace {

// A surface that a step built, as a pygame Surface. A step that built
// nothing leaves the frame without a source.
Ref wrap(SDL_Surface* s) {
  if (!s) fputs("No source?\n", stderr);
  return Ref::steal(PySurface_FromSurface(s));
}

// -n without overflow: INT_MIN stays INT_MIN, which no size check lets through.
int negated(int n) { return int(0u - unsigned(n)); }

// A negative size mirrors the frame on that axis.
Ref mirrored(PyObject* src, SDL_Surface* s, int* w, int* h) {
  SDL_Surface* (*flip)(SDL_Surface*) = nullptr;
  if (*h < 0)
    flip = *w < 0 ? flip_vh : flip_v;
  else if (*w < 0)
    flip = flip_h;
  if (*w < 0) *w = negated(*w);
  if (*h < 0) *h = negated(*h);
  if (!flip) return Ref::borrow(src);
  SDL_Surface* r = flip(s);
  // guard: after the flip's own message, ValueError instead of no surface
  if (!r && s->format->BytesPerPixel != 4) {
    PyErr_SetString(PyExc_ValueError, "only 32-bit sprite frames can be mirrored horizontally");
    return Ref();
  }
  return wrap(r);
}

Ref zoomed(SDL_Surface* s, float fx, float fy) {
  if (!transform_allowed(s, 0.0, fx, fy)) return Ref();
  return wrap(zoomSurface(s, fx, fy, SMOOTHING_OFF));
}

Ref turned(SDL_Surface* s, int clockwise, float factor) {
  if (!transform_allowed(s, clockwise, factor, factor)) return Ref();
  return wrap(rotozoomSurface(s, clockwise, factor, SMOOTHING_OFF));
}

// To w x h and turned by clockwise degrees (passed on with its sign as it
// is), smoothing off. Factors are worked out in single precision.
Ref scaled(Ref cur, int w, int h, int clockwise) {
  SDL_Surface* s = compat::surface_of(cur.get());
  if (!s) return Ref();
  const bool same_size = w == s->w && h == s->h;
  const float fx = float(w) / float(s->w);
  const float fy = float(h) / float(s->h);
  if (clockwise == 0) return same_size ? std::move(cur) : zoomed(s, fx, fy);
  if (same_size) return turned(s, clockwise, 1.0f);
  if (fx == fy) return w != s->w ? turned(s, clockwise, fx) : std::move(cur);
  if (!transform_allowed(s, 0.0, fx, fy)) return Ref();
  SDL_Surface* z = zoomSurface(s, fx, fy, SMOOTHING_OFF);
  if (!z) return wrap(nullptr);
  SDL_Surface* r = nullptr;
  if (transform_allowed(z, clockwise, 1.0, 1.0))
    r = rotozoomSurface(z, clockwise, 1.0, SMOOTHING_OFF);
  SDL_FreeSurface(z);
  if (!r && PyErr_Occurred()) return Ref();
  return wrap(r);
}

// The first step that changes pixels works on a copy, so the frame in
// subimages never changes.
Ref own(Ref cur, PyObject* src) {
  if (cur.get() != src) return cur;
  return Ref::steal(PyObject_CallMethod(src, "copy", nullptr));
}

// Every pixel word of the surface becomes colori (the fill covers all of it).
bool filled(PyObject* cur, int colori) {
  // handed over unsigned: pygame refuses a negative colour integer
  Ref r = Ref::steal(PyObject_CallMethod(cur, "fill", "(I)", unsigned(colori)));
  return bool(r);
}

bool made_translucent(PyObject* cur, int alpha) {
  SDL_Surface* s = compat::surface_of(cur);
  if (!s) return false;
  compat::SurfaceLock lock(s);
  compat::set_alpha(s, uint8_t(alpha));
  const SDL_PixelFormat* f = s->format;
  // Every word, row padding included; a 16-bit surface's words hold two
  // pixels each, rewritten as one word with only the masks of one.
  korvel::pixels::scale_alpha(static_cast<uint32_t*>(s->pixels),
                              std::size_t(s->pitch) * std::size_t(s->h) / 4,
                              f->Rmask | f->Gmask | f->Bmask, f->Amask, uint32_t(alpha),
                              f->BitsPerPixel >= 24);
  return true;
}

// A surface of s's size, 32 bits per pixel, with the given masks. As in
// SDL 1.2, a surface with an alpha mask blends when blitted.
SDL_Surface* plain_surface(SDL_Surface* s, const SDL_PixelFormat* f) {
  return compat::create_rgb_surface(f->Amask != 0, s->w, s->h, 32, f->Rmask, f->Gmask, f->Bmask,
                                    f->Amask);
}

// Rendered into a new plain 32-bit surface with the frame's masks; below
// full opacity that one is blitted at its alpha onto one in the screen's.
Ref flattened(Ref cur, int alpha) {
  SDL_Surface* s = compat::surface_of(cur.get());
  if (!s) return Ref();
  SDL_Surface* screen = alpha == 255 ? nullptr : compat::screen();  // guard: RuntimeError
  if (alpha != 255 && !screen) return Ref();
  SDL_Surface* n = plain_surface(s, s->format);
  if (!n) return wrap(nullptr);
  SDL_FillRect(n, nullptr, SDL_MapRGBA(n->format, 0, 0, 0, 0));
  compat::blit(s, nullptr, n, nullptr);
  cur = Ref();
  if (alpha == 255) return wrap(n);
  compat::set_alpha(n, uint8_t(alpha));
  SDL_Surface* m = plain_surface(n, screen->format);
  if (m) compat::blit(n, nullptr, m, nullptr);
  SDL_FreeSurface(n);
  return wrap(m);
}

}  // namespace

PyObject* sprite_scalecache_add(TamSprite* spr, PyObject* key, int subimg, int w, int h,
                                int clockwise, PyObject*, int colori, int alpha, int flatten) {
  // guard: a sprite that is not a TamSprite raises instead of being read as one
  if (!spr || !PyObject_TypeCheck(reinterpret_cast<PyObject*>(spr), &TamSprite_Type)) {
    PyErr_SetString(PyExc_TypeError, "sprite_scalecache_add needs a TamSprite");
    return nullptr;
  }
  Ref src = Ref::steal(PySequence_GetItem(spr->subimages, subimg));
  if (!src) {
    fputs("sequence error.\n", stderr);
    return nullptr;
  }
  SDL_Surface* frame = compat::surface_of(src.get());  // guard: TypeError for a non-Surface frame
  if (!frame) return nullptr;

  Ref cur = mirrored(src.get(), frame, &w, &h);
  if (cur) cur = scaled(std::move(cur), w, h, clockwise);
  if (cur && uint32_t(colori) != COLOR_WHITE) {
    cur = own(std::move(cur), src.get());
    if (cur && !filled(cur.get(), colori)) return nullptr;
  }
  if (cur && !flatten && alpha != 255) {
    cur = own(std::move(cur), src.get());
    if (cur && !made_translucent(cur.get(), alpha)) return nullptr;
  }
  if (cur && flatten) cur = flattened(std::move(cur), alpha);
  if (!cur) return nullptr;

  if (PyObject_SetItem(spr->scalecache, key, cur.get()) < 0) {
    fputs("Error storing item in scalecache.\n", stderr);
    return nullptr;
  }
  return cur.release();
}

PyObject* draw_sprite_ext(PyObject*, PyObject*) {
  fputs("This does not behave properly on Mac, and does not provide the desired speed boost on "
        "Linux.\n",
        stderr);
  return nullptr;
}
