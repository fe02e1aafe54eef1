#include "korvel/pixels/gradient.h"

#include <algorithm>

#include "korvel/pixels/kernels.h"

namespace korvel::pixels {

float gradient_skip(float gradpos, float step, int64_t rows) {
  for (int64_t i = 0; i < rows; ++i) {
    const float next = gradpos - step;
    if (next == gradpos) break;
    gradpos = next;
  }
  return gradpos;
}

namespace {

float at_least_zero(float w) { return w > 0.0f ? w : 0.0f; }

}  // namespace

LayerFactors factors_v(int alpha) {
  LayerFactors f{};
  f.layer[0] = uint32_t(alpha) & 0xFF;
  f.dest = (255u - uint32_t(alpha)) & 0xFF;
  return f;
}

// Weights in single precision, scaled by 256: a weight of exactly 1.0 wraps
// to the factor 0, which is part of the result.
LayerFactors factors_vc(float alpha1, float alpha2) {
  const float rest = 1.0f - alpha2;
  const float w1 = rest * alpha1;
  LayerFactors f{};
  f.layer[0] = byte_of(w1 * 256.0f);
  f.layer[1] = byte_of(alpha2 * 256.0f);
  f.dest = byte_of(at_least_zero(rest - w1) * 256.0f);
  return f;
}

// Weights in double precision scaled by 255, the running sum rounded to
// single precision, and the old pixels get what the layers leave of 255.
LayerFactors factors_vcv(float alpha1, float alpha2, float alpha3) {
  const double w3 = alpha3;
  const double w2 = alpha2 * (1.0 - w3);
  const float s = float(w3 + w2);
  const double w1 = alpha1 * (1.0 - s);
  LayerFactors f{};
  f.layer[0] = byte_of(w1 * 255.0);
  f.layer[1] = byte_of(w2 * 255.0);
  f.layer[2] = byte_of(alpha3 * 255.0f);
  f.dest = 255 - byte_of(double(float(s + w1)) * 255.0);
  return f;
}

// The top layer first: each layer below gets its opacity of what the layers
// above leave over.
LayerFactors factors_vcvvc(float alpha1, float alpha2, float alpha3, float alpha4,
                           float alpha5) {
  const float r = 1.0f - alpha5;
  const float w4 = r * alpha4;
  const float w3 = (r - w4) * alpha3;
  const float w2 = (r - w4 - w3) * alpha2;
  const float rem = r - w4 - w3 - w2;
  const float w1 = rem * alpha1;
  LayerFactors f{};
  f.layer[0] = byte_of(w1 * 256.0f);
  f.layer[1] = byte_of(w2 * 256.0f);
  f.layer[2] = byte_of(w3 * 256.0f);
  f.layer[3] = byte_of(w4 * 256.0f);
  f.layer[4] = byte_of(alpha5 * 256.0f);
  f.dest = byte_of(at_least_zero(rem - w1) * 256.0f);
  return f;
}

void draw_gradient_layers(const PixelView& v, const SDL_PixelFormat* fmt, int x1, int y1,
                          int x2, int y2, EdgeCompare cmp, const GradientLayer* layers,
                          int count, uint32_t dest_factor) {
  const bool as_signed = cmp == EdgeCompare::signed_int;
  const bool past_right = as_signed ? x2 >= v.w : uint32_t(x2) >= uint32_t(v.w);
  const bool past_bottom = as_signed ? y2 >= v.h : uint32_t(y2) >= uint32_t(v.h);
  const int xe = past_right ? v.w - 1 : x2;
  const int ye = past_bottom ? v.h - 1 : y2;
  // The span wraps in 32 bits like the bounds it is taken from.
  const uint32_t span = uint32_t(y2) - uint32_t(y1);
  const float step = gradient_step(as_signed ? double(int32_t(span)) : double(span));
  // guard: clip the left and top edges, so negative corners cannot address
  // memory before the surface; rows above it still move the gradient on
  const int xs = std::max(x1, 0);
  const int ys = std::max(y1, 0);
  if (xe <= xs || ye <= ys) return;
  float gradpos = gradient_skip(1.0f, step, int64_t(ys) - y1);

  uint32_t constants = 0;
  for (int i = 0; i < count; ++i)
    if (layers[i].constant) constants += lanescale(layers[i].top, layers[i].factor);
  // The per-pixel step is the translucent fill's run: lanescale(old, dest) + rowcolour.
  const FillRunFn run = g_kernels->fill_run;
  for (int y = ys; y < ye; ++y) {
    uint32_t rowcolour = constants;
    for (int i = 0; i < count; ++i) {
      const GradientLayer& l = layers[i];
      if (!l.constant)
        rowcolour += lanescale(gradient_pixel(l.top, l.bottom, gradpos, fmt), l.factor);
    }
    run(v.row32(y) + xs, std::size_t(xe - xs), rowcolour, dest_factor);
    gradpos -= step;
  }
}

}  // namespace korvel::pixels
