#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "korvel/particles/particle.h"
#include "korvel/particles/render_plan.h"

using namespace korvel::particles;

namespace {

// A scripted sequence of draws; taking more than scripted fails the test.
std::vector<double> g_draws;
std::size_t g_taken = 0;

double scripted() {
  if (g_taken >= g_draws.size()) {
    ADD_FAILURE() << "more draws than scripted";
    return 0.0;
  }
  return g_draws[g_taken++];
}

void script(std::vector<double> draws) {
  g_draws = std::move(draws);
  g_taken = 0;
}

double no_draws() {
  ADD_FAILURE() << "no draw expected";
  return 0.0;
}

TypeParams ranged_type() {
  TypeParams t = default_type(0x00FFFFFF);
  set_direction(t, 0, 90, 0, 0);
  set_speed(t, 1, 3, 0, 0);
  set_size(t, 0.5f, 1.5f, 0, 0);
  set_life(t, 10, 20);
  set_orientation(t, 0, 360, 0, 0, 0);
  return t;
}

}  // namespace

TEST(TypeSetters, DefaultsAndStoredValues) {
  TypeParams t = default_type(0xFFFFFF00);
  EXPECT_EQ(t.size, 1.0f);
  EXPECT_EQ(t.life_min, 30);
  EXPECT_EQ(t.life_max, 30);
  EXPECT_EQ(t.life_range, 0);
  EXPECT_EQ(t.startcolor, 0xFFFFFF00u);
  EXPECT_EQ(t.endalpha, 1.0f);
  EXPECT_EQ(t.speed_max, 0.0f);

  set_size(t, 0.5f, 1.5f, 0.1f, 0.2f);
  EXPECT_FLOAT_EQ(t.size_incr, 0.1f);
  EXPECT_FLOAT_EQ(t.size_wiggle, 0.2f);
  set_size(t, 1, 1, 0.5f, 0.5f);  // a fixed size never grows or wiggles
  EXPECT_EQ(t.size_incr, 0.0f);
  EXPECT_EQ(t.size_wiggle, 0.0f);
  set_size(t, 1, 3, 0.5f, 0.25f);  // scaled by the range of 2
  EXPECT_EQ(t.size_incr, 1.0f);
  EXPECT_EQ(t.size_wiggle, 0.5f);

  set_speed(t, 1, 3, 0.5f, 0.25f);  // stored as given
  EXPECT_EQ(t.speed_range, 2.0f);
  EXPECT_EQ(t.speed_incr, 0.5f);
  EXPECT_EQ(t.speed_wiggle, 0.25f);

  set_life(t, 10.9f, -3.9f);
  EXPECT_EQ(t.life_min, 10);
  EXPECT_EQ(t.life_max, -3);
  EXPECT_EQ(t.life_range, -13);

  set_orientation(t, 0, 360, 1, 0, 0.7f);
  EXPECT_EQ(t.orientation_relative, 0.0f);
  set_orientation(t, 0, 360, 1, 0, 1.9f);
  EXPECT_EQ(t.orientation_relative, 1.0f);

  set_alpha2(t, 1.0f, 0.0f);
  EXPECT_EQ(t.halfalpha, 0.5f);
  set_blend(t, 128.9f);
  EXPECT_EQ(t.blend, 128);
  set_blend(t, std::numeric_limits<float>::quiet_NaN());  // no undefined conversion
  EXPECT_EQ(t.blend, INT32_MIN);
}

TEST(TypeSetters, SpriteFlags) {
  TypeParams t = default_type(0xFFFFFF);
  EXPECT_FALSE(set_sprite_flags(t, 1, 2.7f, 1));
  EXPECT_EQ(t.animate, 1);
  EXPECT_EQ(t.stretch, 2);
  EXPECT_FALSE(set_sprite_flags(t, std::nanf(""), 1, 0));  // NaN counts as set
  EXPECT_EQ(t.animate, 1);
  EXPECT_TRUE(set_sprite_flags(t, 0, 5, 1));  // wants a random subimage
  EXPECT_EQ(t.animate, 0);
  EXPECT_EQ(t.stretch, 0);
  EXPECT_FALSE(set_sprite_flags(t, 0, 5, 0));
}

