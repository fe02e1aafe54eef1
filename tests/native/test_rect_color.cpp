#include <SDL.h>
#include <gtest/gtest.h>

#include <vector>

#include "korvel/pixels/rect_color.h"
#include "testutil.h"

using namespace korvel::pixels;
using testutil::Picture;

namespace {

// A 20 x 15 XRGB surface of noise with row padding and guard rows.
struct Screen : Picture {
  SDL_PixelFormat* fmt = SDL_AllocFormat(SDL_PIXELFORMAT_RGB888);
  Screen() : Picture(20, 15, 2, 17) {}
  Screen(const Screen& o) : Picture(o), fmt(SDL_AllocFormat(SDL_PIXELFORMAT_RGB888)) {}
  ~Screen() { SDL_FreeFormat(fmt); }
  RectColorOutcome draw(int x1, int y1, int x2, int y2, CornerColours c, int alpha, bool outline) {
    return draw_rectangle_color(view(), fmt, x1, y1, x2, y2, c, alpha, outline);
  }
};

// Script colour 0x00BBGGRR as an XRGB word.
uint32_t xrgb(uint32_t c) { return ((c & 0xFF) << 16) | (c & 0xFF00) | ((c >> 16) & 0xFF); }

uint32_t mix(uint32_t a, uint32_t b, uint32_t t) { return xrgb(testutil::mix256(a, b, t)); }

// The weight of each of n steps from 1.0 down by 1/span.
std::vector<uint32_t> weights(int span, int n) {
  std::vector<uint32_t> t;
  float g = 1.0f;
  for (int i = 0; i < n; ++i, g -= 1.0f / float(span)) t.push_back(uint32_t(int(g * 255.0f)));
  return t;
}

const CornerColours kVertical{0x0000FF, 0x0000FF, 0xFF8000, 0xFF8000};
const CornerColours kHorizontal{0x102030, 0xF0E0D0, 0x000000, 0x000000};

// Compares every pixel of s with want(x, y, old pixel).
template <typename F>
void expect_pixels(Screen& s, const Screen& before, F want, const char* what) {
  for (int y = 0; y < s.h; ++y)
    for (int x = 0; x < s.w; ++x)
      EXPECT_EQ(s.at(x, y), want(x, y, before.at(x, y))) << what << " " << x << "," << y;
}

}  // namespace

TEST(RectColor, DeclinedCasesDrawNothing) {
  struct Case {
    CornerColours c;
    int alpha;
    bool outline;
    RectColorOutcome want;
  };
  const CornerColours flat{7, 7, 7, 7};
  const Case cases[] = {
      {flat, 255, false, RectColorOutcome::should_fill},
      {flat, 1000, true, RectColorOutcome::should_fill},
      {kVertical, 127, true, RectColorOutcome::translucent_outline},
      {kVertical, 256, false, RectColorOutcome::unsupported},  // neither opaque nor translucent
      {kHorizontal, 127, false, RectColorOutcome::unsupported},
      {kHorizontal, 255, true, RectColorOutcome::unsupported},
  };
  for (const Case& k : cases) {
    Screen s;
    const auto before = s.px;
    EXPECT_EQ(s.draw(2, 3, 9, 8, k.c, k.alpha, k.outline), k.want);
    EXPECT_EQ(s.px, before);
  }
}

TEST(RectColor, FlatTranslucentFillsEvenWhenOutlined) {
  Screen s;
  const Screen before = s;
  ASSERT_EQ(s.draw(9, 8, 2, 3, {0x00406080, 0x00406080, 0x00406080, 0x00406080}, 127, true),
            RectColorOutcome::drawn);
  expect_pixels(s, before, [](int x, int y, uint32_t old) {
    if (!(x >= 2 && x < 9 && y >= 3 && y <= 8)) return old;  // bottom row included
    return testutil::mix256(old, 0, 128) + testutil::mix256(0x00406080u, 0, 127);
  }, "flat");
}

TEST(RectColor, OpaqueVerticalOutlineAndSwappedCorners) {
  for (bool outline : {false, true}) {
    Screen a, b;
    a.draw(0, 0, 10, 10, kVertical, 255, outline);
    b.draw(10, 10, 0, 0, kVertical, 255, outline);
    EXPECT_EQ(a.px, b.px) << outline;
  }
  Screen s;
  const Screen before = s;
  s.draw(0, 0, 10, 10, kVertical, 255, true);
  const auto t = weights(10, 10);  // rows 1 to 10
  expect_pixels(s, before, [&](int x, int y, uint32_t old) {
    if (y >= 1 && y <= 10 && (x == 0 || x == 10)) return mix(kVertical.tl, kVertical.bl, t[y - 1]);
    if (y == 0 && x < 10) return xrgb(kVertical.tl);
    if (y == 10 && x < 10) return xrgb(kVertical.bl);
    return old;
  }, "outline");
}

TEST(RectColor, OpaqueFillsFollowTheirGradients) {
  Screen v, h;
  const Screen before = v;
  v.draw(3, 2, 12, 9, kVertical, 255, false);
  h.draw(3, 2, 12, 9, kHorizontal, 255, false);
  const auto tv = weights(7, 7), th = weights(9, 9);
  expect_pixels(v, before, [&](int x, int y, uint32_t old) {
    return x >= 3 && x < 12 && y >= 2 && y < 9 ? mix(kVertical.tr, kVertical.bl, tv[y - 2]) : old;
  }, "vertical");
  expect_pixels(h, before, [&](int x, int y, uint32_t old) {
    return x >= 3 && x < 12 && y >= 2 && y <= 9 ? mix(kHorizontal.tl, kHorizontal.tr, th[x - 3])
                                                : old;
  }, "horizontal");
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
          const Screen before = s;
          s.draw(r[0], r[1], r[2], r[3], c, alpha, outline);
          // the guard rows and the row padding keep their bytes
          for (int y = -1; y <= s.h; ++y)
            for (int x = 0; x < s.stride; ++x)
              if (y < 0 || y == s.h || x >= s.w) ASSERT_EQ(s.at(x, y), before.at(x, y));
        }
  // the part of a vertical fill below the top edge keeps its rows' colours
  Screen s;
  s.draw(-4, -6, 5, 6, kVertical, 255, false);
  EXPECT_EQ(s.at(0, 0), mix(kVertical.tr, kVertical.bl, weights(12, 7)[6]));
}

TEST(RectColor, RectangleAlpha) {
  EXPECT_EQ(rectangle_alpha(1.0f), 255);
  EXPECT_EQ(rectangle_alpha(0.5f), 127);
  EXPECT_EQ(rectangle_alpha(-0.5f), -127);
  EXPECT_EQ(rectangle_alpha(1e30f), INT32_MIN);
}
