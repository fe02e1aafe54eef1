#include <gtest/gtest.h>

#include <vector>

#include "korvel/pixels/blend.h"

namespace {

struct PixelMasks {
  uint32_t colour, alpha;
};

// A cached sprite frame's opacity rewrite: alpha on top from 24 bits on.
std::vector<uint32_t> rewritten(std::vector<uint32_t> words, std::size_t n, int bpp, PixelMasks m,
                                uint32_t a) {
  korvel::pixels::scale_alpha(words.data(), n, m.colour, m.alpha, a, bpp >= 24);
  return words;
}

}  // namespace

// From 24 bits on, the alpha byte becomes the top byte of (p >> 8) * alpha;
// every word of the run is rewritten and no more.
TEST(Opacity, ArgbAlphaComesFromTheWordShiftedDown) {
  const PixelMasks argb{0x00FFFFFF, 0xFF000000};
  const std::vector<uint32_t> words{0xFF102030, 0x80FFFFFF, 0, 0xFFFFFFFF, 0x7F00FF00, 0xFF808080};
  for (uint32_t a : {0u, 64u, 128u, 255u}) {
    auto want = words;
    for (std::size_t i = 0; i + 1 < want.size(); ++i)
      want[i] = (want[i] & 0x00FFFFFF) | (uint32_t(uint64_t(want[i] >> 8) * a) & 0xFF000000);
    EXPECT_EQ(rewritten(words, words.size() - 1, 32, argb, a), want) << a;
  }
}

TEST(Opacity, NarrowFormatsScaleTheirAlphaBits) {
  const PixelMasks argb4444{0x0FFF, 0xF000};
  // two 16-bit pixels in one word: only the low one's alpha bits are in the mask
  EXPECT_EQ(rewritten({0xF123F456}, 1, 16, argb4444, 128)[0], 0x00007456u);
  EXPECT_EQ(rewritten({0x0000A000}, 1, 16, argb4444, 255)[0], 0x00009000u);
  EXPECT_EQ(rewritten({0xABCD1234}, 1, 16, PixelMasks{0xFFFF, 0}, 77)[0], 0x00001234u);
}