TEST(Birth, DrawsDirectionSpeedSizeLifeAngleInOrder) {
  const TypeParams t = ranged_type();
  script({0.5, 0.25, 0.75, 0.5, 0.1});
  Particle p{};
  CParticle_born(p, t, 3.5f, -2.0f, scripted);
  EXPECT_EQ(g_taken, 5u);
  EXPECT_EQ(p.x, 3.5f);
  EXPECT_EQ(p.y, -2.0f);
  EXPECT_EQ(p.direction, 45.0f);
  EXPECT_EQ(p.speed, 1.5f);
  EXPECT_EQ(p.size, 1.25f);
  EXPECT_EQ(p.ttl, 15);
  EXPECT_EQ(p.lifespan, 15.0f);
  EXPECT_FLOAT_EQ(p.angle, 36.0f);
  EXPECT_NEAR(p.xvel, -1.5 * std::sqrt(0.5), 1e-6);  // 45 degrees past straight down
  EXPECT_NEAR(p.yvel, 1.5 * std::sqrt(0.5), 1e-6);
  EXPECT_EQ(p.startcolor, 0x00FFFFFFu);
}

TEST(Birth, LifeMaxIsNeverDrawn) {
  const TypeParams t = ranged_type();
  script({0, 0, 0, 0.99999, 0});
  Particle p{};
  CParticle_born(p, t, 0, 0, scripted);
  EXPECT_EQ(p.ttl, 19);
}

TEST(Birth, SizeColorDrawsDirectionSpeedAngleLife) {
  const TypeParams t = ranged_type();
  script({0.5, 0.25, 0.1, 0.5});
  Particle p{};
  CParticle_born_size_color(p, t, 1, 2, 3.0f, 0x00123456, scripted);
  EXPECT_EQ(g_taken, 4u);
  EXPECT_EQ(p.direction, 45.0f);
  EXPECT_EQ(p.speed, 1.5f);
  EXPECT_FLOAT_EQ(p.angle, 36.0f);
  EXPECT_EQ(p.ttl, 15);
  EXPECT_EQ(p.size, 3.0f);  // not drawn, whatever the type's range
  EXPECT_EQ(p.startcolor, 0x00123456u);
  EXPECT_EQ(p.halfcolor, 0x00123456u);
  EXPECT_EQ(p.endcolor, 0x00123456u);
}

TEST(Velocity, QuarterTurnConvention) {
  Particle p{};
  p.speed = 2;
  p.direction = 0;  // toward +y
  CParticle_reset_velocities(p);
  EXPECT_EQ(p.xvel, float(1.2246467991473532e-16));
  EXPECT_EQ(p.yvel, 2.0f);
  p.direction = 90;  // toward -x
  CParticle_reset_velocities(p);
  EXPECT_EQ(p.xvel, -2.0f);
  EXPECT_NEAR(p.yvel, 0.0f, 1e-6);
  p.direction = 270;  // toward +x
  CParticle_reset_velocities(p);
  EXPECT_EQ(p.xvel, 2.0f);
}

TEST(Step, DefaultTypeLivesThirtyStepsWithoutDraws) {
  const TypeParams t = default_type(0xFFFFFF);
  script({0, 0, 0, 0, 0});
  Particle p{};
  CParticle_born(p, t, 0, 0, scripted);
  EXPECT_EQ(p.ttl, 30);
  EXPECT_EQ(p.lifespan, 30.0f);
  int32_t ttl = 0;
  for (int i = 0; i < 30; ++i) ttl = CParticle_step_low(p, t, no_draws);
  EXPECT_EQ(ttl, 0);
}

TEST(Step, MovesByTheVelocity) {
  const TypeParams t = default_type(0xFFFFFF);
  Particle p{};
  p.x = 1;
  p.y = 2;
  p.xvel = 0.5f;
  p.yvel = -1.25f;
  p.ttl = 5;
  EXPECT_EQ(CParticle_step_low(p, t, no_draws), 4);
  EXPECT_EQ(p.x, 1.5f);
  EXPECT_EQ(p.y, 0.75f);
}

struct SpinCase {
  float min, max, incr, start, after1, after2;
};

class Spin : public ::testing::TestWithParam<SpinCase> {};

TEST_P(Spin, IncrementWrapsOnceThenClamps) {
  const SpinCase c = GetParam();
  TypeParams t = default_type(0xFFFFFF);
  set_orientation(t, c.min, c.max, c.incr, 0, 0);
  Particle p{};
  p.angle = c.start;
  CParticle_step_low(p, t, no_draws);
  EXPECT_FLOAT_EQ(p.angle, c.after1);
  CParticle_step_low(p, t, no_draws);
  EXPECT_FLOAT_EQ(p.angle, c.after2);
}

