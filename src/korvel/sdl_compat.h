// The SDL 1.2 idioms the drawing code is written in (per-surface alpha,
// colour keys, display-format conversion, 16-bit blit rectangles) mapped
// onto SDL 2. No other file calls those SDL 2 replacements directly. SDL
// only: the core uses it, and korvel_py/compat.h adds pygame on top.
#pragma once
#include <SDL.h>

#include <cstdint>

#include "korvel/pixels/pixel_view.h"

namespace korvel::compat {

pixels::PixelView view_of(SDL_Surface* s);

// SDL_SetAlpha(s, SDL_SRCALPHA, alpha): blend mode BLEND, and the per-surface
// alpha only where the format has no alpha mask, as SDL 1.2 ignored it there.
int set_alpha(SDL_Surface* s, uint8_t alpha);
// SDL_DisplayFormatAlpha: an ARGB8888 copy with blend mode BLEND.
SDL_Surface* display_format_alpha(SDL_Surface* s);
// SDL_ConvertSurface with SDL 1.2 flags 0 (plain copy in fmt) or with
// SDL_SRCALPHA (the copy then blends when blitted).
SDL_Surface* convert_surface(SDL_Surface* s, const SDL_PixelFormat* fmt, bool srcalpha);
// SDL_CreateRGBSurface(flags, ...) with the per-surface alpha flag carried over.
SDL_Surface* create_rgb_surface(bool srcalpha, int w, int h, int depth, uint32_t rmask,
                                uint32_t gmask, uint32_t bmask, uint32_t amask);
// As create_rgb_surface for a 32-bit surface, but the pixels are left as
// allocated, not cleared: for callers that write every byte of them.
SDL_Surface* create_rgb_surface32_uncleared(bool srcalpha, int w, int h, uint32_t rmask,
                                            uint32_t gmask, uint32_t bmask, uint32_t amask);
// SDL_SRCALPHA: whether the surface blends when blitted.
bool has_srcalpha(SDL_Surface* s);
// A copy of from's palette for to, when both have one (8-bit surfaces).
void copy_palette(SDL_Surface* from, SDL_Surface* to);
// SDL_SRCCOLORKEY and the format's colour key.
bool get_colorkey(SDL_Surface* s, uint32_t* key);
int set_colorkey(SDL_Surface* s, uint32_t key);
// SDL_UpperBlit, with the rectangles narrowed to SDL 1.2's 16-bit fields.
int blit(SDL_Surface* src, SDL_Rect* srcrect, SDL_Surface* dst, SDL_Rect* dstrect);

// Locks a surface for the life of the object, only when SDL_MUSTLOCK says so.
class SurfaceLock {
 public:
  explicit SurfaceLock(SDL_Surface* s);
  ~SurfaceLock();
  SurfaceLock(const SurfaceLock&) = delete;
  SurfaceLock& operator=(const SurfaceLock&) = delete;

 private:
  SDL_Surface* s_;
  bool locked_;
};

}  // namespace korvel::compat
