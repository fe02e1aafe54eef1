#include "korvel/particles/render_plan.h"

#include <cstdlib>

#include "korvel/pixels/truncate.h"

namespace korvel::particles {

using pixels::trunc_i32;

namespace {

// guard: a size no surface can have (SDL 1.2 rectangles were 16-bit) draws nothing
constexpr int kMaxExtent = 32767;

}  // namespace

int16_t centred(int16_t pos, int extent) { return int16_t(pos - (extent >> 1)); }

RenderPlan plan_render(const Particle& p, const TypeParams& t, int shape_w, int shape_h,
                       int xoff, int yoff) {
  RenderPlan plan;
  const float pos = age_of(p);
  plan.tint = DesiredTint_part_tam(p, pos);
  plan.alpha = DesiredAlpha(t, pos);
  bool scaled;
  // The float32 products keep this order: the rounded sizes depend on it.
  if (t.size_wiggle == 0.0f) {
    plan.w = trunc_i32(float(shape_w) * t.size_xscale * p.size);
    plan.h = trunc_i32(p.size * float(shape_h) * t.size_yscale);
    scaled = plan.w != shape_w || plan.h != shape_h;
  } else {
    plan.w = trunc_i32(float(shape_w) * p.size * t.size_xscale);
    plan.h = trunc_i32(p.size * float(shape_h) * t.size_yscale);
    scaled = true;  // even at size 1
  }
  plan.x = int16_t(trunc_i32(float(xoff) + p.x));
  plan.y = int16_t(trunc_i32(float(yoff) + p.y));
  if (plan.w == 0 || plan.h == 0 || std::abs(int64_t(plan.w)) > kMaxExtent ||
      std::abs(int64_t(plan.h)) > kMaxExtent)
    return plan;
  if (scaled) {
    plan.kind = RenderCase::scaled;
    plan.angle = trunc_i32(p.angle) & 0xFF0;  // 16-degree steps bound the cached rotations
  } else if (plan.alpha != kOpaque) {
    plan.kind = RenderCase::translucent;
    plan.angle = trunc_i32(p.angle);
  } else if (plan.tint == kUntinted) {
    plan.kind = RenderCase::plain;
  } else {
    plan.kind = RenderCase::tinted;
  }
  return plan;
}

}  // namespace korvel::particles
