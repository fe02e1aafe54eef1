#include <SDL.h>
#include <gtest/gtest.h>

#include <functional>

#include "korvel/pixels/rect_color.h"
#include "testutil.h"

using namespace korvel::pixels;

namespace {

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

// Draws on a 20 x 15 XRGB picture of noise with row padding and guard rows:
// each pixel as want(x, y, px) says (it overwrites px where the rectangle
// covers (x, y)), or only the guard rows and padding kept when want is empty.
void expect_drawn(const int (&r)[4], const CornerColours& c, int alpha, bool outline,
                  const std::function<void(int, int, uint32_t&)>& want) {
  SDL_PixelFormat* fmt = SDL_AllocFormat(SDL_PIXELFORMAT_RGB888);
  const testutil::Picture before(20, 15, 2, 17);
  testutil::Picture s = before;
  const RectColorOutcome got =
      draw_rectangle_color(s.view(), fmt, r[0], r[1], r[2], r[3], c, alpha, outline);
  SDL_FreeFormat(fmt);
  ASSERT_TRUE(!want || got == RectColorOutcome::drawn);
  for (int y = -1; y <= s.h; ++y)
    for (int x = 0; x < s.stride; ++x) {
      uint32_t px = before.at(x, y);
      if (want) want(x, y, px);
      if (!want && y >= 0 && y < s.h && x < s.w) continue;
      ASSERT_EQ(s.at(x, y), px) << r[0] << "," << r[1] << "," << r[2] << "," << r[3] << " at "
                                << x << "," << y;
    }
}

}  // namespace

// Opaque fills and outlines, corners given in either order.
TEST(RectColor, OpaqueGradientsAndOutlines) {
  using Want = std::function<void(int x, int y, uint32_t& px)>;
  const std::pair<CornerColours, bool> kinds[] = {{kVertical, false}, {kHorizontal, false},
                                                  {kVertical, true}};
  const Want wants[] = {
      [](int x, int y, uint32_t& px) {  // rows 2 to 8
        if (x >= 3 && x < 12 && y >= 2 && y < 9)
          px = mix(kVertical.tr, kVertical.bl, weight(7, y - 2));
      },
      [](int x, int y, uint32_t& px) {  // rows 2 to 9
        if (x >= 3 && x < 12 && y >= 2 && y <= 9)
          px = mix(kHorizontal.tl, kHorizontal.tr, weight(9, x - 3));
      },
      [](int x, int y, uint32_t& px) {  // sides one column out, from row 3
        if (y >= 3 && y <= 9 && (x == 3 || x == 12))
          px = mix(kVertical.tl, kVertical.bl, weight(7, y - 3));
        else if ((y == 2 || y == 9) && x >= 3 && x < 12)  // top and bottom in their colours
          px = mix(kVertical.tl, kVertical.bl, y == 2 ? 256 : 0);
      }};
  for (int i = 0; i < 3; ++i) {
    expect_drawn({3, 2, 12, 9}, kinds[i].first, 255, kinds[i].second, wants[i]);
    expect_drawn({12, 9, 3, 2}, kinds[i].first, 255, kinds[i].second, wants[i]);
  }
  // what lands inside keeps the gradient's place
  expect_drawn({-4, -6, 5, 6}, kVertical, 255, false, [](int x, int y, uint32_t& px) {
    if (x >= 0 && x < 5 && y >= 0 && y < 6) px = mix(kVertical.tr, kVertical.bl, weight(12, y + 6));
  });
}

// guard: corners far outside the surface write nothing outside its pixels
TEST(RectColor, CornersOutsideTheSurfaceStayInside) {
  const int rects[][4] = {{-30, -40, 200, 300}, {-5, 3, 8, -9}, {25, 2, 40, 9},
                          {2, 20, 9, 40},        {INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX}};
  for (const auto& r : rects)
    for (const CornerColours& c : {kVertical, kHorizontal})
      for (int alpha : {255, 100})
        for (bool outline : {false, true}) expect_drawn(r, c, alpha, outline, nullptr);
  EXPECT_EQ(std::tuple(rectangle_alpha(1.0f), rectangle_alpha(0.5f), rectangle_alpha(-0.5f),
                       rectangle_alpha(1e30f)),
            std::tuple(255, 127, -127, INT32_MIN));
}
