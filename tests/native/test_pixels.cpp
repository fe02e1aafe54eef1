// Pixel arithmetic: every kernel path against an independent model or its
// scalar reference, and the drawing entry points' coverage and clipping.
#include <SDL.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <tuple>
#include <limits>
#include <random>
#include <vector>

#include "flip/flip.h"
#include "korvel/pixels/blend.h"
#include "korvel/pixels/colour.h"
#include "korvel/pixels/fill.h"
#include "korvel/pixels/gradient.h"
#include "korvel/pixels/kernels.h"
#include "korvel/pixels/pixel_view.h"
#include "korvel/pixels/rect_color.h"

using namespace korvel::pixels;
using namespace korvel::flip;
using Bytes = std::vector<uint8_t>;
using Words = std::vector<uint32_t>;

namespace {

template <typename T>
std::vector<T> random_vector(std::mt19937& rng, std::size_t n) {
  std::vector<T> v(n);
  for (auto& x : v) x = T(rng());
  return v;
}

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

// The lane-wise weighted mix a * t + b * (256 - t) in 256ths of the low three lanes.
uint32_t mix256(uint32_t a, uint32_t b, uint32_t t) {
  uint32_t c = 0;
  for (int s = 0; s < 24; s += 8)
    c |= ((((a >> s) & 0xFF) * t + ((b >> s) & 0xFF) * (256 - t)) >> 8) << s;
  return c;
}

// Independent byte models: add (op 0) takes s; sub (1) takes val's bytes in
// memory order; tint (2) too, except a tail group of fewer than 8 bytes,
// which takes them reversed.
Bytes byte_model(Bytes d, const Bytes& s, std::size_t off, std::size_t n, uint32_t val, int op) {
  const std::size_t body = op == 2 ? n / 8 * 8 : n;
  for (std::size_t i = off; i < off + n; ++i) {
    const int v = (val >> (8 * (i - off < body ? (i - off) % 4 : 3 - (i - off) % 4))) & 0xFF;
    d[i] = uint8_t(op == 0 ? std::min(255, d[i] + s[i]) : std::max(0, d[i] - v));
  }
  return d;
}

void expect_byte_kernels(const Bytes& d, const Bytes& s, std::size_t off, std::size_t n,
                         uint32_t val) {
  for (int op : {0, 1, 2}) {
    const auto run = [&](const Kernels& k, Bytes& b) {
      op == 0   ? k.add_saturate(&b[off], &s[off], n)
      : op == 1 ? k.sub_saturate(&b[off], n, val)
                : k.tint(&b[off], n, val);
    };
    EXPECT_TRUE(every_isa_gives(d, run, byte_model(d, s, off, n, val, op)))
        << "op " << op << " n " << n << "+" << off;
  }
}

// Words [1, n + 1) with their alpha from the top byte of (p >> 8) * a, or
// their alpha bits scaled in place; colour bits kept.
Words alpha_model(Words p, std::size_t n, uint32_t cm, uint32_t am, uint32_t a, bool top) {
  for (std::size_t i = 1; i <= n; ++i)
    p[i] = (p[i] & cm) | ((top ? (p[i] >> 8) * a : ((p[i] & am) * a) >> 8) & am);
  return p;
}

// The mix of two script colours at weight t as an XRGB word.
uint32_t mix(uint32_t a, uint32_t b, uint32_t t) {
  const uint32_t c = mix256(a, b, t);
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
  const Picture before(20, 15, 2, 17);
  Picture s = before;
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

Rows rows(Picture& p) { return {p.bytes(0), p.stride * 4}; }

}  // namespace

// Independent models, one lane at a time, straight from the lane rules; a
// script colour maps into the format with an opaque alpha.
TEST(LaneArithmetic, MultalphaBlendAndFormatsMatchTheLaneModels) {
  const uint32_t colours[] = {0x00000000, 0x00FFFFFF, 0x00010101, 0x00000100,
                              0x00804020, 0xFF7F7F7F, 0x00FF00FF, 0xAB7F80FF};
  for (uint32_t c : colours) {
    for (int a : {0, 1, 127, 128, 255, 256, 0x1FF})  // the weight's low byte only
      EXPECT_EQ(multalpha(c, a), mix256(c, 0, uint32_t(a) & 0xFF)) << std::hex << c << " " << a;
    for (uint32_t bg : colours)
      for (uint32_t a = 0; a <= 256; ++a)
        ASSERT_EQ(blend(c, bg, a), mix256(c, bg, a)) << std::hex << c << " " << bg << " " << a;
  }
  for (int bm : {0, 1, 2, 127, 128, 129, -1})
    EXPECT_EQ(blend_mode_flatten(bm), bm == 1 || bm == 128);
  SDL_PixelFormat* abgr = SDL_AllocFormat(SDL_PIXELFORMAT_ABGR8888);
  EXPECT_EQ(color_for_format(0x00332211, abgr), 0xFF332211u);
  SDL_FreeFormat(abgr);
}

// Every path against the byte models: lengths on both sides of every vector
// width (4 mod 8 for the tint tail), misaligned starts, and every (byte,
// operand) pair, each byte value once per lane with the operand in every lane.
TEST(ByteKernels, EveryIsaMatchesTheModel) {
  std::mt19937 rng(7);
  for (std::size_t n : {0, 1, 3, 4, 5, 7, 8, 9, 10, 12, 15, 16, 17, 20, 28, 31, 32, 33, 36, 63,
                        64, 65, 100, 1027, 1028})
    for (std::size_t off : {0, 1, 3, 4})
      expect_byte_kernels(random_vector<uint8_t>(rng, n + off + 8),
                          random_vector<uint8_t>(rng, n + off + 8), off, n, rng());
  Bytes base(256 * 4 + 4);
  for (std::size_t i = 0; i < base.size(); ++i) base[i] = uint8_t(i / 4);
  for (unsigned v = 0; v < 256; ++v)
    expect_byte_kernels(base, Bytes(base.size(), uint8_t(v)), 0, base.size(), v * 0x01010101u);
}

// Arbitrary masks, weights on both sides of the 16-bit product the SIMD runs
// use when they can, and a guard word on each side; Translucentify takes the
// masks from the format and puts alpha on top from a shift of 24.
TEST(ScaleAlpha, EveryIsaMatchesTheWordModel) {
  std::mt19937 rng(5);
  for (std::size_t n : {0, 1, 3, 4, 5, 7, 8, 9, 15, 16, 17, 33, 257})
    for (bool top : {true, false})
      for (uint32_t a : {0u, 1u, 128u, 255u, 256u, 0xFFFFu, 0x10000u, uint32_t(rng())}) {
        const uint32_t cm = rng(), am = rng();
        const Words p = random_vector<uint32_t>(rng, n + 2);
        const auto run = [&](const Kernels& k, Words& q) {
          k.scale_alpha(&q[1], n, cm, am, a, top);
        };
        ASSERT_TRUE(every_isa_gives(p, run, alpha_model(p, n, cm, am, a, top)))
            << n << " " << top << " " << a;
      }
  for (uint32_t fmt : {SDL_PIXELFORMAT_ARGB8888, SDL_PIXELFORMAT_RGBA8888, SDL_PIXELFORMAT_RGB888}) {
    SDL_Surface* s = SDL_CreateRGBSurfaceWithFormat(0, 7, 3, 32, fmt);
    Words p = random_vector<uint32_t>(rng, 23);
    std::memcpy(s->pixels, &p[1], 21 * 4);
    Translucentify(s, 160);
    const SDL_PixelFormat* f = s->format;
    p = alpha_model(p, 21, f->Rmask | f->Gmask | f->Bmask, f->Amask, 160, f->Ashift == 24);
    EXPECT_EQ(std::memcmp(s->pixels, &p[1], 21 * 4), 0) << fmt;
    SDL_FreeSurface(s);
  }
}

// A 10-wide image on a 40x30 screen with a pitch of 200 bytes: x, y, h,
// then srcstart, dststart, rows and row bytes. Row 1 stays row 1, rows above
// shift down to row 0, the bottom cuts, touching the right edge hides it,
// negative columns are cut, and (guard) a tall image at the top stops at the
// last row.
TEST(AdditiveClip, PlacesTheImage) {
  const int cases[][7] = {{5, 4, 6, 0, 4 * 200 + 20, 6, 40}, {5, 1, 6, 0, 200 + 20, 6, 40},
                          {5, -3, 6, 0, 20, 6, 40},          {5, 27, 6, 0, 27 * 200 + 20, 3, 40},
                          {30, 4, 6, 0, 0, 0, 0},            {-2, -1, 6, 8, 0, 6, 32},
                          {0, -5, 50, 0, 0, 30, 40}};
  for (const auto& c : cases) {
    const AdditiveSpan s = clip_additive(10, c[2], 40, 30, 200, int16_t(c[0]), int16_t(c[1]));
    ASSERT_EQ(s.visible, c[6] > 0) << c[0] << "," << c[1];
    if (!s.visible) continue;
    EXPECT_EQ(std::vector<std::ptrdiff_t>({s.srcstart, s.dststart, s.rows, s.row_bytes}),
              std::vector<std::ptrdiff_t>(c + 3, c + 7)) << c[0] << "," << c[1];
  }
}

// Rows with their own pitches: 5 rows of 36 bytes from byte 8 of a 52-byte
// pitch onto byte 12 of row 2 of an 84-byte pitch.
TEST(AdditiveBlit, AddsRowsWithTheirOwnPitches) {
  std::mt19937 rng(12);
  auto src = random_vector<uint8_t>(rng, 7 * 52);
  const auto before = random_vector<uint8_t>(rng, 9 * 84);
  auto want = before;
  for (int y = 0; y < 5; ++y)
    for (int x = 0; x < 36; ++x) {
      uint8_t& d = want[std::size_t(y + 2) * 84 + 12 + x];
      d = uint8_t(std::min(255, d + src[std::size_t(y) * 52 + 8 + x]));
    }
  auto dst = before;
  additive_blit({src.data(), 13, 7, 52}, {dst.data(), 21, 9, 84}, 8, 84 * 2 + 12, 5, 36);
  EXPECT_EQ(dst, want);
}

// The SIMD runs fold the shift into a high-half multiply: every weight, every
// length around the vector widths, misaligned starts, and words that cover
// every byte value in every lane.
TEST(FillRun, EveryIsaMatchesScalar) {
  std::mt19937 rng(7);
  auto base = random_vector<uint32_t>(rng, 1031);
  for (uint32_t v = 0; v < 256; ++v) base[v] = v * 0x01010101u;
  for (std::size_t n : {0, 1, 3, 4, 5, 7, 8, 9, 15, 16, 17, 31, 33, 1027})
    for (std::size_t off : {0, 1, 3})
      for (uint32_t na = 0; na < 256; ++na) {
        const uint32_t fg = rng();  // any word: the run adds it as it is
        const auto run = [&](const Kernels& k, auto& p) { k.fill_run(p.data() + off, n, fg, na); };
        ASSERT_TRUE(every_isa_gives(base, run)) << n << "+" << off << " na=" << na;
      }
}

// Covered pixels get the per-channel mix with a zero top byte; every other
// word, row padding and the guard rows included, keeps its bytes.
TEST(Fill, CoversExactlyTheContractArea) {
  // w, h, pad, x1, y1, x2, y2: 11 rows of 10 columns; clamped to the last
  // column w - 2; a negative corner clipped; x1 == x2, y1 > y2 and below the
  // surface draw nothing; 1x1 with its exclusive right edge; an odd width
  // with a padded pitch.
  const int cases[][7] = {{20, 20, 0, 0, 0, 10, 10}, {13, 9, 3, 2, 1, 40, 40},
                          {13, 9, 0, -5, -7, 6, 4},  {13, 9, 0, 6, 3, 6, 8},
                          {13, 9, 0, 1, 5, 9, 2},    {13, 9, 0, 1, 20, 9, 30},
                          {1, 1, 0, 0, 0, 1, 1},     {37, 5, 1, 0, 0, 100, 100}};
  const uint32_t color = 0x00C08040, a = 200;
  for (const auto& [w, h, pad, x1, y1, x2, y2] : cases) {
    const Picture base(w, h, pad, 11);
    Picture got = base;
    fill_translucent(got.view(), x1, y1, x2, y2, color, int(a) + 0x300);
    for (int y = -1; y <= h; ++y)
      for (int x = 0; x < got.stride; ++x) {
        const bool in = x >= std::max(x1, 0) && x < std::min(x2, w - 1) && y >= std::max(y1, 0) &&
                        y <= std::min(y2, h - 1);
        const uint32_t mixed = mix256(base.at(x, y), 0, 255 - a) + mix256(color, 0, a);
        ASSERT_EQ(got.at(x, y), in ? mixed : base.at(x, y)) << x1 << "," << y1 << " " << x << "," << y;
      }
  }
}

TEST(Gradient, TruncationStepsAndSkips) {
  constexpr double kInf = std::numeric_limits<double>::infinity();
  EXPECT_EQ(std::tuple(trunc_i32(2147483647.9), trunc_i32(-2147483648.9), trunc_i32(-1.9)),
            std::tuple(2147483647, INT32_MIN, -1));
  for (double wild : {2147483648.0, -1e300, kInf, std::nan("")})
    EXPECT_EQ(trunc_i32(wild), INT32_MIN) << wild;
  // skipping stops when a step no longer counts: 2^40 rows leave 1.0 unchanged
  EXPECT_EQ(gradient_skip(1.0f, 0.25f, 2), 0.5f);
  EXPECT_EQ(gradient_skip(1.0f, gradient_step(1099511627776.0), int64_t(1) << 40), 1.0f);
  EXPECT_EQ(gradient_skip(1.0f, float(kInf), int64_t(1) << 40), -float(kInf));
}

// The layers' model on the covered area, and nothing outside it moves.
// Compared unsigned, a negative right or bottom edge is past the edge.
TEST(Gradient, LayersMatchTheModel) {
  SDL_PixelFormat* fmt = SDL_AllocFormat(SDL_PIXELFORMAT_ARGB8888);
  std::mt19937 rng(5);
  const int rects[][4] = {{0, 0, 37, 19}, {3, 2, 500, 500}, {-7, -5, 20, 9}, {5, 4, 5, 9},
                          {2, 6, 30, 6},  {0, 0, 1, 1},     {30, 1, 9, 12},  {1, -40, 36, 3},
                          {2, 1, -1, -1}};
  for (const auto& r : rects)
    for (EdgeCompare cmp : {EdgeCompare::signed_int, EdgeCompare::unsigned_int}) {
      const Picture base(37, 19, 3, rng());
      const auto c = random_vector<uint32_t>(rng, 5);
      const GradientLayer layers[] = {{false, c[0] & 0xFFFFFF, c[1] & 0xFFFFFF, 77},
                                      {true, c[2], 0, 30},
                                      {false, c[3], c[4], 100}};
      const uint32_t dest = 48;
      const bool u = cmp == EdgeCompare::unsigned_int;
      Picture want = base;
      const int xe = (u && r[2] < 0) || r[2] >= base.w ? base.w - 1 : r[2];
      const int ye = (u && r[3] < 0) || r[3] >= base.h ? base.h - 1 : r[3];
      const double span = u ? double(uint32_t(r[3]) - uint32_t(r[1])) : double(r[3] - r[1]);
      const float step = 1.0f / float(span);
      float g = 1.0f;
      for (int y = r[1]; y < ye; ++y, g -= step) {
        if (y < 0) continue;
        uint32_t rowcolour = mix256(layers[1].top, 0, 30);
        for (int i : {0, 2}) {
          const uint32_t c = mix256(layers[i].top, layers[i].bottom, uint32_t(int(g * 255.0f)));
          const uint32_t word = SDL_MapRGB(fmt, c & 0xFF, (c >> 8) & 0xFF, (c >> 16) & 0xFF);
          rowcolour += mix256(word, 0, layers[i].factor);
        }
        for (int x = std::max(r[0], 0); x < xe; ++x)
          want.at(x, y) = mix256(want.at(x, y), 0, dest) + rowcolour;
      }
      Picture got = base;
      draw_gradient_layers(got.view(), fmt, r[0], r[1], r[2], r[3], cmp, layers, 3, dest);
      ASSERT_EQ(got.px, want.px) << u << " rect " << r[0] << "," << r[1] << "," << r[2] << ","
                                 << r[3];
    }
  SDL_FreeFormat(fmt);
}

// Opaque fills and outlines, corners given in either order.
TEST(RectColor, OpaqueGradientsAndOutlines) {
  using Want = std::function<void(int x, int y, uint32_t& px)>;
  const std::tuple<CornerColours, bool, Want> cases[] = {
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
      }}};
  for (const auto& [c, outline, want] : cases) {
    expect_drawn({3, 2, 12, 9}, c, 255, outline, want);
    expect_drawn({12, 9, 3, 2}, c, 255, outline, want);
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

// Each flip writes exactly its mapping of the source and leaves every other word.
TEST(Flip, MirrorsAndTurnMatchTheirMappings) {
  for (int w : {1, 2, 3, 8, 17})
    for (int h : {1, 2, 5})
      for (int pad : {0, 3}) {
        Picture src(w, h, pad, 1), dst(w, h, pad + 1, 2);
        const Picture before = dst;
        Picture hd = dst, td = dst;
        mirror_h32(rows(src), rows(hd), w, h);
        turn_shifted32(rows(src), rows(td), w, h);
        for (int y = -1; y <= h; ++y)
          for (int x = 0; x < dst.stride; ++x) {
            const bool in = y >= 0 && y < h && x < w;
            ASSERT_EQ(hd.at(x, y), in ? src.at(w - 1 - x, y) : before.at(x, y)) << w << " " << x;
            // row 0 stays, the source's top row is dropped
            ASSERT_EQ(td.at(x, y), in && y > 0 ? src.at(w - 1 - x, h - y) : before.at(x, y))
                << w << "x" << h << " " << x << "," << y;
          }
      }
  Picture src(6, 7, 2, 3), dst(6, 7, 2, 4), before = dst;
  mirror_v(rows(src), rows(dst), 7, 5 * 4 + 2);  // a byte count that ends inside a word
  for (int k = 0; k < 7; ++k) {
    ASSERT_EQ(std::memcmp(dst.bytes(k), src.bytes(6 - k), 22), 0) << k;
    ASSERT_EQ(std::memcmp(dst.bytes(k) + 22, before.bytes(k) + 22, 10), 0);
  }
  ASSERT_EQ(dst.at(0, 7), before.at(0, 7));
}
