#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

#include "flip/flip.h"

using namespace korvel::flip;

namespace {

// A w x h picture of 32-bit words with `pad` spare words after each row.
struct Picture {
  int w, h, stride;
  std::vector<uint32_t> px;
  Picture(int w_, int h_, int pad, uint32_t seed)
      : w(w_), h(h_), stride(w_ + pad), px(std::size_t(stride) * h_) {
    std::mt19937 rng(seed);
    for (auto& p : px) p = rng();
  }
  Rows rows() { return {bytes(0), stride * 4}; }
  uint8_t* bytes(int y) { return reinterpret_cast<uint8_t*>(px.data() + std::size_t(y) * stride); }
  uint32_t at(int x, int y) const { return px[std::size_t(y) * stride + x]; }
};

}  // namespace

TEST(Flip, MirrorH32ReversesEachRow) {
  for (int w : {1, 2, 3, 8, 17})
    for (int pad : {0, 3}) {
      Picture src(w, 5, pad, 1), dst(w, 5, pad + 1, 2);
      const Picture before = dst;
      mirror_h32(src.rows(), dst.rows(), w, 5);
      for (int y = 0; y < 5; ++y)
        for (int x = 0; x < dst.stride; ++x)
          ASSERT_EQ(dst.at(x, y), x < w ? src.at(w - 1 - x, y) : before.at(x, y)) << w << " " << x;
    }
}

TEST(Flip, MirrorVReversesTheRowOrder) {
  Picture src(6, 7, 2, 3), dst(6, 7, 2, 4);
  const Picture before = dst;
  mirror_v(src.rows(), dst.rows(), 7, 5 * 4 + 2);  // a byte count that ends inside a word
  Picture kept = before;
  for (int k = 0; k < 7; ++k) {
    ASSERT_EQ(std::memcmp(dst.bytes(k), src.bytes(6 - k), 22), 0) << k;
    ASSERT_EQ(std::memcmp(dst.bytes(k) + 22, kept.bytes(k) + 22, 10), 0) << k;  // the rest stays
  }
}

TEST(Flip, TurnShiftedLeavesRowZeroAndDropsTheTopRow) {
  for (int h : {1, 2, 5}) {
    Picture src(4, h, 1, 5), dst(4, h, 1, 6);
    const Picture before = dst;
    turn_shifted32(src.rows(), dst.rows(), 4, h);
    for (int x = 0; x < dst.stride; ++x) ASSERT_EQ(dst.at(x, 0), before.at(x, 0));
    for (int k = 1; k < h; ++k)
      for (int x = 0; x < 4; ++x) ASSERT_EQ(dst.at(x, k), src.at(3 - x, h - k)) << h << " " << k;
  }
}
