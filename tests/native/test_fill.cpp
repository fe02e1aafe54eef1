#include <gtest/gtest.h>

#include <algorithm>

#include "korvel/pixels/fill.h"
#include "testutil.h"

using namespace korvel::pixels;
using testutil::Picture;

// The SIMD runs fold the shift into a high-half multiply: every weight, every
// length around the vector widths, misaligned starts, and words that cover
// every byte value in every lane.
TEST(FillRun, EveryIsaMatchesScalar) {
  std::mt19937 rng(7);
  auto base = testutil::random_vector<uint32_t>(rng, 1031);
  for (uint32_t v = 0; v < 256; ++v) base[v] = v * 0x01010101u;
  for (std::size_t n : {0, 1, 3, 4, 5, 7, 8, 9, 15, 16, 17, 31, 33, 1027})
    for (std::size_t off : {0, 1, 3})
      for (uint32_t na = 0; na < 256; ++na) {
        const uint32_t fg = rng();  // any word: the run adds it as it is
        const auto run = [&](const Kernels& k, auto& p) { k.fill_run(p.data() + off, n, fg, na); };
        ASSERT_TRUE(testutil::every_isa_gives(base, run)) << n << "+" << off << " na=" << na;
      }
}

// Covered pixels get the per-channel mix with a zero top byte; every other
// word, row padding and the guard rows included, keeps its bytes.
TEST(Fill, CoversExactlyTheContractArea) {
  // w, h, pad, x1, y1, x2, y2
  const int cases[][7] = {{20, 20, 0, 0, 0, 10, 10},    // 11 rows, 10 columns
                          {13, 9, 3, 2, 1, 40, 40},     // clamped: last column w - 2
                          {13, 9, 0, -5, -7, 6, 4},     // negative corner clipped
                          {13, 9, 0, 6, 3, 6, 8},       // x1 == x2: nothing
                          {13, 9, 0, 1, 5, 9, 2},       // y1 > y2: nothing
                          {13, 9, 0, 1, 20, 9, 30},     // below the surface
                          {1, 1, 0, 0, 0, 1, 1},        // 1x1: exclusive right edge
                          {37, 5, 1, 0, 0, 100, 100}};  // odd width, padded pitch
  const uint32_t color = 0x00C08040, a = 200;
  for (const auto& [w, h, pad, x1, y1, x2, y2] : cases)
    for (Isa isa : available_isas()) {
      testutil::PinnedIsa pin(isa);
      const Picture base(w, h, pad, 11);
      Picture got = base;
      fill_translucent(got.view(), x1, y1, x2, y2, color, int(a) + 0x300);
      for (int y = -1; y <= h; ++y)
        for (int x = 0; x < got.stride; ++x) {
          uint32_t want = base.at(x, y);
          if (x >= std::max(x1, 0) && x < std::min(x2, w - 1) && y >= std::max(y1, 0) &&
              y <= std::min(y2, h - 1)) {
            want = 0;
            for (int k = 0; k < 3; ++k)
              want |= (((testutil::lane(base.at(x, y), k) * (255 - a)) >> 8) +
                       ((testutil::lane(color, k) * a) >> 8)) << (8 * k);
          }
          ASSERT_EQ(got.at(x, y), want) << kernels_for(isa).name << " " << x1 << "," << y1
                                        << " x=" << x << " y=" << y;
        }
    }
}