INSTANTIATE_TEST_SUITE_P(
    Orientation, Spin,
    ::testing::Values(SpinCase{0, 360, 10, 355, 5, 15},
                      SpinCase{0, 180, 10, 175, 180, 180},    // clamped and stuck
                      SpinCase{0, 360, -10, 5, 355, 345},     // -5 becomes 355
                      SpinCase{0, 360, 10, 350, 360, 10},     // exactly 360 stays, 370 wraps
                      SpinCase{0, 360, 400, 10, 50, 90},      // one correction only
                      SpinCase{0, 0, 10, 0, 0, 0},            // default range pins it
                      SpinCase{90, 100, 0, 10, 90, 90}));     // clamp without increment

TEST(Step, WiggleDrawsOrientationFirstThenSize) {
  TypeParams t = default_type(0xFFFFFF);
  set_orientation(t, 0, 360, 0, 10, 0);
  set_size(t, 0, 4, 0, 0.25f);  // wiggle 1.0 after scaling by the range
  Particle p{};
  p.angle = 100;
  p.size = 2;
  script({0.75, 0.0});
  CParticle_step_low(p, t, scripted);
  EXPECT_EQ(g_taken, 2u);
  EXPECT_FLOAT_EQ(p.angle, 105.0f);  // 20 * 0.75 - 10
  EXPECT_FLOAT_EQ(p.size, 1.0f);     // 2 * 0 - 1
}

TEST(Step, SizeIncrementClampsOnlyWhenItApplies) {
  TypeParams t = default_type(0xFFFFFF);
  set_size(t, 1, 2, 0.1f, 0);
  Particle p{};
  p.size = 1.95f;
  CParticle_step_low(p, t, no_draws);
  EXPECT_EQ(p.size, 2.0f);
  set_size(t, 1, 1, 0, 0);
  p.size = 3.0f;
  CParticle_step_low(p, t, no_draws);
  EXPECT_EQ(p.size, 3.0f);  // no increment, no wiggle: left alone
  t.size_incr = 0.5f;
  CParticle_step_low(p, t, no_draws);
  EXPECT_EQ(p.size, 1.0f);
}

TEST(Step, NanAnglePassesTheClamp) {
  TypeParams t = default_type(0xFFFFFF);
  Particle p{};
  p.angle = std::nanf("");
  CParticle_step_low(p, t, no_draws);
  EXPECT_TRUE(std::isnan(p.angle));
}

TEST(Step, TtlWrapsInsteadOfOverflowing) {
  Particle p{};
  p.ttl = INT32_MIN;
  EXPECT_EQ(dec_ttl(p), INT32_MAX);
}

TEST(AgeMix, EndsAndLanes) {
  EXPECT_EQ(age_mix(0xAB123456, 0x00654321, 256), 0x00123456u);
  EXPECT_EQ(age_mix(0xAB123456, 0xCD654321, 0), 0x00654321u);
  EXPECT_EQ(age_mix(0x00FF0000, 0x00FF0000, 256), 0x00FF0000u);  // through the sign bit
  EXPECT_EQ(age_mix(0x00FF8040, 0x00000000, 128), 0x007F4020u);
}

TEST(AgeTint, StartHalfAndQuarter) {
  TypeParams t = default_type(0);
  t.startcolor = 0xEE0000FF;
  t.halfcolor = 0x00FF8040;
  t.endcolor = 0x00000000;
  EXPECT_EQ(DesiredTint_type(t, 1.0f), 0x000000FFu);
  EXPECT_EQ(DesiredTint_type(t, 0.5f), 0x00FF8040u);
  EXPECT_EQ(DesiredTint_type(t, 0.25f), 0x007F4020u);
  EXPECT_EQ(DesiredTint_type(t, 0.0f), 0x00000000u);
  Particle p{};
  p.startcolor = t.startcolor;
  p.halfcolor = t.halfcolor;
  p.endcolor = t.endcolor;
  for (float pos : {1.0f, 0.9f, 0.6f, 0.5f, 0.3f, 0.01f})
    EXPECT_EQ(DesiredTint_part_tam(p, pos), DesiredTint_type(t, pos)) << pos;
  const TypeParams before_screen = default_type(0xFFFFFF00);
  EXPECT_EQ(DesiredTint_type(before_screen, 0.7f), 0x00FFFF00u);  // tinted, not white
}

