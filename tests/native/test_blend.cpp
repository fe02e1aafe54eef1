#include <SDL.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

#include "korvel/pixels/blend.h"
#include "korvel/pixels/kernels.h"
#include "korvel/pixels/tint.h"
#include "testutil.h"

using namespace korvel::pixels;
using testutil::PinnedIsa;
using testutil::random_bytes;

namespace {

// Sizes on both sides of every vector width, including 4 mod 8 for the tint tail.
const std::size_t kSizes[] = {0, 1, 3, 4, 5, 7, 8, 9, 10, 12, 15, 16, 17, 20, 28, 31, 32,
                              33, 36, 63, 64, 65, 100, 1027, 1028};

unsigned sat_sub(unsigned a, unsigned b) { return a > b ? a - b : 0; }

// Independent byte models: sub takes val's bytes in memory order; tint too,
// except a tail group of fewer than 8 bytes, which takes them reversed.
std::vector<uint8_t> byte_model(std::vector<uint8_t> d, const std::vector<uint8_t>& s,
                                std::size_t off, std::size_t n, uint32_t val, int op) {
  const std::size_t body = op == 2 ? n / 8 * 8 : n;
  for (std::size_t i = 0; i < n; ++i) {
    const unsigned v = (val >> (8 * (i < body ? i % 4 : 3 - i % 4))) & 0xFF;
    d[off + i] = op == 0 ? uint8_t(std::min(255, d[off + i] + s[off + i]))
                         : uint8_t(sat_sub(d[off + i], v));
  }
  return d;
}

SDL_Surface* surface(uint32_t format, int w, int h, std::mt19937& rng) {
  SDL_Surface* s = SDL_CreateRGBSurfaceWithFormat(0, w, h, 32, format);
  const auto b = random_bytes(rng, std::size_t(s->pitch) * h);
  std::memcpy(s->pixels, b.data(), b.size());
  return s;
}

std::vector<uint32_t> words_of(const SDL_Surface* s) {
  std::vector<uint32_t> v(std::size_t(s->pitch) * s->h / 4);
  std::memcpy(v.data(), s->pixels, v.size() * 4);
  return v;
}

}  // namespace

// Scalar against the byte models, every ISA against scalar, misaligned starts too.
TEST(ByteKernels, EveryIsaMatchesScalarAndTheModel) {
  std::mt19937 rng(7);
  for (std::size_t n : kSizes)
    for (std::size_t off : {0, 1, 3, 4}) {
      const auto d = random_bytes(rng, n + off + 8), s = random_bytes(rng, n + off + 8);
      const uint32_t val = rng();
      auto want = std::vector<std::vector<uint8_t>>{d, d, d};
      add_saturate_scalar(want[0].data() + off, s.data() + off, n);
      sub_saturate_scalar(want[1].data() + off, n, val);
      tint_scalar(want[2].data() + off, n, val);
      for (int op = 0; op < 3; ++op)
        ASSERT_EQ(want[op], byte_model(d, s, off, n, val, op)) << op << " n=" << n;
      for (Isa isa : available_isas()) {
        const Kernels& k = kernels_for(isa);
        auto got = std::vector<std::vector<uint8_t>>{d, d, d};
        k.add_saturate(got[0].data() + off, s.data() + off, n);
        k.sub_saturate(got[1].data() + off, n, val);
        k.tint(got[2].data() + off, n, val);
        ASSERT_EQ(got, want) << k.name << " n=" << n << " off=" << off;
      }
    }
}

// Every (byte, operand) pair through every path: 256 runs of 256 * 4 bytes,
// each byte value once per lane, with the operand in every lane.
TEST(ByteKernels, AllByteOperandPairs) {
  std::vector<uint8_t> base(256 * 4 + 4);
  for (std::size_t i = 0; i < base.size(); ++i) base[i] = uint8_t(i / 4);
  for (unsigned v = 0; v < 256; ++v) {
    const std::vector<uint8_t> operand(base.size(), uint8_t(v));
    for (Isa isa : available_isas()) {
      const Kernels& k = kernels_for(isa);
      auto add = base, sub = base, tint = base;
      k.add_saturate(add.data(), operand.data(), add.size());
      k.sub_saturate(sub.data(), sub.size(), v * 0x01010101u);
      k.tint(tint.data(), tint.size(), v * 0x01010101u);  // 1028 bytes: a 4-byte tail as well
      for (std::size_t i = 0; i < base.size(); ++i) {
        ASSERT_EQ(add[i], std::min(255u, base[i] + v)) << k.name << " " << i << "+" << v;
        ASSERT_EQ(sub[i], sat_sub(base[i], v)) << k.name << " " << i << "-" << v;
        ASSERT_EQ(tint[i], sat_sub(base[i], v)) << k.name << " " << i << "-" << v;
      }
    }
  }
}

