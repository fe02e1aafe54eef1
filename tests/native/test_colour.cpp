#include <SDL.h>
#include <gtest/gtest.h>

#include "korvel/pixels/colour.h"
#include "testutil.h"

using namespace korvel::pixels;
using testutil::lane;

// Independent models, one lane at a time, straight from the lane rules: the
// middle lane of blend truncates each product before the sum.
TEST(LaneArithmetic, MultalphaAndBlendMatchTheLaneModels) {
  const uint32_t colours[] = {0x00000000, 0x00FFFFFF, 0x00010101, 0x00000100,
                              0x00804020, 0xFF7F7F7F, 0x00FF00FF, 0xAB7F80FF};
  for (uint32_t c : colours) {
    for (int a : {0, 1, 127, 128, 255, 256, 0x1FF}) {
      uint32_t want = 0;
      for (int k = 0; k < 3; ++k) want |= ((lane(c, k) * (a & 0xFF)) >> 8) << (8 * k);
      EXPECT_EQ(multalpha(c, a), want) << std::hex << c << " " << a;
    }
    for (uint32_t bg : colours)
      for (uint32_t a = 0; a <= 256; ++a) {
        const uint32_t mid = ((lane(c, 1) * 256 * a) >> 8) + ((lane(bg, 1) * 256 * (256 - a)) >> 8);
        ASSERT_EQ(blend(c, bg, a), (testutil::mix256(c, bg, a) & 0xFF00FF) + (mid & 0xFF00))
            << std::hex << c << " " << bg << " " << a;
      }
  }
  for (int bm : {0, 1, 2, 127, 128, 129, -1}) EXPECT_EQ(blend_mode_flatten(bm), bm == 1 || bm == 128);
}

// pos 1.0 still leaves 1/256 of the end colour: weight 255, not 256.
TEST(Interpolate, WeightsAndFormats) {
  EXPECT_EQ(std::tuple(interpolate_unformatted(0x00FF0000, 0x000000FF, 1.0f),
                       interpolate_unformatted(0x00FF0000, 0x000000FF, 0.0f),
                       interpolate_unformatted(0x00FF0000, 0x000000FF, -0.001f)),
            std::tuple(0x00FF0000u, 0x000000FFu, 0x000000FFu));
  SDL_PixelFormat* argb = SDL_AllocFormat(SDL_PIXELFORMAT_ARGB8888);
  SDL_PixelFormat* abgr = SDL_AllocFormat(SDL_PIXELFORMAT_ABGR8888);
  EXPECT_EQ(std::tuple(color_for_format(0x00332211, argb), color_for_format(0x00332211, abgr)),
            std::tuple(0xFF112233u, 0xFF332211u));
  EXPECT_EQ(interpolate_fmt(0x00FF8040, 0, 1.0f, abgr), color_for_format(0x00FE7F3F, abgr));
  SDL_FreeFormat(argb);
  SDL_FreeFormat(abgr);
}