TEST(AgeAlpha, Opacities) {
  TypeParams t = default_type(0xFFFFFF);
  for (float pos : {1.0f, 0.75f, 0.5f, 0.25f, 0.01f}) EXPECT_EQ(DesiredAlpha(t, pos), 255u);
  t.startalpha = 1.0f;
  t.halfalpha = 0.5f;
  t.endalpha = 0.0f;
  EXPECT_EQ(DesiredAlpha(t, 0.75f), 191u);
  EXPECT_EQ(DesiredAlpha(t, 0.5f), 127u);
  t.startalpha = 0.999f;
  EXPECT_EQ(DesiredAlpha(t, 1.0f), 254u);
  t.startalpha = 2.0f;
  EXPECT_EQ(DesiredAlpha(t, 1.0f), 510u);
  t.startalpha = -1.0f;
  EXPECT_EQ(DesiredAlpha(t, 1.0f), 0u);
  t.startalpha = 1e30f;
  EXPECT_EQ(DesiredAlpha(t, 1.0f), 4294967295u);
  t.startalpha = std::nanf("");
  EXPECT_EQ(DesiredAlpha(t, 1.0f), 0u);
}

namespace {

Particle newborn(float size, float angle, int32_t ttl = 10, uint32_t colour = 0x00FFFFFF) {
  Particle p{};
  p.size = size;
  p.angle = angle;
  p.ttl = ttl;
  p.lifespan = 10;
  p.startcolor = p.halfcolor = p.endcolor = colour;
  return p;
}

}  // namespace

TEST(RenderPlan, ChoosesTheWayOfDrawing) {
  TypeParams t = default_type(0x00FFFFFF);
  RenderPlan plan = plan_render(newborn(1, 123.4f), t, 10, 6, 0, 0);
  EXPECT_EQ(plan.kind, RenderCase::plain);  // never rotated, whatever the angle
  EXPECT_EQ(plan.w, 10);
  EXPECT_EQ(plan.h, 6);

  plan = plan_render(newborn(1, 0, 10, 0x000000FF), t, 10, 6, 0, 0);
  EXPECT_EQ(plan.kind, RenderCase::tinted);
  EXPECT_EQ(plan.tint, 0x000000FFu);

  t.startalpha = 0.999f;
  plan = plan_render(newborn(1, 359.9f), t, 10, 6, 0, 0);
  EXPECT_EQ(plan.kind, RenderCase::translucent);
  EXPECT_EQ(plan.alpha, 254u);
  EXPECT_EQ(plan.angle, 359);

  t.size_wiggle = 0.1f;  // always scaled, even at size 1
  plan = plan_render(newborn(1, 359.9f), t, 10, 6, 0, 0);
  EXPECT_EQ(plan.kind, RenderCase::scaled);
  EXPECT_EQ(plan.angle, 352);
  plan = plan_render(newborn(1, -5), t, 10, 6, 0, 0);
  EXPECT_EQ(plan.angle, 4080);
}

TEST(RenderPlan, DrawnSizeAndPosition) {
  TypeParams t = default_type(0x00FFFFFF);
  t.size_xscale = 1.5f;
  Particle p = newborn(2, 0);
  p.x = 10.7f;
  p.y = -3.2f;
  RenderPlan plan = plan_render(p, t, 10, 6, 5, 0);
  EXPECT_EQ(plan.kind, RenderCase::scaled);
  EXPECT_EQ(plan.w, 30);
  EXPECT_EQ(plan.h, 12);
  EXPECT_EQ(plan.x, 15);
  EXPECT_EQ(plan.y, -3);
  EXPECT_EQ(centred(plan.x, 7), 12);
  EXPECT_EQ(centred(plan.x, 30), 0);

  p.x = 10;
  plan = plan_render(p, t, 10, 6, 32760, 0);
  EXPECT_EQ(plan.x, -32766);  // 32770 wraps in 16 bits

  plan = plan_render(newborn(0.05f, 0), t, 10, 6, 0, 0);
  EXPECT_EQ(plan.kind, RenderCase::none);  // zero width
  plan = plan_render(newborn(1e20f, 0), t, 10, 6, 0, 0);
  EXPECT_EQ(plan.kind, RenderCase::none);  // beyond any surface
}
