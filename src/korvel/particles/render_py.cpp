// Drawing a particle onto the stored screen through its type's cache of
// prerendered images.
#include <Python.h>
#include <SDL.h>
#include <SDL2_rotozoom.h>

#include <climits>
#include <cstdio>
#include <cstdlib>

#include "flip/transform.h"
#include "korvel_py/common.h"
#include "korvel_py/compat.h"
#include "korvel/sdl_compat.h"
#include "korvel_py/globals.h"
#include "korvel_py/methods.h"
#include "korvel_py/particles.h"
#include "korvel/particles/render_plan.h"
#include "korvel/pixels/blend.h"
#include "korvel/pixels/flagged_blit.h"
#include "korvel/pixels/tint.h"
#include "korvel_py/ref.h"

namespace {

using korvel::Ref;
using korvel::particles::ImageKey;
using korvel::particles::RenderCase;
using korvel::particles::RenderPlan;
namespace pixels = korvel::pixels;

// The cache is emptied wholesale once it has grown past this.
constexpr Py_ssize_t kCacheLimit = 100;

SDL_Rect rect_centred(const RenderPlan& plan, const SDL_Surface* image) {
  return SDL_Rect{korvel::particles::centred(plan.x, image->w),
                  korvel::particles::centred(plan.y, image->h), 0, 0};
}

void blit_centred(SDL_Surface* image, SDL_Surface* screen, const RenderPlan& plan, int blend) {
  SDL_Rect dst = rect_centred(plan, image);
  pixels::flagged_blit(image, screen, &dst, blend);
}

// The image rotated by angle degrees; the unrotated one is freed. Null when
// SDL_gfx fails.
SDL_Surface* rotated(SDL_Surface* z, int32_t angle) {
  SDL_Surface* r = rotozoomSurface(z, double(angle), 1.0, SMOOTHING_OFF);
  SDL_FreeSurface(z);
  return r;
}

// Darkens an additive image by subtracting from every byte, after converting
// it to the screen's format; the unconverted image is freed.
SDL_Surface* darkened(SDL_Surface* z, const SDL_Surface* screen, uint32_t subtrahend) {
  SDL_Surface* c = korvel::compat::convert_surface(z, screen->format, true);
  SDL_FreeSurface(z);
  if (c) pixels::satusub(static_cast<uint8_t*>(c->pixels), std::size_t(c->pitch) * c->h, subtrahend);
  return c;
}

// Wraps z in a pygame Surface that owns it and stores that in the cache
// under key (k in the index). The cache keeps the only reference: the image
// dies with its entry.
PyObject* cache_image(ParticleType_object* pt, const ImageKey& k, PyObject* key, SDL_Surface* z) {
  PyObject* wrapper = PySurface_FromSurface(z);
  if (!wrapper) {
    SDL_FreeSurface(z);
    return nullptr;
  }
  const int rc = PyDict_SetItem(pt->cached_surfaces, key, wrapper);
  Py_DECREF(wrapper);  // guard: released, not leaked; the cache owns the image now
  if (rc < 0) return nullptr;
  index_image(pt, k, z);
  return wrapper;
}

// The cache's key tuple for k: five ints, or four when k has no angle.
Ref key_tuple(const ImageKey& k) {
  if (k.with_angle)
    return Ref::steal(Py_BuildValue("(iikki)", k.w, k.h, (unsigned long)k.tint,
                                    (unsigned long)k.alpha, int(k.angle)));
  return Ref::steal(Py_BuildValue("(iiki)", k.w, k.h, (unsigned long)k.tint, int(k.alpha)));
}

// Blits the image cached under k: the index answers first, then the
// dictionary under the key tuple, which is left in key for the caller to
// store a new image under. 1 when found and blitted, 0 when missing, -1 on
// error.
int blit_cached(ParticleType_object* pt, const ImageKey& k, SDL_Surface* screen,
                const RenderPlan& plan, int blend, Ref& key) {
  if (SDL_Surface* image = indexed_image(pt, k)) {
    ++pt->cache_counts.hits;
    blit_centred(image, screen, plan, blend);
    return 1;
  }
  key = key_tuple(k);
  if (!key) return -1;
  PyObject* cached = PyDict_GetItemWithError(pt->cached_surfaces, key.get());  // borrowed
  if (!cached) {
    if (PyErr_Occurred()) return -1;
    ++pt->cache_counts.misses;
    return 0;
  }
  SDL_Surface* image = korvel::compat::surface_of(cached);
  if (!image) return -1;
  ++pt->cache_counts.hits;
  index_image(pt, k, image);
  blit_centred(image, screen, plan, blend);
  return 1;
}

// The last steps of a new image: rotated to k's angle, stored under key and
// blitted. 0 when done or skipped, -1 on error.
int rotate_store_and_blit(ParticleType_object* pt, const ImageKey& k, PyObject* key,
                          SDL_Surface* z, SDL_Surface* screen, const RenderPlan& plan,
                          int blend) {
  if (k.angle != 0) {
    z = rotated(z, k.angle);
    if (!z) return 0;  // guard: a failed rotation skips the particle
  }
  if (!cache_image(pt, k, key, z)) return -1;
  blit_centred(z, screen, plan, blend);
  return 0;
}

int render_scaled(ParticleType_object* pt, SDL_Surface* shape, SDL_Surface* screen,
                  const RenderPlan& plan) {
  const int blend = pt->params.blend;
  const ImageKey k{plan.w, plan.h, plan.tint, plan.alpha, plan.angle, true};
  Ref key;
  const int hit = blit_cached(pt, k, screen, plan, blend, key);
  if (hit != 0) return hit < 0 ? -1 : 0;
  if (PyDict_Size(pt->cached_surfaces) > kCacheLimit) clear_image_cache(pt);
  const double fx = double(plan.w) / shape->w, fy = double(plan.h) / shape->h;
  // guard: an image SDL_gfx cannot make safely (an 8-bit shape mirrored by
  // a negative size or scale, or one too large) skips the particle
  if (check_transform(shape, 0.0, fx, fy) != TransformCheck::allowed) return 0;
  SDL_Surface* z = zoomSurface(shape, fx, fy, SMOOTHING_OFF);
  if (!z) return 0;  // guard: a failed conversion skips the particle
  if (plan.tint != korvel::particles::kUntinted) pixels::Tint_Surface(z, plan.tint);
  if (plan.alpha < korvel::particles::kOpaque) {
    if (blend == 0) {
      pixels::Translucentify(z, uint8_t(plan.alpha));
    } else {
      z = darkened(z, screen, (255 - plan.alpha) * 0x01010101u);
      if (!z) return 0;  // guard: a failed conversion skips the particle
    }
  }
  return rotate_store_and_blit(pt, k, key.get(), z, screen, plan, blend);
}

int render_translucent(ParticleType_object* pt, SDL_Surface* shape, SDL_Surface* screen,
                       const RenderPlan& plan) {
  const int blend = pt->params.blend;
  const ImageKey k{plan.w, plan.h, plan.tint, plan.alpha, plan.angle, true};
  Ref key;
  const int hit = blit_cached(pt, k, screen, plan, blend, key);
  if (hit != 0) return hit < 0 ? -1 : 0;
  SDL_Surface* z = korvel::compat::convert_surface(shape, screen->format, true);
  if (!z) {
    fprintf(stderr, "Error reformatting shapesurf: %s\n", SDL_GetError());
    return 0;  // guard: a failed conversion skips the particle
  }
  if (plan.tint != korvel::particles::kUntinted) pixels::Tint_Surface(z, plan.tint);
  if (blend == 0) {
    pixels::Translucentify(z, uint8_t(plan.alpha));
  } else {
    const uint32_t a = plan.alpha;
    pixels::satusub(static_cast<uint8_t*>(z->pixels), std::size_t(z->pitch) * z->h,
                    ~(a | a << 8 | a << 16 | a << 24));
  }
  return rotate_store_and_blit(pt, k, key.get(), z, screen, plan, blend);
}

int render_tinted(ParticleType_object* pt, SDL_Surface* shape, SDL_Surface* screen,
                  const RenderPlan& plan) {
  const int blend = pt->params.blend;
  const ImageKey k{plan.w, plan.h, plan.tint, korvel::particles::kOpaque, 0, false};
  Ref key;
  const int hit = blit_cached(pt, k, screen, plan, blend, key);
  if (hit != 0) return hit < 0 ? -1 : 0;
  SDL_Surface* t = RGBA_copy(shape);
  if (!t) return 0;  // guard: a failed conversion skips the particle
  pixels::Tint_Surface(t, plan.tint);
  Ref wrapper = Ref::steal(PySurface_FromSurface(t));
  if (!wrapper) {
    SDL_FreeSurface(t);
    return -1;
  }
  // One rectangle for both blits: SDL writes its clipped result back into
  // it, and the second blit of the frame the image is made starts there.
  SDL_Rect dst = rect_centred(plan, shape);
  pixels::flagged_blit(t, screen, &dst, blend);
  if (PyDict_SetItem(pt->cached_surfaces, key.get(), wrapper.get()) < 0) return -1;
  index_image(pt, k, t);
  pixels::flagged_blit(t, screen, &dst, blend);
  return 0;
}

// Draws one particle of a type whose shape is shape (null: none); 0 when
// drawn or skipped, -1 with an exception set.
int particle_render_low(CParticle* p, SDL_Surface* shape, SDL_Surface* screen, int xoff,
                        int yoff) {
  Ref type_handle = Ref::borrow(p->type);
  ParticleType_object* pt = type_record_of(p);
  if (!shape) return 0;  // guard: a type without a shape draws nothing
  Ref shape_obj = Ref::borrow(pt->shape);
  const RenderPlan plan =
      korvel::particles::plan_render(p->state, pt->params, shape->w, shape->h, xoff, yoff);
  switch (plan.kind) {
    case RenderCase::none: return 0;
    case RenderCase::scaled: return render_scaled(pt, shape, screen, plan);
    case RenderCase::translucent: return render_translucent(pt, shape, screen, plan);
    case RenderCase::plain: blit_centred(shape, screen, plan, pt->params.blend); return 0;
    case RenderCase::tinted: return render_tinted(pt, shape, screen, plan);
  }
  return 0;
}

// An exact int that fits in an int, into *out; false for anything else.
bool exact_int(PyObject* o, int* out) {
  if (!PyLong_CheckExact(o)) return false;
  int overflow;
  const long v = PyLong_AsLongAndOverflow(o, &overflow);
  if (overflow || v < INT_MIN || v > INT_MAX) return false;
  *out = int(v);
  return true;
}

// The "Oii" arguments. Exact ints are read directly: walking the format
// costs more than the rest of a small particle's drawing. Anything else
// goes through PyArg_ParseTuple, for its conversions and its errors.
bool parse_particle_and_offsets(PyObject* args, PyObject** handle, int* xoff, int* yoff) {
  if (PyTuple_GET_SIZE(args) == 3 && exact_int(PyTuple_GET_ITEM(args, 1), xoff) &&
      exact_int(PyTuple_GET_ITEM(args, 2), yoff)) {
    *handle = PyTuple_GET_ITEM(args, 0);
    return true;
  }
  return PyArg_ParseTuple(args, "Oii", handle, xoff, yoff);
}

}  // namespace

