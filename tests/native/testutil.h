// Helpers shared by the GoogleTest files.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <vector>

#include "korvel/pixels/kernels.h"
#include "korvel/pixels/pixel_view.h"

namespace testutil {

using namespace korvel::pixels;

template <typename T>
std::vector<T> random_vector(std::mt19937& rng, std::size_t n) {
  std::vector<T> v(n);
  for (auto& x : v) x = T(rng());
  return v;
}

// Restores the kernel table a test pinned.
struct PinnedIsa {
  explicit PinnedIsa(Isa isa) : saved(g_kernels) { g_kernels = &kernels_for(isa); }
  ~PinnedIsa() { g_kernels = saved; }
  const Kernels* saved;
};

// run(kernels, buffer) on a copy of base, for every ISA: each must give
// `want`, or the scalar reference's bytes when `want` is empty.
template <typename T, typename Run>
::testing::AssertionResult every_isa_gives(const std::vector<T>& base, Run run,
                                           std::vector<T> want = {}) {
  if (want.empty()) run(kernels_for(Isa::scalar), want = base);
  for (Isa isa : available_isas()) {
    auto got = base;
    run(kernels_for(isa), got);
    if (got != want) return ::testing::AssertionFailure() << kernels_for(isa).name << " differs";
  }
  return ::testing::AssertionSuccess();
}

// A w x h picture of random 32-bit words with `pad` spare words after each
// row and one guard row above and below, so stray writes show.
struct Picture {
  int w, h, stride;
  std::vector<uint32_t> px;
  Picture(int w_, int h_, int pad, uint32_t seed)
      : w(w_), h(h_), stride(w_ + pad), px(std::size_t(stride) * (h_ + 2)) {
    std::mt19937 rng(seed);
    for (auto& p : px) p = rng();
  }
  uint8_t* bytes(int y) { return reinterpret_cast<uint8_t*>(&at(0, y)); }
  uint32_t& at(int x, int y) { return px[std::size_t(y + 1) * stride + x]; }
  uint32_t at(int x, int y) const { return px[std::size_t(y + 1) * stride + x]; }
  PixelView view() { return {bytes(0), w, h, stride * 4}; }
};

// Lane k of a word, and a lane-wise weighted mix a * t + b * (256 - t) in 256ths.
inline uint32_t lane(uint32_t w, int k) { return (w >> (8 * k)) & 0xFF; }
inline uint32_t mix256(uint32_t a, uint32_t b, uint32_t t) {
  uint32_t c = 0;
  for (int k = 0; k < 3; ++k) c |= ((lane(a, k) * t + lane(b, k) * (256 - t)) >> 8) << (8 * k);
  return c;
}

}  // namespace testutil
