// Particle maths without Python: the numbers of a particle type, a
// particle's state, birth from random draws, the per-step update and the
// colour and opacity a particle has at an age.
#pragma once
#include <cstdint>

namespace korvel::particles {

// One uniform draw in [0, 1): drand48 in the module, a fixed sequence in tests.
using DrawFn = double (*)();

// The numbers of a particle type, in the record's field order.
struct TypeParams {
  int32_t blend;   // 0 normal; 1 or 128 additive
  int32_t animate;
  int32_t stretch;
  int32_t random;
  float size;
  float size_min, size_max, size_range;
  float size_incr, size_wiggle;  // already multiplied by size_range
  float size_xscale, size_yscale;
  uint32_t startcolor, halfcolor, endcolor;  // script colours 0x00BBGGRR
  float startalpha, halfalpha, endalpha;
  float speed_min, speed_max, speed_range, speed_incr, speed_wiggle;
  float dir_min, dir_max, dir_range, dir_incr, dir_wiggle;
  int32_t life_min, life_max, life_range;
  float grav_amount, grav_dir;
  float orientation_min, orientation_max, orientation_incr, orientation_wiggle;
  float orientation_relative;
};

// The state of one particle, in the record's field order.
struct Particle {
  float x, y;
  float direction;  // degrees; 0 moves toward +y
  float speed;
  float xvel, yvel;
  float size;
  int32_t ttl;
  uint32_t startcolor, halfcolor, endcolor;
  float lifespan;  // ttl at birth
  float angle;
};

// A new type: opaque white (white is the screen's, given), size 1, 30 steps.
TypeParams default_type(uint32_t white);

// The setters' arithmetic. Only the size setter scales incr and wiggle by
// the range; speed and direction store them as given.
void set_size(TypeParams& t, float min, float max, float incr, float wiggle);
void set_speed(TypeParams& t, float min, float max, float incr, float wiggle);
void set_direction(TypeParams& t, float min, float max, float incr, float wiggle);
void set_orientation(TypeParams& t, float min, float max, float incr, float wiggle,
                     float relativef);
void set_life(TypeParams& t, float minf, float maxf);
void set_alpha2(TypeParams& t, float start, float end);
void set_blend(TypeParams& t, float blendf);
// Returns true when the caller should report that a random subimage is
// wanted (not animated, random set).
bool set_sprite_flags(TypeParams& t, float animate, float stretch, float random);

// Velocity from direction and speed, with the quarter-turn convention.
void CParticle_reset_velocities(Particle& p);
// Birth from t's ranges: draws direction, speed, size, ttl, angle in that order.
void CParticle_born(Particle& p, const TypeParams& t, float x, float y, DrawFn draw);
// Birth with a given size and colour: draws direction, speed, angle, ttl.
void CParticle_born_size_color(Particle& p, const TypeParams& t, float x, float y, float size,
                               uint32_t color, DrawFn draw);
// One step: ttl, motion, orientation (wiggle, increment, wrap, clamp), size
// (wiggle, increment, clamp). Returns the new ttl.
int32_t CParticle_step_low(Particle& p, const TypeParams& t, DrawFn draw);
// ttl - 1, wrapping rather than overflowing.
int32_t dec_ttl(Particle& p);

// Age fraction: 1.0 at birth, 0.5 at half-life, towards 0 at death.
float age_of(const Particle& p);
// c1 weighted by e/256, c2 by (256 - e)/256, each lane shifted down by 8 on
// its own, with int32 wrap-around; the top byte is dropped.
uint32_t age_mix(uint32_t c1, uint32_t c2, int32_t e);
uint32_t DesiredTint_part_tam(const Particle& p, float pos);
uint32_t DesiredTint_type(const TypeParams& t, float pos);
// Opacity 0..255 at an age (above 255 for alphas above 1.0).
uint32_t DesiredAlpha(const TypeParams& t, float pos);

}  // namespace korvel::particles
