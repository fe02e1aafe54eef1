#include <SDL.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "korvel/pixels/gradient.h"
#include "korvel/pixels/kernels.h"
#include "testutil.h"

using namespace korvel::pixels;
using testutil::mix256;
using testutil::Picture;
using testutil::PinnedIsa;

namespace {

struct Format {  // an SDL pixel format without a video subsystem
  explicit Format(Uint32 f) : fmt(SDL_AllocFormat(f)) {}
  ~Format() { SDL_FreeFormat(fmt); }
  SDL_PixelFormat* fmt;
};

uint32_t scaled(uint32_t p, uint32_t f) { return mix256(p, 0, f); }

}  // namespace

TEST(Gradient, TruncationStepsAndSkips) {
  EXPECT_EQ(trunc_i32(2147483647.9), 2147483647);
  EXPECT_EQ(trunc_i32(-2147483648.9), INT32_MIN);
  EXPECT_EQ(trunc_i32(-1.9), -1);
  for (double wild : {2147483648.0, -1e300, std::numeric_limits<double>::infinity(),
                      std::numeric_limits<double>::quiet_NaN()})
    EXPECT_EQ(trunc_i32(wild), INT32_MIN) << wild;
  const float step = gradient_step(4);  // four rows step by a quarter
  std::vector<uint32_t> ts;
  for (float g = 1.0f; ts.size() < 4; g -= step) ts.push_back(gradient_weight(g));
  EXPECT_EQ(ts, (std::vector<uint32_t>{255, 191, 127, 63}));
  EXPECT_EQ(gradient_skip(1.0f, step, 2), 0.5f);
  // skipping stops when a step no longer counts: 2^40 rows leave 1.0 unchanged
  EXPECT_EQ(gradient_skip(1.0f, gradient_step(1099511627776.0), int64_t(1) << 40), 1.0f);
  EXPECT_EQ(gradient_skip(1.0f, std::numeric_limits<float>::infinity(), int64_t(1) << 40),
            -std::numeric_limits<float>::infinity());
}

TEST(Gradient, RowColourWeightsTopAndBottom) {
  Format f(SDL_PIXELFORMAT_RGB888);
  std::mt19937 rng(3);
  for (int i = 0; i < 200; ++i) {
    const uint32_t top = rng() & 0xFFFFFF, bottom = rng() & 0xFFFFFF;
    for (float g : {1.0f, 0.75f, 0.5f, 0.01f, 0.0f}) {
      const uint32_t c = mix256(top, bottom, uint32_t(g * 255.0f));
      const uint32_t xrgb = (c >> 16) | (c & 0xFF00) | ((c & 0xFF) << 16);
      EXPECT_EQ(gradient_pixel(top, bottom, g, f.fmt), xrgb);
    }
  }
}

TEST(Gradient, LayerFactors) {
  struct Case {
    const char* name;
    LayerFactors got;
    std::vector<uint32_t> layers;
    uint32_t dest;
  };
  const Case cases[] = {
      {"v 255", factors_v(255), {255}, 0},
      {"v 0x1FF keeps the low byte", factors_v(0x1FF), {255}, 0},
      {"v -1", factors_v(-1), {255}, 0},
      {"vc half gradient", factors_vc(0.5f, 0.0f), {128, 0}, 128},
      {"vc opaque gradient wraps", factors_vc(1.0f, 0.0f), {0, 0}, 0},
      {"vc opaque constant wraps", factors_vc(0.3f, 1.0f), {0, 0}, 0},
      {"vc quarter each", factors_vc(0.25f, 0.25f), {48, 64}, 144},
      {"vc nothing", factors_vc(0.0f, 0.0f), {0, 0}, 0},  // old pixels: weight 1.0 wraps
      {"vcv bottom only", factors_vcv(1.0f, 0.0f, 0.0f), {255, 0, 0}, 0},
      {"vcv top only", factors_vcv(0.0f, 0.0f, 1.0f), {0, 0, 255}, 0},
      {"vcv halves", factors_vcv(0.5f, 0.5f, 0.5f), {31, 63, 127}, 32},
      {"vcv nothing", factors_vcv(0.0f, 0.0f, 0.0f), {0, 0, 0}, 255},
      {"vcvvc top wraps", factors_vcvvc(0, 0, 0, 0, 1.0f), {0, 0, 0, 0, 0}, 0},
      {"vcvvc bottom half", factors_vcvvc(0.5f, 0, 0, 0, 0), {128, 0, 0, 0, 0}, 128},
      {"vcvvc halves", factors_vcvvc(0.5f, 0.5f, 0.5f, 0.5f, 0.5f), {8, 16, 32, 64, 128}, 8},
      {"vcvvc wild", factors_vcvvc(NAN, 1e30f, 0, 0, 0), {0, 0, 0, 0, 0}, 0},
  };
  for (const Case& c : cases) {
    for (std::size_t i = 0; i < c.layers.size(); ++i)
      EXPECT_EQ(c.got.layer[i], c.layers[i]) << c.name << " layer " << i;
    EXPECT_EQ(c.got.dest, c.dest) << c.name;
  }
}

