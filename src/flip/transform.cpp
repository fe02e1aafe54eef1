#include "flip/transform.h"

#include <SDL.h>
#include <SDL2_rotozoom.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "flip/flip.h"
#include "korvel/sdl_compat.h"

namespace {

// The largest surface a scale or rotation may return, in bytes.
constexpr double kMaxResultBytes = double(1u << 30);
// Below this reach every size SDL_gfx works out fits in an int.
constexpr double kMaxReach = double(1u << 30);

korvel::flip::Rows rows_of(SDL_Surface* s) {
  return {static_cast<uint8_t*>(s->pixels), s->pitch};
}

// guard: the pixel size is checked before the destination is made, so a
// refused surface leaks nothing
bool is_32_bit(SDL_Surface* s, const char* refusal) {
  if (s->format->BytesPerPixel == 4) return true;
  fputs(refusal, stderr);
  return false;
}

// clone_surface for a 32-bit source whose every pixel the caller writes.
SDL_Surface* clone_surface32_for_overwrite(SDL_Surface* surf) {
  const SDL_PixelFormat* f = surf->format;
  return korvel::compat::create_rgb_surface32_uncleared(korvel::compat::has_srcalpha(surf),
                                                        surf->w, surf->h, f->Rmask, f->Gmask,
                                                        f->Bmask, f->Amask);
}

}  // namespace

SDL_Surface* clone_surface(SDL_Surface* surf) {
  const SDL_PixelFormat* f = surf->format;
  SDL_Surface* r = korvel::compat::create_rgb_surface(korvel::compat::has_srcalpha(surf), surf->w,
                                                      surf->h, f->BitsPerPixel, f->Rmask, f->Gmask,
                                                      f->Bmask, f->Amask);
  if (r) korvel::compat::copy_palette(surf, r);
  return r;
}

SDL_Surface* flip_h(SDL_Surface* src) {
  if (!is_32_bit(src, "Cannot horizontally flip non-32-bit surfaces.\n")) return nullptr;
  SDL_Surface* dst = clone_surface32_for_overwrite(src);
  if (!dst) return nullptr;
  korvel::compat::SurfaceLock lock(src);
  korvel::flip::mirror_h32(rows_of(src), rows_of(dst), src->w, src->h);
  return dst;
}

SDL_Surface* flip_v(SDL_Surface* src) {
  // A 32-bit destination's rows are copied whole unless the 16-bit pitch
  // below wraps; only then may its pixels start uncleared.
  const bool whole_rows = src->format->BytesPerPixel == 4 && src->pitch <= 0xFFFF;
  SDL_Surface* dst = whole_rows ? clone_surface32_for_overwrite(src) : clone_surface(src);
  if (!dst) return nullptr;
  // Both pitches are read as 16-bit values, as the surface record once held them.
  const uint16_t bytes = std::min(uint16_t(src->pitch), uint16_t(dst->pitch));
  korvel::compat::SurfaceLock lock(src);
  korvel::flip::mirror_v(rows_of(src), rows_of(dst), src->h, bytes);
  return dst;
}

SDL_Surface* flip_vh(SDL_Surface* src) {
  if (!is_32_bit(src, "Error: non-32bit surfaces not yet flippable.\n")) return nullptr;
  SDL_Surface* dst = clone_surface32_for_overwrite(src);
  if (!dst) return nullptr;
  korvel::compat::SurfaceLock lock(src);
  // guard: destination row 0 would come from the row past the source's end;
  // it is left blank instead, as a new surface is
  if (dst->pixels) std::memset(dst->pixels, 0, std::size_t(dst->pitch));
  korvel::flip::turn_shifted32(rows_of(src), rows_of(dst), src->w, src->h);
  return dst;
}

// guard: the result's size is worked out first, so wild factors raise
// instead of exhausting memory or overflowing SDL_gfx's int sizes
TransformCheck check_transform(SDL_Surface* s, double angle, double xscale, double yscale) {
  // guard: SDL_gfx reads the source's first pixel whatever its size
  if (s->w == 0 || s->h == 0) return TransformCheck::empty;
  if (!std::isfinite(xscale) || !std::isfinite(yscale)) return TransformCheck::not_finite;
  const bool turns = std::fabs(angle) > 0.001;  // SDL_gfx's own test for a turn
  // guard: SDL_gfx reads outside an 8-bit source that it mirrors while only zooming
  if (!turns && s->format->BytesPerPixel == 1 && (xscale < 0 || yscale < 0))
    return TransformCheck::mirrored_8_bit;
  // Any turn of the source fits in a square of this side.
  const double reach =
      (double(s->w) + s->h) * std::max({std::fabs(xscale), std::fabs(yscale), 1.0}) + 2;
  int w = 0, h = 0;
  if (reach < kMaxReach) {
    if (turns)
      rotozoomSurfaceSizeXY(s->w, s->h, angle, xscale, yscale, &w, &h);
    else
      zoomSurfaceSize(s->w, s->h, xscale, yscale, &w, &h);
  }
  if (reach >= kMaxReach || double(w) * h * 4 > kMaxResultBytes) return TransformCheck::too_large;
  return TransformCheck::allowed;
}
