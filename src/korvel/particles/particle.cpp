#include "korvel_core/particle.h"

#include <cmath>

#include "korvel/pixels/truncate.h"

namespace korvel::particles {

using pixels::trunc_i32;

TypeParams default_type(uint32_t white) {
  TypeParams t{};
  t.size = t.size_min = t.size_max = 1.0f;
  t.size_xscale = t.size_yscale = 1.0f;
  t.startalpha = t.halfalpha = t.endalpha = 1.0f;
  t.life_min = t.life_max = 30;
  t.startcolor = t.halfcolor = t.endcolor = white;
  return t;
}

void set_size(TypeParams& t, float min, float max, float incr, float wiggle) {
  t.size_min = min;
  t.size_max = max;
  t.size_range = max - min;
  t.size_incr = t.size_range * incr;
  t.size_wiggle = t.size_range * wiggle;
}

void set_speed(TypeParams& t, float min, float max, float incr, float wiggle) {
  t.speed_min = min;
  t.speed_range = max - min;
  t.speed_max = max;
  t.speed_incr = incr;
  t.speed_wiggle = wiggle;
}

void set_direction(TypeParams& t, float min, float max, float incr, float wiggle) {
  t.dir_min = min;
  t.dir_max = max;
  t.dir_range = max - min;
  t.dir_incr = incr;
  t.dir_wiggle = wiggle;
}

void set_orientation(TypeParams& t, float min, float max, float incr, float wiggle,
                     float relativef) {
  t.orientation_min = min;
  t.orientation_max = max;
  t.orientation_incr = incr;
  t.orientation_wiggle = wiggle;
  t.orientation_relative = float(trunc_i32(relativef));
}

void set_life(TypeParams& t, float minf, float maxf) {
  t.life_min = trunc_i32(minf);
  t.life_max = trunc_i32(maxf);
  t.life_range = int32_t(uint32_t(t.life_max) - uint32_t(t.life_min));  // wraps, never traps
}

void set_alpha2(TypeParams& t, float start, float end) {
  t.startalpha = start;
  t.endalpha = end;
  t.halfalpha = (start + end) * 0.5f;
}

void set_blend(TypeParams& t, float blendf) { t.blend = trunc_i32(blendf); }

bool set_sprite_flags(TypeParams& t, float animate, float stretch, float random) {
  if (animate != 0.0f) {  // a NaN counts as set
    t.animate = 1;
    t.stretch = trunc_i32(stretch);
    return false;
  }
  t.stretch = 0;
  t.animate = 0;
  return random != 0.0f;
}

void CParticle_reset_velocities(Particle& p) {
  const double theta = double(p.direction) * 0.017453292519943295 + 1.5707963267948966;
  p.xvel = float(double(p.speed) * std::cos(theta));
  p.yvel = float(double(p.speed) * std::sin(theta));
}

namespace {

float draw_direction(const TypeParams& t, DrawFn draw) {
  return float(double(t.dir_min) + double(t.dir_range) * draw());
}

float draw_speed(const TypeParams& t, DrawFn draw) {
  return float(double(t.speed_min) + double(t.speed_range) * draw());
}

float draw_angle(const TypeParams& t, DrawFn draw) {
  const float range = t.orientation_max - t.orientation_min;  // float32 on purpose
  return float(double(t.orientation_min) + double(range) * draw());
}

void draw_life(Particle& p, const TypeParams& t, DrawFn draw) {
  p.ttl = trunc_i32(double(t.life_min) + double(t.life_range) * draw());
  p.lifespan = float(p.ttl);
}

// w + w in float32, the rest in double: a uniform change in [-w, +w).
float wiggled(float value, float w, DrawFn draw) {
  const float ww = w + w;
  return float(double(ww) * draw() - double(w) + double(value));
}

}  // namespace

void CParticle_born(Particle& p, const TypeParams& t, float x, float y, DrawFn draw) {
  p.x = x;
  p.y = y;
  p.direction = draw_direction(t, draw);
  p.speed = draw_speed(t, draw);
  CParticle_reset_velocities(p);
  p.size = float(double(t.size_min) + double(t.size_range) * draw());
  draw_life(p, t, draw);
  p.startcolor = t.startcolor;
  p.halfcolor = t.halfcolor;
  p.endcolor = t.endcolor;
  p.angle = draw_angle(t, draw);
}

void CParticle_born_size_color(Particle& p, const TypeParams& t, float x, float y, float size,
                               uint32_t color, DrawFn draw) {
  p.x = x;
  p.y = y;
  p.size = size;
  p.startcolor = p.halfcolor = p.endcolor = color;
  p.direction = draw_direction(t, draw);
  p.speed = draw_speed(t, draw);
  p.angle = draw_angle(t, draw);
  CParticle_reset_velocities(p);
  draw_life(p, t, draw);
}

int32_t dec_ttl(Particle& p) {
  p.ttl = int32_t(uint32_t(p.ttl) - 1u);
  return p.ttl;
}

int32_t CParticle_step_low(Particle& p, const TypeParams& t, DrawFn draw) {
  dec_ttl(p);
  p.x += p.xvel;
  p.y += p.yvel;
  if (t.orientation_wiggle != 0.0f) p.angle = wiggled(p.angle, t.orientation_wiggle, draw);
  if (t.orientation_incr != 0.0f) {
    p.angle += t.orientation_incr;
    // one correction only: an increment beyond 360 is not fully wrapped
    if (p.angle < 0.0f) {
      p.angle += 360.0f;
    } else if (p.angle > 360.0f) {
      p.angle -= 360.0f;
    }
  }
  if (p.angle > t.orientation_max) {
    p.angle = t.orientation_max;
  } else if (p.angle < t.orientation_min) {
    p.angle = t.orientation_min;
  }
  bool resized = false;
  if (t.size_wiggle != 0.0f) {
    p.size = wiggled(p.size, t.size_wiggle, draw);
    resized = true;
  }
  if (t.size_incr != 0.0f) {
    p.size += t.size_incr;
    resized = true;
  }
  if (resized) {
    if (p.size < t.size_min) {
      p.size = t.size_min;
    } else if (p.size > t.size_max) {
      p.size = t.size_max;
    }
  }
  return p.ttl;
}

float age_of(const Particle& p) { return float(double(p.ttl) / double(p.lifespan)); }

uint32_t age_mix(uint32_t c1, uint32_t c2, int32_t e) {
  // Products wrap in 32 bits and shift arithmetically, as int arithmetic
  // does, and the particle colours depend on that; the masks make the outer
  // lanes right even when the sum reaches the sign bit.
  const uint32_t ue = uint32_t(e), un = 256u - uint32_t(e);
  const int32_t lo = int32_t((c1 & 0xFF) * ue + (c2 & 0xFF) * un) >> 8;
  const int32_t mid =
      ((int32_t((c1 & 0xFF00) * ue) >> 8) + (int32_t((c2 & 0xFF00) * un) >> 8)) & 0xFF00;
  const int32_t hi = (int32_t(ue * (c1 & 0xFF0000) + un * (c2 & 0xFF0000)) >> 8) & 0xFF0000;
  return uint32_t(lo) + uint32_t(mid) + uint32_t(hi);
}

namespace {

uint32_t age_tint(uint32_t start, uint32_t half, uint32_t end, float pos) {
  if (pos > 0.5f) {
    const float f = float(2.0 * (double(pos) - 0.5));
    return age_mix(start, half, trunc_i32(double(f) * 256.0));
  }
  const float f = pos + pos;
  return age_mix(half, end, trunc_i32(f * 256.0f));
}

// guard: NaN counts as fully transparent instead of an undefined conversion
uint32_t opacity(double a) {
  const double v = a * 255.0;
  if (!(v > 0.0)) return 0;
  if (v >= 4294967295.0) return 4294967295u;
  return uint32_t(v);
}

}  // namespace

uint32_t DesiredTint_part_tam(const Particle& p, float pos) {
  return age_tint(p.startcolor, p.halfcolor, p.endcolor, pos);
}

uint32_t DesiredTint_type(const TypeParams& t, float pos) {
  return age_tint(t.startcolor, t.halfcolor, t.endcolor, pos);
}

uint32_t DesiredAlpha(const TypeParams& t, float pos) {
  if (pos > 0.5f) {
    const float f = (pos - 0.5f) + (pos - 0.5f);
    return opacity(double(f * t.startalpha) + double(t.halfalpha) * (1.0 - double(f)));
  }
  const float f = pos + pos;
  return opacity(double(t.endalpha) * (1.0 - double(f)) + double(f * t.halfalpha));
}

}  // namespace korvel::particles
