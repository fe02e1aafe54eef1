// What a particle looks like this frame, decided without touching pixels:
// its drawn size, colour, opacity, angle key, position and which of the four
// ways of drawing applies.
#pragma once
#include <cstdint>

#include "korvel_core/particle.h"

namespace korvel::particles {

enum class RenderCase {
  none,         // zero size: nothing drawn
  scaled,       // zoomed, cached by quantised angle
  translucent,  // unscaled, alpha != 255, cached by truncated angle
  plain,        // unscaled, opaque, untinted: the shape itself, never rotated
  tinted,       // unscaled, opaque, tinted: a tinted copy, never rotated
};

struct RenderPlan {
  RenderCase kind = RenderCase::none;
  int w = 0, h = 0;          // drawn size
  uint32_t tint = 0;         // 0x00BBGGRR; 0xFFFFFF means untinted
  uint32_t alpha = 0;        // 255 means opaque
  int32_t angle = 0;         // rotation in degrees, also the cache key's angle
  int16_t x = 0, y = 0;      // centre of the image, 16-bit like the blit rectangle
};

constexpr uint32_t kUntinted = 0xFFFFFF;
constexpr uint32_t kOpaque = 255;

// The plan for particle p of type t whose shape is shape_w x shape_h, drawn
// at offset (xoff, yoff).
RenderPlan plan_render(const Particle& p, const TypeParams& t, int shape_w, int shape_h,
                       int xoff, int yoff);

// The blit position of an image of the given extent centred on pos.
int16_t centred(int16_t pos, int extent);

}  // namespace korvel::particles
