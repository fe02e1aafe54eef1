// Whole-buffer blending on 32-bit surfaces: alpha fading, saturating
// additive rows and saturating byte subtraction.
#pragma once
#include <SDL.h>

#include <cstddef>
#include <cstdint>

#include "korvel/pixels/pixel_view.h"

namespace korvel::pixels {

// Each of the n words at p keeps its colormask bits and gets its alphamask
// bits scaled by a: with alpha_on_top, the word shifted down by 8 times a
// (the colour bits below the alpha byte feed into it), otherwise the alpha
// bits times a / 256. Other bits are cleared; unsigned 32-bit arithmetic.
void scale_alpha(uint32_t* p, std::size_t n, uint32_t colormask, uint32_t alphamask, uint32_t a,
                 bool alpha_on_top);

// Every word of the buffer, row padding included, gets its alpha scaled by
// desiredalpha / 256; bits outside the colour and alpha masks are cleared.
void Translucentify(SDL_Surface* surf, uint8_t desiredalpha);

// For each of height rows: width bytes from src (at srcstart, rows src.pitch
// apart) are added with saturation onto dst (at dststart, rows dst.pitch apart).
void additive_blit(const PixelView& src, const PixelView& dst, std::ptrdiff_t srcstart,
                   std::ptrdiff_t dststart, int height, int width);

// Every byte of buf loses the matching byte of val (val's bytes repeating in
// memory order), saturating at 0.
void satusub(uint8_t* buf, std::size_t len, uint32_t val);

// Where an additive image lands on the screen: byte offsets, rows and bytes
// per row. visible is false where the blit is skipped before its mode is
// even looked at.
struct AdditiveSpan {
  bool visible = false;
  std::ptrdiff_t srcstart = 0;
  std::ptrdiff_t dststart = 0;
  int rows = 0;
  int row_bytes = 0;
};

// The additive blit's own clipping of a src_w x src_h image placed at (x, y)
// on a dst_w x dst_h surface with dst_pitch bytes per row. An image reaching
// above the top edge is drawn from row 0 with all its rows; one that touches
// or crosses the right edge is not drawn; columns left of the edge are cut.
AdditiveSpan clip_additive(int src_w, int src_h, int dst_w, int dst_h, int dst_pitch, int16_t x,
                           int16_t y);

}  // namespace korvel::pixels
