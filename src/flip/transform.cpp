#include "flip/transform.h"

#include <SDL.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>

#include "flip/flip.h"
#include "korvel/compat.h"

namespace {

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
  SDL_Surface* dst = clone_surface(src);
  if (!dst) return nullptr;
  korvel::compat::SurfaceLock lock(src);
  korvel::flip::mirror_h32(rows_of(src), rows_of(dst), src->w, src->h);
  return dst;
}

SDL_Surface* flip_v(SDL_Surface* src) {
  SDL_Surface* dst = clone_surface(src);
  if (!dst) return nullptr;
  // Both pitches are read as 16-bit values, as the surface record once held them.
  const uint16_t bytes = std::min(uint16_t(src->pitch), uint16_t(dst->pitch));
  korvel::compat::SurfaceLock lock(src);
  korvel::flip::mirror_v(rows_of(src), rows_of(dst), src->h, bytes);
  return dst;
}

SDL_Surface* flip_vh(SDL_Surface* src) {
  if (!is_32_bit(src, "Error: non-32bit surfaces not yet flippable.\n")) return nullptr;
  SDL_Surface* dst = clone_surface(src);
  if (!dst) return nullptr;
  korvel::compat::SurfaceLock lock(src);
  // guard: destination row 0 would come from the row past the source's end;
  // it keeps the zeros it was created with instead
  korvel::flip::turn_shifted32(rows_of(src), rows_of(dst), src->w, src->h);
  return dst;
}
