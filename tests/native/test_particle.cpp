#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <tuple>
#include <vector>

#include "korvel/particles/render_plan.h"
#include "korvel_core/particle.h"

using namespace korvel::particles;

namespace {

// A scripted sequence of draws; taking more than scripted fails the test.
std::vector<double> g_draws;
std::size_t g_taken = 0;

double scripted() {
  EXPECT_LT(g_taken, g_draws.size()) << "more draws than scripted";
  return g_taken < g_draws.size() ? g_draws[g_taken++] : 0.0;
}

void script(std::vector<double> draws) {
  g_draws = std::move(draws);
  g_taken = 0;
}

// x, y, direction, speed, xvel, yvel, size, ttl, colours, lifespan, angle
Particle newborn(float size, float angle) {
  return {0, 0, 0, 0, 0, 0, size, 10, 0xFFFFFF, 0xFFFFFF, 0xFFFFFF, 10, angle};
}

}  // namespace

// The draws of a birth in their order: direction, speed, size, life, angle
// (the size-and-colour birth takes the angle before the life); a life range
// given backwards wraps, and the blend code truncates, NaN without undefined
// conversion.
TEST(Birth, DrawsInTheirOrder) {
  TypeParams t = default_type(0x00FFFFFF);
  set_life(t, 10.9f, -3.9f);
  set_blend(t, 128.9f);
  EXPECT_EQ(std::tuple(t.life_min, t.life_max, t.life_range, t.blend), std::tuple(10, -3, -13, 128));
  set_blend(t, std::numeric_limits<float>::quiet_NaN());
  EXPECT_EQ(t.blend, INT32_MIN);
  set_direction(t, 0, 90, 0, 0);
  set_speed(t, 1, 3, 0, 0);
  set_size(t, 0.5f, 1.5f, 0, 0);
  set_life(t, 10, 20);
  set_orientation(t, 0, 360, 0, 0, 0);
  Particle p{};
  script({0.5, 0.25, 0.75, 0.5, 0.1});
  CParticle_born(p, t, 3.5f, -2.0f, scripted);
  EXPECT_EQ(std::vector<float>({p.x, p.y, p.direction, p.speed, p.size, float(p.ttl), p.lifespan,
                                p.angle, float(g_taken), float(p.startcolor)}),
            std::vector<float>({3.5f, -2.0f, 45, 1.5f, 1.25f, 15, 15, 36, 5, 0x00FFFFFF}));
  EXPECT_NEAR(p.xvel, -1.5 * std::sqrt(0.5), 1e-6);  // 45 degrees past straight down
  EXPECT_NEAR(p.yvel, 1.5 * std::sqrt(0.5), 1e-6);
  script({0.5, 0.25, 0.1, 0.5});
  CParticle_born_size_color(p, t, 1, 2, 3.0f, 0x00123456, scripted);
  EXPECT_EQ(std::vector<float>({p.size, float(p.ttl), p.angle, float(g_taken), float(p.endcolor)}),
            std::vector<float>({3.0f, 15, 36.0f, 4, 0x00123456}));
}

// The default type moves without draws and the ttl wraps; the angle's
// increment wraps once by 360, then the range clamps it; wiggles draw the
// orientation's first, then the size's; only a changed size is clamped.
TEST(Step, MovesTurnsWigglesAndClamps) {
  Particle p = newborn(1, 0);
  std::tie(p.x, p.y, p.xvel, p.yvel) = std::tuple(1.0f, 2.0f, 0.5f, -1.25f);
  script({});
  for (int i = 9; i >= 0; --i) EXPECT_EQ(CParticle_step_low(p, default_type(0), scripted), i);
  EXPECT_EQ(std::pair(p.x, p.y), std::pair(6.0f, -10.5f));
  p.ttl = INT32_MIN;
  EXPECT_EQ(dec_ttl(p), INT32_MAX);
  // min, max, incr, start, after one step, after two: 355 goes on to 5;
  // clamped and stuck at 180; -5 becomes 355; exactly 360 stays and 370
  // wraps; 410 is corrected once only; the default range pins it; a clamp
  // without increment; NaN passes the clamp.
  const float nan = std::nanf("");
  const float cases[][6] = {{0, 360, 10, 355, 5, 15},  {0, 180, 10, 175, 180, 180},
                            {0, 360, -10, 5, 355, 345}, {0, 360, 10, 350, 360, 10},
                            {0, 360, 400, 10, 50, 90},  {0, 0, 10, 0, 0, 0},
                            {90, 100, 0, 10, 90, 90},   {0, 0, 0, nan, nan, nan}};
  TypeParams t = default_type(0);
  for (const auto& c : cases) {
    set_orientation(t, c[0], c[1], c[2], 0, 0);
    p.angle = c[3];
    for (int i : {4, 5}) {
      CParticle_step_low(p, t, scripted);
      EXPECT_TRUE(std::isnan(c[i]) ? std::isnan(p.angle) : p.angle == c[i]) << c[3] << " " << i;
    }
  }
  set_orientation(t, 0, 360, 0, 10, 0);
  set_size(t, 0, 4, 0, 0.25f);  // wiggle 1.0 after scaling by the range
  p = newborn(2, 100);
  script({0.75, 0.0});
  CParticle_step_low(p, t, scripted);
  EXPECT_EQ(std::tuple(p.angle, p.size, g_taken), std::tuple(105.0f, 1.0f, 2u));  // 20 * .75 - 10
  set_orientation(t, 0, 360, 0, 0, 0);
  for (auto [incr, from, to] : {std::tuple{0.1f, 1.95f, 2.0f}, {0.0f, 3.0f, 3.0f}, {-2.5f, 3.0f, 1.0f}}) {
    set_size(t, 1, 2, incr, 0);
    p.size = from;
    CParticle_step_low(p, t, scripted);
    EXPECT_EQ(p.size, to) << incr << " " << from;
  }
}

