#include "korvel/sdl_compat.h"

#include <cstddef>

namespace korvel::compat {

pixels::PixelView view_of(SDL_Surface* s) {
  return pixels::PixelView{static_cast<uint8_t*>(s->pixels), s->w, s->h, s->pitch};
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

SurfaceLock::SurfaceLock(SDL_Surface* s) : s_(s), locked_(false) {
  if (SDL_MUSTLOCK(s_)) locked_ = SDL_LockSurface(s_) == 0;
}

SurfaceLock::~SurfaceLock() {
  if (locked_) SDL_UnlockSurface(s_);
}

}  // namespace korvel::compat
