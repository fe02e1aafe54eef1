#include <SDL.h>
#include <gtest/gtest.h>

#include <functional>

#include "korvel/pixels/rect_color.h"
#include "testutil.h"

using namespace korvel::pixels;

namespace {

// A 20 x 15 XRGB surface of noise with row padding and guard rows.
struct Screen : testutil::Picture {
  SDL_PixelFormat* fmt = SDL_AllocFormat(SDL_PIXELFORMAT_RGB888);
  Screen() : Picture(20, 15, 2, 17) {}
  ~Screen() { SDL_FreeFormat(fmt); }
  RectColorOutcome draw(int x1, int y1, int x2, int y2, CornerColours c, int alpha, bool outline) {
    return draw_rectangle_color(view(), fmt, x1, y1, x2, y2, c, alpha, outline);
  }
};

// The mix of two script colours at weight t as an XRGB word.
uint32_t mix(uint32_t a, uint32_t b, uint32_t t) {
  const uint32_t c = testutil::mix256(a, b, t);
  return ((c & 0xFF) << 16) | (c & 0xFF00) | ((c >> 16) & 0xFF);
}

// The weight of step i of a gradient from 1.0 down by 1/span per step.
uint32_t weight(int span, int i) {
  float g = 1.0f;
  while (i-- > 0) g -= 1.0f / float(span);
  return uint32_t(int(g * 255.0f));
}

const CornerColours kVertical{0x0000FF, 0x0000FF, 0xFF8000, 0xFF8000};
const CornerColours kHorizontal{0x102030, 0xF0E0D0, 0x000000, 0x000000};

}  // namespace

// Opaque fills and outlines, corners given in either order: each pixel as
// the gradient's model says, every other word as it was.
TEST(RectColor, OpaqueGradientsAndOutlines) {
  // want(x, y, px) overwrites px where the rectangle covers (x, y)
  using Want = std::function<void(int x, int y, uint32_t& px)>;
  struct Case { CornerColours c; bool outline; Want want; };
  const Case cases[] = {
      {kVertical, false, [](int x, int y, uint32_t& px) {  // rows 2 to 8
         if (x >= 3 && x < 12 && y >= 2 && y < 9)
           px = mix(kVertical.tr, kVertical.bl, weight(7, y - 2));
       }},
      {kHorizontal, false, [](int x, int y, uint32_t& px) {  // rows 2 to 9
         if (x >= 3 && x < 12 && y >= 2 && y <= 9)
           px = mix(kHorizontal.tl, kHorizontal.tr, weight(9, x - 3));
       }},
      {kVertical, true, [](int x, int y, uint32_t& px) {  // sides one column out, from row 3
         if (y >= 3 && y <= 9 && (x == 3 || x == 12))
           px = mix(kVertical.tl, kVertical.bl, weight(7, y - 3));
         else if ((y == 2 || y == 9) && x >= 3 && x < 12)  // top and bottom in their colours
           px = mix(kVertical.tl, kVertical.bl, y == 2 ? 256 : 0);
       }},
  };
  for (const Case& c : cases)
    for (bool swapped : {false, true}) {
      Screen s;
      const testutil::Picture before = s;
      const RectColorOutcome got = swapped ? s.draw(12, 9, 3, 2, c.c, 255, c.outline)
                                           : s.draw(3, 2, 12, 9, c.c, 255, c.outline);
      ASSERT_EQ(got, RectColorOutcome::drawn);
      for (int y = -1; y <= s.h; ++y)
        for (int x = 0; x < s.stride; ++x) {
          uint32_t want = before.at(x, y);
          c.want(x, y, want);
          ASSERT_EQ(s.at(x, y), want) << (&c - cases) << " " << swapped << " " << x << "," << y;
        }
    }
}

// guard: corners far outside the surface write nothing outside its pixels,
// and what lands inside keeps the gradient's place
TEST(RectColor, CornersOutsideTheSurfaceStayInside) {
  const int rects[][4] = {{-30, -40, 200, 300}, {-5, 3, 8, -9}, {25, 2, 40, 9},
                          {2, 20, 9, 40},        {INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX}};
  for (const auto& r : rects)
    for (const CornerColours& c : {kVertical, kHorizontal})
      for (int alpha : {255, 100})
        for (bool outline : {false, true}) {
          Screen s;
          const testutil::Picture before = s;
          s.draw(r[0], r[1], r[2], r[3], c, alpha, outline);
          for (int y = -1; y <= s.h; ++y)  // the guard rows and the row padding
            for (int x = 0; x < s.stride; ++x)
              if (y < 0 || y == s.h || x >= s.w) {
                ASSERT_EQ(s.at(x, y), before.at(x, y));
              }
        }
  Screen s;
  s.draw(-4, -6, 5, 6, kVertical, 255, false);
  EXPECT_EQ(s.at(0, 0), mix(kVertical.tr, kVertical.bl, weight(12, 6)));
}

TEST(RectColor, RectangleAlpha) {
  EXPECT_EQ(rectangle_alpha(1.0f), 255);
  EXPECT_EQ(rectangle_alpha(0.5f), 127);
  EXPECT_EQ(rectangle_alpha(-0.5f), -127);
  EXPECT_EQ(rectangle_alpha(1e30f), INT32_MIN);
}