TEST(Tint, TailTakesTheSubtractorBytesReversed) {
  std::vector<uint8_t> px(12, 0xFF);  // three pixels: two forward, the last one crossed
  for (Isa isa : available_isas()) {
    auto got = px;
    kernels_for(isa).tint(got.data(), got.size(), 0x40302010);
    EXPECT_EQ(got, (std::vector<uint8_t>{0xEF, 0xDF, 0xCF, 0xBF, 0xEF, 0xDF, 0xCF, 0xBF, 0xBF,
                                         0xCF, 0xDF, 0xEF}))
        << kernels_for(isa).name;
  }
  uint8_t buf[6] = {10, 10, 10, 10, 10, 10};  // satusub repeats val in memory order
  satusub(buf, 6, 0x04030201);
  EXPECT_EQ(std::vector<uint8_t>(buf, buf + 6), (std::vector<uint8_t>{9, 8, 7, 6, 9, 8}));
}

// White changes nothing, black clears colour, blue (0x0000FF) keeps red and alpha.
TEST(TintSurface, ClearsTheComplementKeepingAlpha) {
  std::mt19937 rng(4);
  struct Case { uint32_t fmt, tint, keep; };
  for (const Case c : {Case{SDL_PIXELFORMAT_ARGB8888, 0x0000FF, 0xFFFF0000},
                       Case{SDL_PIXELFORMAT_ARGB8888, 0xFFFFFF, 0xFFFFFFFF},
                       Case{SDL_PIXELFORMAT_ABGR8888, 0xFFFFFF, 0xFFFFFFFF},
                       Case{SDL_PIXELFORMAT_ARGB8888, 0x000000, 0xFF000000},
                       Case{SDL_PIXELFORMAT_ABGR8888, 0x000000, 0xFF000000}}) {
    SDL_Surface* s = surface(c.fmt, 5, 3, rng);
    const auto before = words_of(s);
    Tint_Surface(s, c.tint);
    const auto after = words_of(s);
    for (std::size_t i = 0; i + 1 < after.size(); ++i)  // the crossed last pixel aside
      EXPECT_EQ(after[i], before[i] & c.keep) << std::hex << c.tint << " " << i;
    SDL_FreeSurface(s);
  }
  SDL_PixelFormat* f = SDL_AllocFormat(SDL_PIXELFORMAT_ARGB8888);
  EXPECT_EQ(tint_subtractor(f, 0x0000FF), 0x0000FFFFu);
  SDL_FreeFormat(f);
}

class TranslucentifyFormats : public ::testing::TestWithParam<uint32_t> {};

TEST_P(TranslucentifyFormats, EveryIsaMatchesTheWordModel) {
  std::mt19937 rng(5);
  for (int w : {1, 3, 7, 9, 17})
    for (uint32_t a : {0u, 1u, 128u, 254u, 255u}) {
      SDL_Surface* s = surface(GetParam(), w, 3, rng);
      const auto before = words_of(s);
      const SDL_PixelFormat* f = s->format;
      for (Isa isa : available_isas()) {
        PinnedIsa pin(isa);
        std::memcpy(s->pixels, before.data(), before.size() * 4);
        Translucentify(s, uint8_t(a));
        const auto got = words_of(s);
        for (std::size_t i = 0; i < got.size(); ++i) {
          const uint32_t px = before[i], cm = f->Rmask | f->Gmask | f->Bmask;
          const uint32_t want =
              f->Ashift > 23 ? (px & cm) | (uint32_t(uint64_t(px >> 8) * a) & f->Amask)
                             : (px & cm) | ((uint32_t(uint64_t(px & f->Amask) * a) >> 8) & f->Amask);
          ASSERT_EQ(got[i], want) << kernels_for(isa).name << " w=" << w << " a=" << a;
        }
      }
      SDL_FreeSurface(s);
    }
  SDL_Surface* s = SDL_CreateRGBSurfaceWithFormat(0, 2, 1, 32, SDL_PIXELFORMAT_ARGB8888);
  auto* px = static_cast<uint32_t*>(s->pixels);
  px[0] = 0xFF000000;
  px[1] = 0xFF123456;
  Translucentify(s, 255);
  EXPECT_EQ(px[0], 0xFE000000u);
  Translucentify(s, 0);
  EXPECT_EQ(px[1], 0x00123456u);  // colour kept, alpha cleared
  SDL_FreeSurface(s);
}