// The type's colours age as the particle's own copies do, and the opacity
// comes from the three alphas.
TEST(Age, TintAndAlpha) {
  TypeParams t = default_type(0);
  Particle p{};
  p.startcolor = t.startcolor = 0xEE0000FF;
  p.halfcolor = t.halfcolor = 0x00FF8040;
  for (float pos : {1.0f, 0.9f, 0.6f, 0.5f, 0.3f, 0.01f})
    EXPECT_EQ(DesiredTint_part_tam(p, pos), DesiredTint_type(t, pos)) << pos;
  EXPECT_EQ(DesiredTint_type(t, 1.0f), 0x000000FFu);
  // start, half, end, pos, opacity; NaN counts as fully transparent
  const double cases[][5] = {
      {1, 1, 1, 1, 255},     {1, 1, 1, 0.75, 255}, {1, 1, 1, 0.5, 255}, {1, 1, 1, 0.01, 255},
      {1, 0.5, 0, 0.75, 191}, {1, 0.5, 0, 0.5, 127}, {0.999, 1, 1, 1, 254}, {2, 1, 1, 1, 510},
      {-1, 1, 1, 1, 0}, {1e30, 1, 1, 1, 4294967295.0}, {std::nan(""), 1, 1, 1, 0}};
  for (const auto& c : cases) {
    std::tie(t.startalpha, t.halfalpha, t.endalpha) = std::tuple(c[0], c[1], c[2]);
    EXPECT_EQ(DesiredAlpha(t, float(c[3])), uint32_t(c[4])) << c[0] << " " << c[3];
  }
}

// Sizes scale by the shape and the type, positions wrap in 16 bits, and a
// wiggling type always scales, its angles in 16-degree steps.
TEST(RenderPlan, DrawnSizeAndPosition) {
  TypeParams t = default_type(0x00FFFFFF);
  t.size_xscale = 1.5f;
  Particle p = newborn(2, 0);
  std::tie(p.x, p.y) = std::pair(10.7f, -3.2f);
  RenderPlan plan = plan_render(p, t, 10, 6, 5, 0);
  EXPECT_EQ(std::tuple(plan.kind, plan.w, plan.h, plan.x, plan.y),
            std::tuple(RenderCase::scaled, 30, 12, int16_t(15), int16_t(-3)));
  EXPECT_EQ(std::pair(centred(plan.x, 7), centred(plan.x, 30)), std::pair(int16_t(12), int16_t(0)));
  p.x = 10;
  EXPECT_EQ(plan_render(p, t, 10, 6, 32760, 0).x, -32766);
  EXPECT_EQ(plan_render(newborn(0.05f, 0), t, 10, 6, 0, 0).kind, RenderCase::none);  // zero width
  EXPECT_EQ(plan_render(newborn(1e20f, 0), t, 10, 6, 0, 0).kind, RenderCase::none);  // too big
  t.size_xscale = 1;
  t.size_wiggle = 0.1f;
  for (auto [angle, key] : {std::pair{359.9f, 352}, {-5.0f, 4080}, {123.4f, 112}}) {
    const RenderPlan q = plan_render(newborn(1, angle), t, 10, 6, 0, 0);
    EXPECT_EQ(std::tuple(q.kind, q.w, q.angle), std::tuple(RenderCase::scaled, 10, key));
  }
}
