#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

#include "korvel/pixels/fill.h"
#include "korvel/pixels/kernels.h"

using namespace korvel::pixels;

namespace {

std::vector<uint32_t> random_words(std::mt19937& rng, std::size_t n) {
  std::vector<uint32_t> v(n);
  for (auto& w : v) w = rng();
  return v;
}

// Restores the kernel table a test pinned.
struct PinnedIsa {
  explicit PinnedIsa(Isa isa) : saved(g_kernels) { g_kernels = &kernels_for(isa); }
  ~PinnedIsa() { g_kernels = saved; }
  const Kernels* saved;
};

// Independent per-channel model of one covered pixel.
uint32_t mixed(uint32_t p, uint32_t c, uint32_t a) {
  uint32_t r = 0;
  for (int k = 0; k < 3; ++k) {
    const uint32_t pl = (p >> (8 * k)) & 0xFF, cl = (c >> (8 * k)) & 0xFF;
    r |= (((pl * (255 - a)) >> 8) + ((cl * a) >> 8)) << (8 * k);
  }
  return r;
}

}  // namespace

TEST(FillRun, EveryIsaMatchesScalar) {
  std::mt19937 rng(7);
  for (std::size_t n : {0, 1, 3, 4, 5, 7, 8, 9, 15, 16, 17, 31, 33, 1027})
    for (std::size_t off : {0, 1, 3}) {
      const auto base = random_words(rng, n + off);
      const uint32_t fg = rng();  // any word: the run adds it as it is
      for (uint32_t na : {0u, 1u, 127u, 128u, 254u, 255u}) {
        auto want = base;
        fill_run_scalar(want.data() + off, n, fg, na);
        for (Isa isa : available_isas()) {
          auto got = base;
          kernels_for(isa).fill_run(got.data() + off, n, fg, na);
          ASSERT_EQ(got, want) << kernels_for(isa).name << " n=" << n << " off=" << off
                               << " na=" << na;
        }
      }
    }
}

// The SIMD runs fold the shift into a high-half multiply: every weight, on
// words that cover every byte value in every lane.
TEST(FillRun, EveryWeightMatchesScalar) {
  std::mt19937 rng(13);
  auto base = random_words(rng, 1031);
  for (uint32_t v = 0; v < 256; ++v) base[v] = v * 0x01010101u;
  for (uint32_t na = 0; na < 256; ++na) {
    const uint32_t fg = rng();
    auto want = base;
    fill_run_scalar(want.data(), want.size(), fg, na);
    for (Isa isa : available_isas()) {
      auto got = base;
      kernels_for(isa).fill_run(got.data(), got.size(), fg, na);
      ASSERT_EQ(got, want) << kernels_for(isa).name << " na=" << na;
    }
  }
}

struct FillCase {
  int w, h, pitch_pad, x1, y1, x2, y2;
};

class FillGeometry : public ::testing::TestWithParam<FillCase> {};

// Covered pixels get the per-channel mix with a zero top byte; every other
// pixel, row padding included, keeps its bytes. Every ISA gives the same.
TEST_P(FillGeometry, CoversExactlyTheContractArea) {
  const FillCase fc = GetParam();
  std::mt19937 rng(11);
  const int stride = fc.w + fc.pitch_pad;
  const auto base = random_words(rng, std::size_t(stride) * fc.h + 1);
  const uint32_t color = 0x00C08040, alpha = 200;
  for (Isa isa : available_isas()) {
    PinnedIsa pin(isa);
    auto px = base;
    PixelView v{reinterpret_cast<uint8_t*>(px.data()), fc.w, fc.h, stride * 4};
    fill_translucent(v, fc.x1, fc.y1, fc.x2, fc.y2, color, int(alpha) + 0x300);
    const int xe = std::min(fc.x2, fc.w - 1), ye = std::min(fc.y2, fc.h - 1);
    for (int y = 0; y < fc.h; ++y)
      for (int x = 0; x < stride; ++x) {
        const std::size_t i = std::size_t(y) * stride + x;
        const bool covered = x >= std::max(fc.x1, 0) && x < xe && y >= std::max(fc.y1, 0) &&
                             y <= ye && x < fc.w;
        ASSERT_EQ(px[i], covered ? mixed(base[i], color, alpha) : base[i])
            << kernels_for(isa).name << " x=" << x << " y=" << y;
      }
    ASSERT_EQ(px.back(), base.back());  // nothing past the last row
  }
}

INSTANTIATE_TEST_SUITE_P(
    Rectangles, FillGeometry,
    ::testing::Values(FillCase{20, 20, 0, 0, 0, 10, 10},     // 11 rows, 10 columns
                      FillCase{13, 9, 3, 2, 1, 40, 40},      // clamped: last column w - 2
                      FillCase{13, 9, 0, -5, -7, 6, 4},      // negative corner clipped
                      FillCase{13, 9, 0, 6, 3, 6, 8},        // x1 == x2: nothing
                      FillCase{13, 9, 0, 8, 3, 2, 8},        // x1 > x2: nothing
                      FillCase{13, 9, 0, 1, 5, 9, 2},        // y1 > y2: nothing
                      FillCase{13, 9, 0, 1, 20, 9, 30},      // below the surface
                      FillCase{1, 1, 0, 0, 0, 1, 1},         // 1x1: exclusive right edge
                      FillCase{37, 5, 1, 0, 0, 100, 100}));  // odd width, padded pitch

TEST(Fill, AlphaUsesOnlyTheLowByte) {
  uint32_t px[4 * 4];
  for (auto& p : px) p = 0xFF808080;
  PixelView v{reinterpret_cast<uint8_t*>(px), 4, 4, 16};
  fill_translucent(v, 0, 0, 3, 3, 0x00FFFFFF, 256);  // weight 0: 255/256 of the old
  EXPECT_EQ(px[0], 0x007F7F7Fu);
  EXPECT_EQ(px[3], 0xFF808080u);  // the last column is never reached
}