PyObject* CParticle_dec_ttl_and_render(PyObject*, PyObject* args) {
  PyObject* handle;
  int xoff, yoff;
  if (!parse_particle_and_offsets(args, &handle, &xoff, &yoff)) return nullptr;
  CParticle* p = particle_of(handle);
  if (!p) return nullptr;
  // guard: a clear error, before anything moves, instead of drawing through
  // a null screen or one whose display was set up again (compat::screen)
  SDL_Surface* screen = korvel::compat::screen();
  if (!screen) return nullptr;
  ParticleType_object* pt = type_record_of(p);
  SDL_Surface* shape = pt->shape ? korvel::compat::surface_of(pt->shape) : nullptr;
  // guard: a sprite shape is not a surface this renderer can draw: TypeError, not a crash
  if (pt->shape && !shape) {
    PyErr_Clear();
    PyErr_Format(PyExc_TypeError, "a particle shape must be a pygame Surface, not '%.200s'",
                 Py_TYPE(pt->shape)->tp_name);
    return nullptr;
  }
  const int32_t ttl = korvel::particles::CParticle_step_low(p->state, pt->params, drand48);
  // Nothing between the check and the drawing runs Python code, so the
  // shape is still the type's.
  if (ttl > 0 && particle_render_low(p, shape, screen, xoff, yoff) < 0) return nullptr;
  return PyLong_FromLong(ttl);
}
