#include <gtest/gtest.h>

#include <vector>

#include "korvel/resources/opacity.h"

using korvel::resources::PixelMasks;
using korvel::resources::rewrite_opacity;

namespace {

std::vector<uint32_t> rewritten(std::vector<uint32_t> words, std::size_t n, int bpp, PixelMasks m,
                                uint32_t a) {
  rewrite_opacity(reinterpret_cast<uint8_t*>(words.data()), n, bpp, m, a);
  return words;
}

}  // namespace

TEST(Opacity, ArgbAlphaComesFromTheWordShiftedDown) {
  const PixelMasks argb{0x00FFFFFF, 0xFF000000};
  // the alpha byte becomes the top byte of (p >> 8) * alpha
  for (uint32_t p : {0xFF102030u, 0x80FFFFFFu, 0x00000000u, 0xFFFFFFFFu, 0x7F00FF00u}) {
    const uint32_t want = (p & 0x00FFFFFF) | (uint32_t(uint64_t(p >> 8) * 128) & 0xFF000000);
    EXPECT_EQ(rewritten({p}, 1, 32, argb, 128)[0], want) << std::hex << p;
  }
  EXPECT_EQ(rewritten({0xFF102030}, 1, 32, argb, 128)[0], 0x7F102030u);
  EXPECT_EQ(rewritten({0xFF102030}, 1, 32, argb, 0)[0], 0x00102030u);
  // every word of the run is rewritten and no more
  EXPECT_EQ(rewritten(std::vector<uint32_t>(9, 0xFF808080), 8, 32, argb, 64),
            (std::vector<uint32_t>{0x3F808080, 0x3F808080, 0x3F808080, 0x3F808080, 0x3F808080,
                                   0x3F808080, 0x3F808080, 0x3F808080, 0xFF808080}));
}

TEST(Opacity, NarrowFormatsScaleTheirAlphaBits) {
  const PixelMasks argb4444{0x0FFF, 0xF000};
  // two 16-bit pixels in one word: only the low one's alpha bits are in the mask
  EXPECT_EQ(rewritten({0xF123F456}, 1, 16, argb4444, 128)[0], 0x00007456u);
  EXPECT_EQ(rewritten({0x0000A000}, 1, 16, argb4444, 255)[0], 0x00009000u);
  EXPECT_EQ(rewritten({0xABCD1234}, 1, 16, PixelMasks{0xFFFF, 0}, 77)[0], 0x00001234u);
}
