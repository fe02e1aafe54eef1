#include <SDL.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "korvel/pixels/gradient.h"
#include "korvel/pixels/kernels.h"

using namespace korvel::pixels;

namespace {

struct Format {  // an SDL pixel format without a video subsystem
  explicit Format(Uint32 f) : fmt(SDL_AllocFormat(f)) {}
  ~Format() { SDL_FreeFormat(fmt); }
  SDL_PixelFormat* fmt;
};

struct PinnedIsa {
  explicit PinnedIsa(Isa isa) : saved(g_kernels) { g_kernels = &kernels_for(isa); }
  ~PinnedIsa() { g_kernels = saved; }
  const Kernels* saved;
};

// Independent model of a row colour, lane by lane: the top colour weighted
// by t, the bottom one by 256 - t, in 256ths.
uint32_t row_colour_model(uint32_t top, uint32_t bottom, uint32_t t) {
  uint32_t c = 0;
  for (int k = 0; k < 3; ++k) {
    const uint32_t a = (top >> (8 * k)) & 0xFF, b = (bottom >> (8 * k)) & 0xFF;
    c |= ((a * t + b * (256 - t)) >> 8) << (8 * k);
  }
  return c;
}

uint32_t scaled(uint32_t p, uint32_t f) {
  uint32_t r = 0;
  for (int k = 0; k < 3; ++k) r |= ((((p >> (8 * k)) & 0xFF) * f) >> 8) << (8 * k);
  return r;
}

}  // namespace

TEST(Gradient, TruncationIsDefinedEverywhere) {
  EXPECT_EQ(trunc_i32(2147483647.9), 2147483647);
  EXPECT_EQ(trunc_i32(-2147483648.9), INT32_MIN);
  EXPECT_EQ(trunc_i32(-1.9), -1);
  for (double wild : {2147483648.0, -1e300, std::numeric_limits<double>::infinity(),
                      std::numeric_limits<double>::quiet_NaN()})
    EXPECT_EQ(trunc_i32(wild), INT32_MIN) << wild;
}

TEST(Gradient, FourRowsStepByAQuarter) {
  const float step = gradient_step(4);
  float g = 1.0f;
  std::vector<uint32_t> ts;
  for (int i = 0; i < 4; ++i, g -= step) ts.push_back(gradient_weight(g));
  EXPECT_EQ(ts, (std::vector<uint32_t>{255, 191, 127, 63}));
  EXPECT_EQ(gradient_skip(1.0f, step, 2), 0.5f);
}

TEST(Gradient, SkippingStopsWhenAStepNoLongerCounts) {
  // a span of 2^40 rows: the first step already leaves 1.0 unchanged
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
      const uint32_t c = row_colour_model(top, bottom, uint32_t(g * 255.0f));
      const uint32_t xrgb = (c >> 16) | (c & 0xFF00) | ((c & 0xFF) << 16);
      EXPECT_EQ(gradient_pixel(top, bottom, g, f.fmt), xrgb);
    }
  }
}

struct FactorCase {
  const char* name;
  LayerFactors got;
  std::vector<uint32_t> layers;
  uint32_t dest;
};

TEST(Gradient, LayerFactors) {
  const FactorCase cases[] = {
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
  for (const FactorCase& c : cases) {
    for (std::size_t i = 0; i < c.layers.size(); ++i)
      EXPECT_EQ(c.got.layer[i], c.layers[i]) << c.name << " layer " << i;
    EXPECT_EQ(c.got.dest, c.dest) << c.name;
  }
}

struct Picture {
  int w, h, stride;
  std::vector<uint32_t> px;  // one guard row before and after the surface
  PixelView view() { return {reinterpret_cast<uint8_t*>(px.data() + stride), w, h, stride * 4}; }
  uint32_t at(int x, int y) const { return px[std::size_t(y + 1) * stride + x]; }
};

Picture random_picture(std::mt19937& rng, int w, int h, int pad) {
  Picture p{w, h, w + pad, {}};
  p.px.resize(std::size_t(p.stride) * (h + 2));
  for (auto& q : p.px) q = rng();
  return p;
}

struct Rect {
  int x1, y1, x2, y2;
};

// Every ISA draws the same bytes, and nothing outside the covered area moves.
TEST(Gradient, LayersMatchTheModelOnEveryIsa) {
  Format f(SDL_PIXELFORMAT_ARGB8888);
  std::mt19937 rng(5);
  const Rect rects[] = {{0, 0, 37, 19},   {3, 2, 500, 500}, {-7, -5, 20, 9}, {5, 4, 5, 9},
                        {2, 6, 30, 6},   {0, 0, 1, 1},     {30, 1, 9, 12},  {1, -40, 36, 3}};
  for (const Rect& r : rects)
    for (EdgeCompare cmp : {EdgeCompare::signed_int, EdgeCompare::unsigned_int}) {
      const Picture base = random_picture(rng, 37, 19, 3);
      const GradientLayer layers[] = {{false, rng() & 0xFFFFFF, rng() & 0xFFFFFF, 77},
                                      {true, rng(), 0, 30},
                                      {false, rng(), rng(), 100}};
      const uint32_t dest = 48;
      Picture want = base;
      const int xe = std::min(r.x2, base.w - 1), ye = std::min(r.y2, base.h - 1);
      const float step = 1.0f / float(r.y2 - r.y1);
      float g = 1.0f;
      for (int y = r.y1; y < ye; ++y, g -= step) {
        if (y < 0) continue;
        const uint32_t t = uint32_t(int(g * 255.0f));
        uint32_t rowcolour = scaled(layers[1].top, 30);
        for (int i : {0, 2}) {
          const uint32_t c = row_colour_model(layers[i].top, layers[i].bottom, t);
          rowcolour += scaled(SDL_MapRGB(f.fmt, c & 0xFF, (c >> 8) & 0xFF, (c >> 16) & 0xFF),
                              layers[i].factor);
        }
        for (int x = std::max(r.x1, 0); x < xe; ++x) {
          uint32_t& p = want.px[std::size_t(y + 1) * want.stride + x];
          p = scaled(p, dest) + rowcolour;
        }
      }
      for (Isa isa : available_isas()) {
        PinnedIsa pin(isa);
        Picture got = base;
        draw_gradient_layers(got.view(), f.fmt, r.x1, r.y1, r.x2, r.y2, cmp, layers, 3, dest);
        ASSERT_EQ(got.px, want.px) << kernels_for(isa).name << " rect " << r.x1 << "," << r.y1
                                   << "," << r.x2 << "," << r.y2;
      }
    }
}

TEST(Gradient, UnsignedBoundsTreatNegativeAsPastTheEdge) {
  Format f(SDL_PIXELFORMAT_RGB888);
  std::mt19937 rng(9);
  const Picture base = random_picture(rng, 8, 6, 0);
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