INSTANTIATE_TEST_SUITE_P(Formats, TranslucentifyFormats,
                         ::testing::Values(SDL_PIXELFORMAT_ARGB8888, SDL_PIXELFORMAT_ABGR8888,
                                           SDL_PIXELFORMAT_RGBA8888, SDL_PIXELFORMAT_RGB888));

// Random words through the alpha run of every ISA, unusual masks included.
TEST(ScaleAlpha, EveryIsaMatchesScalar) {
  std::mt19937 rng(9);
  for (std::size_t n : {0, 1, 3, 4, 5, 7, 8, 9, 15, 16, 17, 33, 257})
    for (bool top : {true, false}) {
      std::vector<uint32_t> base(n + 1);
      for (auto& w : base) w = rng();
      const uint32_t cm = rng(), am = rng(), a = rng() & 0x1FF;
      auto want = base;
      scale_alpha_scalar(want.data() + 1, n, cm, am, a, top);
      for (Isa isa : available_isas()) {
        auto got = base;
        kernels_for(isa).scale_alpha(got.data() + 1, n, cm, am, a, top);
        ASSERT_EQ(got, want) << kernels_for(isa).name << " n=" << n << " top=" << top;
      }
    }
}

struct ClipCase {
  int16_t x, y;
  bool visible;
  std::ptrdiff_t srcstart, dststart;
  int rows, row_bytes;
  int h = 6;  // image height
};

class AdditiveClip : public ::testing::TestWithParam<ClipCase> {};

// A 10-wide image on a 40x30 screen with a pitch of 200 bytes.
TEST_P(AdditiveClip, PlacesTheImage) {
  const ClipCase c = GetParam();
  const AdditiveSpan s = clip_additive(10, c.h, 40, 30, 200, c.x, c.y);
  ASSERT_EQ(s.visible, c.visible);
  if (!c.visible) return;
  EXPECT_EQ(s.srcstart, c.srcstart);
  EXPECT_EQ(s.dststart, c.dststart);
  EXPECT_EQ(s.rows, c.rows);
  EXPECT_EQ(s.row_bytes, c.row_bytes);
}

INSTANTIATE_TEST_SUITE_P(
    Placements, AdditiveClip,
    ::testing::Values(ClipCase{5, 4, true, 0, 4 * 200 + 20, 6, 40},
                      ClipCase{5, -3, true, 0, 20, 6, 40},             // shifted down to row 0
                      ClipCase{5, 27, true, 0, 27 * 200 + 20, 3, 40},  // cut at the bottom
                      ClipCase{5, 30, false, 0, 0, 0, 0},              // below the screen
                      ClipCase{30, 4, false, 0, 0, 0, 0},              // touches the right edge
                      ClipCase{29, 4, true, 0, 4 * 200 + 116, 6, 40},
                      ClipCase{40, 4, false, 0, 0, 0, 0},
                      ClipCase{-2, 4, true, 8, 4 * 200, 6, 32},  // two columns cut
                      ClipCase{-10, 4, false, 0, 0, 0, 0},       // wholly left
                      ClipCase{-2, -1, true, 8, 0, 6, 32},
                      // guard: a tall image at the top stops at the last row
                      ClipCase{0, -5, true, 0, 0, 30, 40, 50}));

TEST(AdditiveBlit, AddsRowsWithTheirOwnPitches) {
  std::mt19937 rng(12);
  for (Isa isa : available_isas()) {
    PinnedIsa pin(isa);
    auto src = random_bytes(rng, 7 * 52), dst = random_bytes(rng, 9 * 84);
    const auto before = dst;
    PixelView sv{src.data(), 13, 7, 52}, dv{dst.data(), 21, 9, 84};
    additive_blit(sv, dv, 8, 84 * 2 + 12, 5, 36);
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
