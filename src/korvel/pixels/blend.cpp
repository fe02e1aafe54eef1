#include "korvel/pixels/blend.h"

#include <algorithm>

#include "korvel/pixels/kernels.h"

namespace korvel::pixels {

void add_saturate_scalar(uint8_t* d, const uint8_t* s, std::size_t n) {
  for (std::size_t i = 0; i < n; ++i) d[i] = uint8_t(std::min(255u, unsigned(d[i]) + s[i]));
}

void sub_saturate_scalar(uint8_t* d, std::size_t n, uint32_t val) {
  const uint8_t v[4] = {uint8_t(val), uint8_t(val >> 8), uint8_t(val >> 16), uint8_t(val >> 24)};
  std::size_t i = 0;
  // Whole groups of four first: the compiler can keep v in a register then.
  for (; i + 4 <= n; i += 4)
    for (std::size_t k = 0; k < 4; ++k) d[i + k] = uint8_t(d[i + k] > v[k] ? d[i + k] - v[k] : 0);
  for (std::size_t k = 0; i < n; ++i, ++k) d[i] = uint8_t(d[i] > v[k] ? d[i] - v[k] : 0);
}

void scale_alpha_scalar(uint32_t* p, std::size_t n, uint32_t colormask, uint32_t alphamask,
                        uint32_t a, bool alpha_on_top) {
  if (alpha_on_top) {
    // The colour bytes shifted down with the alpha take part in the product
    // and may carry into the alpha byte: that is the defined result.
    for (std::size_t i = 0; i < n; ++i)
      p[i] = (p[i] & colormask) | (((p[i] >> 8) * a) & alphamask);
  } else {
    for (std::size_t i = 0; i < n; ++i)
      p[i] = (p[i] & colormask) | ((((p[i] & alphamask) * a) >> 8) & alphamask);
  }
}

void scale_alpha(uint32_t* p, std::size_t n, uint32_t colormask, uint32_t alphamask, uint32_t a,
                 bool alpha_on_top) {
  g_kernels->scale_alpha(p, n, colormask, alphamask, a, alpha_on_top);
}

void Translucentify(SDL_Surface* surf, uint8_t desiredalpha) {
  const SDL_PixelFormat* f = surf->format;
  const std::size_t n = (std::size_t(surf->pitch) * std::size_t(surf->h)) >> 2;
  scale_alpha(static_cast<uint32_t*>(surf->pixels), n, f->Rmask | f->Gmask | f->Bmask, f->Amask,
              desiredalpha, f->Ashift > 23);
}

void additive_blit(const PixelView& src, const PixelView& dst, std::ptrdiff_t srcstart,
                   std::ptrdiff_t dststart, int height, int width) {
  const AddRunFn add = g_kernels->add_saturate;
  for (int r = 0; r < height; ++r)
    add(dst.row(r) + dststart, src.row(r) + srcstart, std::size_t(width));
}

void satusub(uint8_t* buf, std::size_t len, uint32_t val) { g_kernels->sub_saturate(buf, len, val); }

AdditiveSpan clip_additive(int src_w, int src_h, int dst_w, int dst_h, int dst_pitch, int16_t x,
                           int16_t y) {
  AdditiveSpan s;
  if (y >= 1) {
    if (y >= dst_h) return s;
    s.dststart = std::ptrdiff_t(y) * dst_pitch + x * 4;
  } else {
    s.dststart = x * 4;  // drawn from row 0, no source rows skipped
  }
  if (x >= dst_w) return s;
  s.rows = src_h + y >= dst_h ? dst_h - y : src_h;
  // guard: an image placed at or above the top edge still stops at the last row
  if (y <= 0) s.rows = std::min(s.rows, dst_h);
  s.row_bytes = src_w + x >= dst_w ? (dst_w - (src_w + x)) * 4 : src_w * 4;
  if (x < 0) {
    s.srcstart = -x * 4;
    s.row_bytes -= -x * 4;
    s.dststart += -x * 4;
  }
  s.visible = s.row_bytes >= 1;
  return s;
}

}  // namespace korvel::pixels
