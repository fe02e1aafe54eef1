#include <SDL.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "korvel/pixels/gradient.h"
#include "testutil.h"

using namespace korvel::pixels;
using testutil::mix256;

TEST(Gradient, TruncationStepsAndSkips) {
  constexpr double kInf = std::numeric_limits<double>::infinity();
  EXPECT_EQ(std::tuple(trunc_i32(2147483647.9), trunc_i32(-2147483648.9), trunc_i32(-1.9)),
            std::tuple(2147483647, INT32_MIN, -1));
  for (double wild : {2147483648.0, -1e300, kInf, std::nan("")})
    EXPECT_EQ(trunc_i32(wild), INT32_MIN) << wild;
  // skipping stops when a step no longer counts: 2^40 rows leave 1.0 unchanged
  EXPECT_EQ(gradient_skip(1.0f, 0.25f, 2), 0.5f);
  EXPECT_EQ(gradient_skip(1.0f, gradient_step(1099511627776.0), int64_t(1) << 40), 1.0f);
  EXPECT_EQ(gradient_skip(1.0f, float(kInf), int64_t(1) << 40), -float(kInf));
}

// Every ISA draws the model's bytes, and nothing outside the covered area
// moves. Compared unsigned, a negative right or bottom edge is past the edge.
TEST(Gradient, LayersMatchTheModelOnEveryIsa) {
  SDL_PixelFormat* fmt = SDL_AllocFormat(SDL_PIXELFORMAT_ARGB8888);
  std::mt19937 rng(5);
  const int rects[][4] = {{0, 0, 37, 19}, {3, 2, 500, 500}, {-7, -5, 20, 9}, {5, 4, 5, 9},
                          {2, 6, 30, 6},  {0, 0, 1, 1},     {30, 1, 9, 12},  {1, -40, 36, 3},
                          {2, 1, -1, -1}};
  for (const auto& r : rects)
    for (EdgeCompare cmp : {EdgeCompare::signed_int, EdgeCompare::unsigned_int}) {
      const testutil::Picture base(37, 19, 3, rng());
      const auto c = testutil::random_vector<uint32_t>(rng, 5);
      const GradientLayer layers[] = {{false, c[0] & 0xFFFFFF, c[1] & 0xFFFFFF, 77},
                                      {true, c[2], 0, 30},
                                      {false, c[3], c[4], 100}};
      const uint32_t dest = 48;
      const bool u = cmp == EdgeCompare::unsigned_int;
      testutil::Picture want = base;
      const int xe = (u && r[2] < 0) || r[2] >= base.w ? base.w - 1 : r[2];
      const int ye = (u && r[3] < 0) || r[3] >= base.h ? base.h - 1 : r[3];
      const double span = u ? double(uint32_t(r[3]) - uint32_t(r[1])) : double(r[3] - r[1]);
      const float step = 1.0f / float(span);
      float g = 1.0f;
      for (int y = r[1]; y < ye; ++y, g -= step) {
        if (y < 0) continue;
        uint32_t rowcolour = mix256(layers[1].top, 0, 30);
        for (int i : {0, 2}) {
          const uint32_t c = mix256(layers[i].top, layers[i].bottom, uint32_t(int(g * 255.0f)));
          const uint32_t word = SDL_MapRGB(fmt, c & 0xFF, (c >> 8) & 0xFF, (c >> 16) & 0xFF);
          rowcolour += mix256(word, 0, layers[i].factor);
        }
        for (int x = std::max(r[0], 0); x < xe; ++x)
          want.at(x, y) = mix256(want.at(x, y), 0, dest) + rowcolour;
      }
      for (Isa isa : available_isas()) {
        testutil::PinnedIsa pin(isa);
        testutil::Picture got = base;
        draw_gradient_layers(got.view(), fmt, r[0], r[1], r[2], r[3], cmp, layers, 3, dest);
        ASSERT_EQ(got.px, want.px) << kernels_for(isa).name << " " << u << " rect " << r[0]
                                   << "," << r[1] << "," << r[2] << "," << r[3];
      }
    }
  SDL_FreeFormat(fmt);
}
