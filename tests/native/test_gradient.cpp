#include <SDL.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "korvel/pixels/gradient.h"
#include "testutil.h"

using namespace korvel::pixels;
using testutil::mix256;
using testutil::Picture;

namespace {

struct Format {  // an SDL pixel format without a video subsystem
  explicit Format(Uint32 f) : fmt(SDL_AllocFormat(f)) {}
  ~Format() { SDL_FreeFormat(fmt); }
  SDL_PixelFormat* fmt;
};

constexpr double kInf = std::numeric_limits<double>::infinity();

}  // namespace

TEST(Gradient, TruncationStepsAndSkips) {
  EXPECT_EQ(trunc_i32(2147483647.9), 2147483647);
  EXPECT_EQ(trunc_i32(-2147483648.9), INT32_MIN);
  EXPECT_EQ(trunc_i32(-1.9), -1);
  for (double wild : {2147483648.0, -1e300, kInf, std::nan("")})
    EXPECT_EQ(trunc_i32(wild), INT32_MIN) << wild;
  // skipping stops when a step no longer counts: 2^40 rows leave 1.0 unchanged
  EXPECT_EQ(gradient_skip(1.0f, 0.25f, 2), 0.5f);
  EXPECT_EQ(gradient_skip(1.0f, gradient_step(1099511627776.0), int64_t(1) << 40), 1.0f);
  EXPECT_EQ(gradient_skip(1.0f, float(kInf), int64_t(1) << 40), -float(kInf));
}

// Every ISA draws the model's bytes, and nothing outside the covered area moves.
TEST(Gradient, LayersMatchTheModelOnEveryIsa) {
  Format f(SDL_PIXELFORMAT_ARGB8888);
  std::mt19937 rng(5);
  const int rects[][4] = {{0, 0, 37, 19}, {3, 2, 500, 500}, {-7, -5, 20, 9}, {5, 4, 5, 9},
                          {2, 6, 30, 6},  {0, 0, 1, 1},     {30, 1, 9, 12},  {1, -40, 36, 3}};
  for (const auto& r : rects)
    for (EdgeCompare cmp : {EdgeCompare::signed_int, EdgeCompare::unsigned_int}) {
      const Picture base(37, 19, 3, rng());
      const auto c = testutil::random_vector<uint32_t>(rng, 5);
      const GradientLayer layers[] = {{false, c[0] & 0xFFFFFF, c[1] & 0xFFFFFF, 77},
                                      {true, c[2], 0, 30},
                                      {false, c[3], c[4], 100}};
      const uint32_t dest = 48;
      Picture want = base;
      const int xe = std::min(r[2], base.w - 1), ye = std::min(r[3], base.h - 1);
      const float step = 1.0f / float(r[3] - r[1]);
      float g = 1.0f;
      for (int y = r[1]; y < ye; ++y, g -= step) {
        if (y < 0) continue;
        uint32_t rowcolour = mix256(layers[1].top, 0, 30);
        for (int i : {0, 2}) {
          const uint32_t c = mix256(layers[i].top, layers[i].bottom, uint32_t(int(g * 255.0f)));
          const uint32_t word = SDL_MapRGB(f.fmt, c & 0xFF, (c >> 8) & 0xFF, (c >> 16) & 0xFF);
          rowcolour += mix256(word, 0, layers[i].factor);
        }
        for (int x = std::max(r[0], 0); x < xe; ++x)
          want.at(x, y) = mix256(want.at(x, y), 0, dest) + rowcolour;
      }
      for (Isa isa : available_isas()) {
        testutil::PinnedIsa pin(isa);
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
  for (auto [pic, cmp] : {std::pair{&as_signed, EdgeCompare::signed_int},
                          std::pair{&as_unsigned, EdgeCompare::unsigned_int}})
    draw_gradient_layers(pic->view(), f.fmt, 2, 1, -1, -1, cmp, &layer, 1, 0);
  EXPECT_EQ(as_signed.px, base.px);
  for (int y = 0; y < 6; ++y)
    for (int x = 0; x < 8; ++x) {
      const bool covered = x >= 2 && x < 7 && y >= 1 && y < 5;
      EXPECT_EQ(as_unsigned.at(x, y), covered ? 0x00FEFEFEu : base.at(x, y)) << x << "," << y;
    }
}
