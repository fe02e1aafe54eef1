#include <SDL.h>
#include <gtest/gtest.h>

#include "korvel/pixels/colour.h"

using namespace korvel::pixels;

namespace {

// Independent model: one lane at a time, straight from the lane rules.
uint32_t lane(uint32_t c, int k) { return (c >> (8 * k)) & 0xFF; }

uint32_t blend_model(uint32_t c, uint32_t bg, uint32_t a) {
  const uint32_t lo = (lane(c, 0) * a + lane(bg, 0) * (256 - a)) >> 8;
  const uint32_t mid = ((lane(c, 1) * 256 * a) >> 8) + ((lane(bg, 1) * 256 * (256 - a)) >> 8);
  const uint32_t hi = (lane(c, 2) * a + lane(bg, 2) * (256 - a)) >> 8;
  return lo + (mid & 0xFF00) + ((hi << 16) & 0xFF0000);
}

}  // namespace

TEST(Multalpha, ScalesEachLane) {
  EXPECT_EQ(multalpha(0x00FFFFFF, 255), 0x00FEFEFEu);
  EXPECT_EQ(multalpha(0xFFFFFFFF, 255), 0x00FEFEFEu);  // top byte dropped
  EXPECT_EQ(multalpha(0x00123456, 256), 0u);            // only the low 8 bits count
  for (uint32_t c : {0x00000000u, 0x00FF0080u, 0x00010203u, 0xAB7F80FFu})
    for (int a : {0, 1, 127, 128, 255})
      EXPECT_EQ(multalpha(c, a), ((lane(c, 0) * a) >> 8) | (((lane(c, 1) * a) >> 8) << 8) |
                                     (((lane(c, 2) * a) >> 8) << 16));
}

TEST(Blend, MatchesLaneModelForAllWeights) {
  const uint32_t colours[] = {0x00000000, 0x00FFFFFF, 0x00010101, 0x00000100,
                              0x00804020, 0xFF7F7F7F, 0x00FF00FF};
  for (uint32_t c : colours)
    for (uint32_t bg : colours)
      for (uint32_t a = 0; a <= 256; ++a) ASSERT_EQ(blend(c, bg, a), blend_model(c, bg, a));
}

TEST(Blend, DocumentedCases) {
  EXPECT_EQ(blend(0xAA123456, 0x00654321, 256), 0x00123456u);
  EXPECT_EQ(blend(0xAA123456, 0xBB654321, 0), 0x00654321u);
  EXPECT_EQ(blend(0x00010101, 0x00000000, 128), 0u);
  EXPECT_EQ(blend(0x00000100, 0x00000100, 128), 0x00000100u);
}

TEST(BlendModeFlatten, OnlyTheAdditiveCodes) {
  EXPECT_EQ(blend_mode_flatten(1), 1);
  EXPECT_EQ(blend_mode_flatten(128), 1);
  for (int bm : {0, 2, 127, 129, -1}) EXPECT_EQ(blend_mode_flatten(bm), 0);
}

TEST(Interpolate, WeightsAndFormats) {
  EXPECT_EQ(interpolate_unformatted(0x00FF0000, 0x000000FF, 1.0f), 0x00FF0000u);
  EXPECT_EQ(interpolate_unformatted(0x00FF0000, 0x000000FF, 0.0f), 0x000000FFu);
  EXPECT_EQ(interpolate_unformatted(0x00FF0000, 0x000000FF, -0.001f), 0x000000FFu);
  SDL_PixelFormat* argb = SDL_AllocFormat(SDL_PIXELFORMAT_ARGB8888);
  SDL_PixelFormat* abgr = SDL_AllocFormat(SDL_PIXELFORMAT_ABGR8888);
  EXPECT_EQ(color_for_format(0x00332211, argb), 0xFF112233u);
  EXPECT_EQ(color_for_format(0x00332211, abgr), 0xFF332211u);
  // pos 1.0 still leaves 1/256 of the end colour: weight 255, not 256.
  const uint32_t a = 0x00FF8040, b = 0x00000000;
  EXPECT_EQ(interpolate_fmt(a, b, 1.0f, abgr), color_for_format(blend(a, b, 255), abgr));
  EXPECT_NE(interpolate_fmt(a, b, 1.0f, abgr), color_for_format(a, abgr));
  SDL_FreeFormat(argb);
  SDL_FreeFormat(abgr);
}
