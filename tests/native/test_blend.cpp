#include <SDL.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "korvel/pixels/blend.h"
#include "testutil.h"

using namespace korvel::pixels;
using testutil::every_isa_gives;
using Bytes = std::vector<uint8_t>;
using Words = std::vector<uint32_t>;

namespace {

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

}  // namespace

// Every path against the byte models: lengths on both sides of every vector
// width (4 mod 8 for the tint tail), misaligned starts, and every (byte,
// operand) pair, each byte value once per lane with the operand in every lane.
TEST(ByteKernels, EveryIsaMatchesTheModel) {
  std::mt19937 rng(7);
  for (std::size_t n : {0, 1, 3, 4, 5, 7, 8, 9, 10, 12, 15, 16, 17, 20, 28, 31, 32, 33, 36, 63,
                        64, 65, 100, 1027, 1028})
    for (std::size_t off : {0, 1, 3, 4})
      expect_byte_kernels(testutil::random_vector<uint8_t>(rng, n + off + 8),
                          testutil::random_vector<uint8_t>(rng, n + off + 8), off, n, rng());
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
        const Words p = testutil::random_vector<uint32_t>(rng, n + 2);
        const auto run = [&](const Kernels& k, Words& q) {
          k.scale_alpha(&q[1], n, cm, am, a, top);
        };
        ASSERT_TRUE(every_isa_gives(p, run, alpha_model(p, n, cm, am, a, top)))
            << n << " " << top << " " << a;
      }
  for (uint32_t fmt : {SDL_PIXELFORMAT_ARGB8888, SDL_PIXELFORMAT_RGBA8888, SDL_PIXELFORMAT_RGB888})
    for (uint32_t a : {0u, 128u, 255u}) {
      SDL_Surface* s = SDL_CreateRGBSurfaceWithFormat(0, 7, 3, 32, fmt);
      Words p = testutil::random_vector<uint32_t>(rng, 23);
      std::memcpy(s->pixels, &p[1], 21 * 4);
      Translucentify(s, uint8_t(a));
      const SDL_PixelFormat* f = s->format;
      p = alpha_model(p, 21, f->Rmask | f->Gmask | f->Bmask, f->Amask, a, f->Ashift == 24);
      EXPECT_EQ(std::memcmp(s->pixels, &p[1], 21 * 4), 0) << fmt << " " << a;
      SDL_FreeSurface(s);
    }
}

// A 10-wide image on a 40x30 screen with a pitch of 200 bytes.
TEST(AdditiveClip, PlacesTheImage) {
  struct Case {
    int16_t x, y;
    std::ptrdiff_t srcstart, dststart;
    int rows, row_bytes, h;
  };
  const Case cases[] = {
      {5, 4, 0, 4 * 200 + 20, 6, 40, 6},
      {5, 1, 0, 200 + 20, 6, 40, 6},        // row 1 stays row 1
      {5, -3, 0, 20, 6, 40, 6},             // shifted down to row 0
      {5, 27, 0, 27 * 200 + 20, 3, 40, 6},  // cut at the bottom
      {30, 4, 0, 0, 0, 0, 6},               // touches the right edge: not visible
      {-2, -1, 8, 0, 6, 32, 6},             // two columns cut
      {0, -5, 0, 0, 30, 40, 50}};           // guard: a tall image at the top stops at the last row
  for (const Case& c : cases) {
    const AdditiveSpan s = clip_additive(10, c.h, 40, 30, 200, c.x, c.y);
    ASSERT_EQ(s.visible, c.row_bytes > 0) << c.x << "," << c.y;
    if (!s.visible) continue;
    EXPECT_EQ(std::vector<std::ptrdiff_t>({s.srcstart, s.dststart, s.rows, s.row_bytes}),
              std::vector<std::ptrdiff_t>({c.srcstart, c.dststart, c.rows, c.row_bytes}))
        << c.x << "," << c.y;
  }
}

// Rows with their own pitches: 5 rows of 36 bytes from byte 8 of a 52-byte
// pitch onto byte 12 of row 2 of an 84-byte pitch.
TEST(AdditiveBlit, AddsRowsWithTheirOwnPitches) {
  std::mt19937 rng(12);
  auto src = testutil::random_vector<uint8_t>(rng, 7 * 52);
  const auto before = testutil::random_vector<uint8_t>(rng, 9 * 84);
  auto want = before;
  for (int y = 0; y < 5; ++y)
    for (int x = 0; x < 36; ++x) {
      uint8_t& d = want[std::size_t(y + 2) * 84 + 12 + x];
      d = uint8_t(std::min(255, d + src[std::size_t(y) * 52 + 8 + x]));
    }
  for (Isa isa : available_isas()) {
    testutil::PinnedIsa pin(isa);
    auto dst = before;
    additive_blit({src.data(), 13, 7, 52}, {dst.data(), 21, 9, 84}, 8, 84 * 2 + 12, 5, 36);
    ASSERT_EQ(dst, want) << kernels_for(isa).name;
  }
}