// Every ISA draws the same bytes as the model, and nothing outside the covered area moves.
TEST(Gradient, LayersMatchTheModelOnEveryIsa) {
  Format f(SDL_PIXELFORMAT_ARGB8888);
  std::mt19937 rng(5);
  const int rects[][4] = {{0, 0, 37, 19}, {3, 2, 500, 500}, {-7, -5, 20, 9}, {5, 4, 5, 9},
                          {2, 6, 30, 6},  {0, 0, 1, 1},     {30, 1, 9, 12},  {1, -40, 36, 3}};
  for (const auto& r : rects)
    for (EdgeCompare cmp : {EdgeCompare::signed_int, EdgeCompare::unsigned_int}) {
      const Picture base(37, 19, 3, rng());
      const GradientLayer layers[] = {{false, rng() & 0xFFFFFF, rng() & 0xFFFFFF, 77},
                                      {true, rng(), 0, 30},
                                      {false, rng(), rng(), 100}};
      const uint32_t dest = 48;
      Picture want = base;
      const int xe = std::min(r[2], base.w - 1), ye = std::min(r[3], base.h - 1);
      const float step = 1.0f / float(r[3] - r[1]);
      float g = 1.0f;
      for (int y = r[1]; y < ye; ++y, g -= step) {
        if (y < 0) continue;
        uint32_t rowcolour = scaled(layers[1].top, 30);
        for (int i : {0, 2}) {
          const uint32_t c = mix256(layers[i].top, layers[i].bottom, uint32_t(int(g * 255.0f)));
          rowcolour += scaled(SDL_MapRGB(f.fmt, c & 0xFF, (c >> 8) & 0xFF, (c >> 16) & 0xFF),
                              layers[i].factor);
        }
        for (int x = std::max(r[0], 0); x < xe; ++x)
          want.at(x, y) = scaled(want.at(x, y), dest) + rowcolour;
      }
      for (Isa isa : available_isas()) {
        PinnedIsa pin(isa);
        Picture got = base;
        draw_gradient_layers(got.view(), f.fmt, r[0], r[1], r[2], r[3], cmp, layers, 3, dest);
        ASSERT_EQ(got.px, want.px) << kernels_for(isa).name << " rect " << r[0] << "," << r[1]
                                   << "," << r[2] << "," << r[3];
      }
    }
}

TEST(Gradient, UnsignedBoundsTreatNegativeAsPastTheEdge) {
  Format f(SDL_PIXELFORMAT_RGB888);
  const Picture base(8, 6, 0, 9);
  const GradientLayer layer{true, 0x00FFFFFF, 0, 255};
  Picture as_signed = base, as_unsigned = base;
  draw_gradient_layers(as_signed.view(), f.fmt, 2, 1, -1, -1, EdgeCompare::signed_int, &layer, 1,
                       0);
  draw_gradient_layers(as_unsigned.view(), f.fmt, 2, 1, -1, -1, EdgeCompare::unsigned_int, &layer,
                       1, 0);
  EXPECT_EQ(as_signed.px, base.px);
  for (int y = 0; y < 6; ++y)
    for (int x = 0; x < 8; ++x) {
      const bool covered = x >= 2 && x < 7 && y >= 1 && y < 5;
      EXPECT_EQ(as_unsigned.at(x, y), covered ? 0x00FEFEFEu : base.at(x, y)) << x << "," << y;
    }
}
