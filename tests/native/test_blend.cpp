#include <SDL.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "korvel/pixels/blend.h"
#include "testutil.h"

using namespace korvel::pixels;
using testutil::every_isa_gives;
using testutil::PinnedIsa;

namespace {

using Bytes = std::vector<uint8_t>;

// Independent byte models: add takes s; sub takes val's bytes in memory
// order; tint too, except a tail group of fewer than 8 bytes, which takes
// them reversed.
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
  const auto add = [&](const Kernels& k, Bytes& b) { k.add_saturate(&b[off], &s[off], n); };
  const auto sub = [&](const Kernels& k, Bytes& b) { k.sub_saturate(&b[off], n, val); };
  const auto tint = [&](const Kernels& k, Bytes& b) { k.tint(&b[off], n, val); };
  EXPECT_TRUE(every_isa_gives(d, add, byte_model(d, s, off, n, val, 0))) << n << "+" << off;
  EXPECT_TRUE(every_isa_gives(d, sub, byte_model(d, s, off, n, val, 1))) << n << "+" << off;
  EXPECT_TRUE(every_isa_gives(d, tint, byte_model(d, s, off, n, val, 2))) << n << "+" << off;
}

SDL_Surface* surface(uint32_t format, int w, int h, std::mt19937& rng) {
  SDL_Surface* s = SDL_CreateRGBSurfaceWithFormat(0, w, h, 32, format);
  const auto b = testutil::random_vector<uint8_t>(rng, std::size_t(s->pitch) * h);
  std::memcpy(s->pixels, b.data(), b.size());
  return s;
}

std::vector<uint32_t> words_of(const SDL_Surface* s) {
  std::vector<uint32_t> v(std::size_t(s->pitch) * s->h / 4);
  std::memcpy(v.data(), s->pixels, v.size() * 4);
  return v;
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

// The word model of Translucentify on every ISA and alpha layout, and the
// alpha run against scalar with arbitrary masks.
TEST(Translucentify, EveryIsaMatchesTheWordModel) {
  std::mt19937 rng(5);
  for (uint32_t format : {SDL_PIXELFORMAT_ARGB8888, SDL_PIXELFORMAT_ABGR8888,
                          SDL_PIXELFORMAT_RGBA8888, SDL_PIXELFORMAT_RGB888})
    for (int w : {1, 3, 7, 9, 17})
      for (uint32_t a : {0u, 1u, 128u, 254u, 255u}) {
        SDL_Surface* s = surface(format, w, 3, rng);
        const auto before = words_of(s);
        const SDL_PixelFormat* f = s->format;
        const uint32_t cm = f->Rmask | f->Gmask | f->Bmask;
        for (Isa isa : available_isas()) {
          PinnedIsa pin(isa);
          std::memcpy(s->pixels, before.data(), before.size() * 4);
          Translucentify(s, uint8_t(a));
          const auto got = words_of(s);
          for (std::size_t i = 0; i < got.size(); ++i) {
            const uint32_t px = before[i];
            const uint32_t alpha = f->Ashift > 23 ? uint32_t(uint64_t(px >> 8) * a)
                                                  : uint32_t(uint64_t(px & f->Amask) * a) >> 8;
            ASSERT_EQ(got[i], (px & cm) | (alpha & f->Amask))
                << kernels_for(isa).name << " " << format << " w=" << w << " a=" << a;
          }
        }
        SDL_FreeSurface(s);
      }
  for (std::size_t n : {0, 1, 3, 4, 5, 7, 8, 9, 15, 16, 17, 33, 257})
    for (bool top : {true, false}) {
      // weights past 16 bits too: the SSE2 run multiplies by 16 bits when it can
      const uint32_t cm = rng(), am = rng(), a = n % 2 ? rng() & 0x1FF : rng();
      ASSERT_TRUE(every_isa_gives(testutil::random_vector<uint32_t>(rng, n + 1),
                                  [&](const Kernels& k, std::vector<uint32_t>& p) {
                                    k.scale_alpha(&p[1], n, cm, am, a, top);
                                  }))
          << "n=" << n << " top=" << top;
    }
}

// A 10-wide image on a 40x30 screen with a pitch of 200 bytes.
TEST(AdditiveClip, PlacesTheImage) {
  struct Case {
    int16_t x, y;
    bool visible;
    std::ptrdiff_t srcstart, dststart;
    int rows, row_bytes, h;
  };
  const Case cases[] = {
      {5, 4, true, 0, 4 * 200 + 20, 6, 40, 6},
      {5, -3, true, 0, 20, 6, 40, 6},             // shifted down to row 0
      {5, 27, true, 0, 27 * 200 + 20, 3, 40, 6},  // cut at the bottom
      {30, 4, false, 0, 0, 0, 0, 6},              // touches the right edge
      {-2, -1, true, 8, 0, 6, 32, 6},             // two columns cut
      {0, -5, true, 0, 0, 30, 40, 50}};  // guard: a tall image at the top stops at the last row
  for (const Case& c : cases) {
    const AdditiveSpan s = clip_additive(10, c.h, 40, 30, 200, c.x, c.y);
    ASSERT_EQ(s.visible, c.visible) << c.x << "," << c.y;
    if (!c.visible) continue;
    EXPECT_EQ(std::vector<std::ptrdiff_t>({s.srcstart, s.dststart, s.rows, s.row_bytes}),
              std::vector<std::ptrdiff_t>({c.srcstart, c.dststart, c.rows, c.row_bytes}))
        << c.x << "," << c.y;
  }
}

TEST(AdditiveBlit, AddsRowsWithTheirOwnPitches) {
  std::mt19937 rng(12);
  for (Isa isa : available_isas()) {
    PinnedIsa pin(isa);
    auto src = testutil::random_vector<uint8_t>(rng, 7 * 52);
    auto dst = testutil::random_vector<uint8_t>(rng, 9 * 84);
    const auto before = dst;
    additive_blit({src.data(), 13, 7, 52}, {dst.data(), 21, 9, 84}, 8, 84 * 2 + 12, 5, 36);
    for (int y = 0; y < 9; ++y)
      for (int x = 0; x < 84; ++x) {
        const std::size_t i = std::size_t(y) * 84 + x;
        const bool covered = y >= 2 && y < 7 && x >= 12 && x < 48;
        const unsigned add = covered ? src[std::size_t(y - 2) * 52 + 8 + (x - 12)] : 0;
        ASSERT_EQ(dst[i], std::min(255u, before[i] + add))
            << kernels_for(isa).name << " x=" << x << " y=" << y;
      }
  }
}
