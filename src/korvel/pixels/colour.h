// Colour arithmetic shared by every pixel loop: three 8-bit lanes at bits
// 0-7, 8-15 and 16-23 of a 32-bit word, mixed with 0-256 weights. A right
// shift by 8 divides by 256 and truncates; the top byte of a result is 0.
#pragma once
#include <SDL.h>

#include <cstdint>

namespace korvel::pixels {

// The colour's lanes scaled by (alpha & 0xFF) / 256.
inline uint32_t multalpha(uint32_t color, int alpha) {
  const uint32_t a = uint32_t(alpha) & 0xFF;
  const uint32_t rb = (((color & 0xFF00FF) * a) >> 8) & 0xFF00FF;
  const uint32_t g = (((color & 0xFF00) * a) >> 8) & 0xFF00;
  return rb + g;
}

// color weighted by alpha/256, bg by (256 - alpha)/256. The middle lane
// truncates each product before the sum, the outer lanes truncate the sum:
// that difference is part of the result.
inline uint32_t blend(uint32_t color, uint32_t bg, uint32_t alpha) {
  const uint32_t neg = 256 - alpha;
  const uint32_t lo = ((color & 0xFF) * alpha + (bg & 0xFF) * neg) >> 8;
  const uint32_t mid = ((((color & 0xFF00) * alpha) >> 8) + (((bg & 0xFF00) * neg) >> 8)) & 0xFF00;
  const uint32_t hi = (((color & 0xFF0000) * alpha + (bg & 0xFF0000) * neg) >> 8) & 0xFF0000;
  return lo + mid + hi;
}

// Script colour 0x00BBGGRR to a pixel word of fmt.
inline uint32_t color_for_format(uint32_t color, const SDL_PixelFormat* fmt) {
  return SDL_MapRGB(fmt, color & 0xFF, (color >> 8) & 0xFF, (color >> 16) & 0xFF);
}

// The two additive blend codes collapse to 1; everything else is normal.
inline int blend_mode_flatten(int bm) { return (bm == 1 || bm == 128) ? 1 : 0; }

// pos 1.0 gives startcolor, 0.0 gives endcolor; weights in 256ths.
inline uint32_t interpolate_unformatted(uint32_t startcolor, uint32_t endcolor, float pos) {
  const int w = int(256.0f * pos);
  return blend(startcolor, endcolor, uint32_t(w));
}

// As interpolate_unformatted but scaled by 255, so endcolor still carries
// 1/256 at pos 1.0; the mix is then mapped into fmt.
inline uint32_t interpolate_fmt(uint32_t startcolor, uint32_t endcolor, float pos,
                                const SDL_PixelFormat* fmt) {
  const int w = int(255.0f * pos);
  return color_for_format(blend(startcolor, endcolor, uint32_t(w)), fmt);
}

}  // namespace korvel::pixels
