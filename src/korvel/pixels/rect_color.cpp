#include "korvel/pixels/rect_color.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "korvel/pixels/colour.h"
#include "korvel/pixels/fill.h"
#include "korvel/pixels/gradient.h"

namespace korvel::pixels {
namespace {

// The corners in order, and the last column and row that the bounds reach.
struct Bounds {
  int x1, y1, x2, y2, xmax, ymax;
};

// guard: opaque writes keep to the surface, so corners outside it (or a
// left edge past the right one) cannot write outside its rows
void set_span(const PixelView& v, int y, int xa, int xb, uint32_t word) {
  if (y < 0 || y >= v.h) return;
  xa = std::max(xa, 0);
  xb = std::min(xb, v.w);
  if (xa < xb) std::fill_n(v.row32(y) + xa, xb - xa, word);
}

void set_pixel(const PixelView& v, int x, int y, uint32_t word) {
  if (x >= 0 && x < v.w && y >= 0 && y < v.h) v.row32(y)[x] = word;
}

float vertical_step(const Bounds& b) {
  return gradient_step(double(int32_t(uint32_t(b.y2) - uint32_t(b.y1))));
}

// Top and bottom rows in their corner colours, then both sides in the
// gradient. The right side stands in column xmax, one right of the top and
// bottom rows' last pixel, and the sides repaint the bottom row's ends.
void opaque_vertical_outline(const PixelView& v, const SDL_PixelFormat* fmt, const Bounds& b,
                             const CornerColours& c) {
  set_span(v, b.y1, b.x1, b.xmax, color_for_format(c.tl, fmt));
  set_span(v, b.ymax, b.x1, b.xmax, color_for_format(c.bl, fmt));
  const float step = vertical_step(b);
  const int64_t first = int64_t(b.y1) + 1;
  // The bottom row's sides are reached only when the left side is left of xmax.
  const int64_t last = b.x1 < b.xmax ? b.ymax : int64_t(b.ymax) - 1;
  // guard: rows above the surface are skipped, but still move the gradient on
  const int64_t start = std::max<int64_t>(first, 0);
  float gradpos = gradient_skip(1.0f, step, start - first);
  for (int64_t y = start; y <= last; ++y) {
    const uint32_t word = gradient_pixel(c.tl, c.bl, gradpos, fmt);
    set_pixel(v, b.x1, int(y), word);
    set_pixel(v, b.xmax, int(y), word);
    gradpos -= step;
  }
}

// Rows y1 up to ymax (exclusive), columns x1 up to xmax (exclusive).
void opaque_vertical_fill(const PixelView& v, const SDL_PixelFormat* fmt, const Bounds& b,
                          const CornerColours& c) {
  const float step = vertical_step(b);
  const int xs = std::max(b.x1, 0);
  const int ys = std::max(b.y1, 0);
  if (b.xmax <= xs || b.ymax <= ys) return;
  float gradpos = gradient_skip(1.0f, step, int64_t(ys) - b.y1);
  for (int y = ys; y < b.ymax; ++y) {
    std::fill_n(v.row32(y) + xs, b.xmax - xs, gradient_pixel(c.tr, c.bl, gradpos, fmt));
    gradpos -= step;
  }
}

// The top edge's colours from left to right, over rows y1 to ymax inclusive;
// the step comes from the clipped right edge. One row is computed and copied.
void opaque_horizontal_fill(const PixelView& v, const SDL_PixelFormat* fmt, const Bounds& b,
                            const CornerColours& c) {
  const float step = gradient_step(double(int32_t(uint32_t(b.xmax) - uint32_t(b.x1))));
  const int xs = std::max(b.x1, 0);
  const int ys = std::max(b.y1, 0);
  if (b.xmax <= xs || b.ymax < ys) return;
  float gradpos = gradient_skip(1.0f, step, int64_t(xs) - b.x1);
  uint32_t* first = v.row32(ys);
  for (int x = xs; x < b.xmax; ++x) {
    first[x] = gradient_pixel(c.tl, c.tr, gradpos, fmt);
    gradpos -= step;
  }
  const std::size_t bytes = std::size_t(b.xmax - xs) * 4;
  for (int y = ys + 1; y <= b.ymax; ++y) std::memcpy(v.row32(y) + xs, first + xs, bytes);
}

}  // namespace

int rectangle_alpha(float alphaf) { return trunc_i32(alphaf * 255.0f); }

RectColorOutcome draw_rectangle_color(const PixelView& v, const SDL_PixelFormat* fmt, int x1,
                                      int y1, int x2, int y2, const CornerColours& c,
                                      int alpha, bool outline) {
  if (x2 < x1) std::swap(x1, x2);
  if (y2 < y1) std::swap(y1, y2);
  const Bounds b{x1, y1, x2, y2, x2 < v.w ? x2 : v.w - 1, y2 < v.h ? y2 : v.h - 1};
  const bool flat = c.tl == c.tr && c.tr == c.br && c.br == c.bl;
  const bool vertical = c.tl == c.tr && c.bl == c.br;
  if (flat) {
    if (alpha > 254) return RectColorOutcome::should_fill;
    // The outline flag is ignored here: a translucent flat rectangle is filled.
    fill_translucent(v, x1, y1, x2, y2, c.tl, alpha);
    return RectColorOutcome::drawn;
  }
  if (vertical && alpha == 255) {
    if (outline)
      opaque_vertical_outline(v, fmt, b, c);
    else
      opaque_vertical_fill(v, fmt, b, c);
    return RectColorOutcome::drawn;
  }
  if (vertical && alpha < 255) {
    if (outline) return RectColorOutcome::translucent_outline;
    const LayerFactors f = factors_v(alpha);
    const GradientLayer layer{false, c.tr, c.bl, f.layer[0]};
    draw_gradient_layers(v, fmt, x1, y1, x2, y2, EdgeCompare::signed_int, &layer, 1, f.dest);
    return RectColorOutcome::drawn;
  }
  if (alpha == 255 && !outline) {
    opaque_horizontal_fill(v, fmt, b, c);
    return RectColorOutcome::drawn;
  }
  return RectColorOutcome::unsupported;
}

}  // namespace korvel::pixels
