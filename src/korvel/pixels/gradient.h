// Vertical gradients and constant colours stacked as translucent layers and
// drawn in one pass. Per row, rowcolour is the sum of lanescale(layer pixel,
// layer factor); per pixel, new = lanescale(old, destination factor) +
// rowcolour. All floating-point work happens once per call or once per row.
#pragma once
#include <SDL.h>

#include <cstdint>

#include "korvel/pixels/colour.h"
#include "korvel/pixels/pixel_view.h"
#include "korvel/pixels/truncate.h"

namespace korvel::pixels {

// The lanes of p scaled by f/256; f is a layer factor from 0 to 255.
inline uint32_t lanescale(uint32_t p, uint32_t f) { return multalpha(p, int(f)); }

// The low 8 bits of trunc_i32(v): how every layer factor is formed.
inline uint32_t byte_of(double v) { return uint32_t(trunc_i32(v)) & 0xFF; }

// The top colour's weight in a row at gradient position gradpos (1.0 at the
// first row): trunc(gradpos * 255) in single precision.
inline uint32_t gradient_weight(float gradpos) {
  return uint32_t(trunc_i32(gradpos * 255.0f));
}

// A row's gradient pixel: the mix of two script colours (top weighted by
// gradient_weight, bottom by 256 minus it) mapped into fmt.
inline uint32_t gradient_pixel(uint32_t top, uint32_t bottom, float gradpos,
                               const SDL_PixelFormat* fmt) {
  return color_for_format(blend(top, bottom, gradient_weight(gradpos)), fmt);
}

// The decrease of gradpos per row: 1 / span, divided in double precision and
// kept in single precision.
inline float gradient_step(double span) { return float(1.0 / span); }

// gradpos after `rows` more rows. Stops as soon as a step no longer changes
// it, which bounds the work for rows far outside the surface.
float gradient_skip(float gradpos, float step, int64_t rows);

// A layer: a vertical gradient of two script colours, or one constant pixel
// word already in the surface's format (top; bottom unused).
struct GradientLayer {
  bool constant;
  uint32_t top;
  uint32_t bottom;
  uint32_t factor;  // 0 to 255
};

// The factor of each layer (bottom layer first) and of the old pixels.
struct LayerFactors {
  uint32_t layer[5];
  uint32_t dest;
};

// fast_draw_gradient_v: one gradient at an integer opacity (low 8 bits).
LayerFactors factors_v(int alpha);
// fast_draw_gradients_vc and fast_draw_gradients_vv: two layers.
LayerFactors factors_vc(float alpha1, float alpha2);
// fast_draw_gradients_vcv: three layers, weighted by 255 rather than 256.
LayerFactors factors_vcv(float alpha1, float alpha2, float alpha3);
// fast_draw_gradients_vcvvc: five layers.
LayerFactors factors_vcvvc(float alpha1, float alpha2, float alpha3, float alpha4,
                           float alpha5);

// How x2 and y2 are compared with the surface size: as signed ints, or as
// unsigned ints (a negative bound then reaches past the edge).
enum class EdgeCompare { signed_int, unsigned_int };

// The covered area: columns x1 up to x2 and rows y1 up to y2, both exclusive,
// where a bound that reaches the right or bottom edge is pulled back to the
// last column or row (which are therefore never drawn). The gradient spans
// y1 to the unclipped y2.
void draw_gradient_layers(const PixelView& v, const SDL_PixelFormat* fmt, int x1, int y1,
                          int x2, int y2, EdgeCompare cmp, const GradientLayer* layers,
                          int count, uint32_t dest_factor);

}  // namespace korvel::pixels
