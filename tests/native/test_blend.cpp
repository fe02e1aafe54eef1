#include <SDL.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

#include "korvel/pixels/blend.h"
#include "korvel/pixels/kernels.h"
#include "korvel/pixels/tint.h"

using namespace korvel::pixels;

namespace {

std::vector<uint8_t> random_bytes(std::mt19937& rng, std::size_t n) {
  std::vector<uint8_t> v(n);
  for (auto& b : v) b = uint8_t(rng());
  return v;
}

// Restores the kernel table a test pinned.
struct PinnedIsa {
  explicit PinnedIsa(Isa isa) : saved(g_kernels) { g_kernels = &kernels_for(isa); }
  ~PinnedIsa() { g_kernels = saved; }
  const Kernels* saved;
};

// Sizes on both sides of every vector width, including 4 mod 8 for the tint tail.
const std::size_t kSizes[] = {0, 1, 3, 4, 5, 7, 8, 9, 12, 15, 16, 17, 20, 28, 31, 32,
                              33, 36, 63, 64, 65, 100, 1027, 1028};

unsigned sat_sub(unsigned a, unsigned b) { return a > b ? a - b : 0; }

// Independent models, one byte at a time.
uint8_t sub_model(const uint8_t* val4, std::size_t i) { return val4[i % 4]; }

std::vector<uint8_t> tint_model(std::vector<uint8_t> d, std::size_t off, std::size_t n,
                                uint32_t sub) {
  const uint8_t fwd[4] = {uint8_t(sub), uint8_t(sub >> 8), uint8_t(sub >> 16), uint8_t(sub >> 24)};
  const std::size_t body = n / 8 * 8;
  for (std::size_t i = 0; i < n; ++i) {
    const uint8_t s = i < body ? fwd[i % 4] : fwd[3 - i % 4];
    d[off + i] = uint8_t(sat_sub(d[off + i], s));
  }
  return d;
}

}  // namespace

TEST(ByteKernels, ScalarMatchesTheByteModels) {
  std::mt19937 rng(1);
  const uint32_t val = 0x80FF0103;
  const uint8_t val4[4] = {0x03, 0x01, 0xFF, 0x80};
  for (std::size_t n : kSizes) {
    const auto a = random_bytes(rng, n), b = random_bytes(rng, n);
    auto add = a, sub = a;
    add_saturate_scalar(add.data(), b.data(), n);
    sub_saturate_scalar(sub.data(), n, val);
    for (std::size_t i = 0; i < n; ++i) {
      ASSERT_EQ(add[i], std::min(255, a[i] + b[i])) << "n=" << n << " i=" << i;
      ASSERT_EQ(sub[i], sat_sub(a[i], sub_model(val4, i))) << "n=" << n << " i=" << i;
    }
    auto tint = a;
    tint_scalar(tint.data(), n, val);
    ASSERT_EQ(tint, tint_model(a, 0, n, val)) << "n=" << n;
  }
}

TEST(ByteKernels, EveryIsaMatchesScalarOnRandomRuns) {
  std::mt19937 rng(7);
  for (std::size_t n : kSizes)
    for (std::size_t off : {0, 1, 3, 4}) {  // misaligned starts too
      const auto d = random_bytes(rng, n + off + 8), s = random_bytes(rng, n + off + 8);
      const uint32_t val = rng();
      auto add_want = d, sub_want = d, tint_want = d;
      add_saturate_scalar(add_want.data() + off, s.data() + off, n);
      sub_saturate_scalar(sub_want.data() + off, n, val);
      tint_scalar(tint_want.data() + off, n, val);
      for (Isa isa : available_isas()) {
        const Kernels& k = kernels_for(isa);
        auto add = d, sub = d, tint = d;
        k.add_saturate(add.data() + off, s.data() + off, n);
        k.sub_saturate(sub.data() + off, n, val);
        k.tint(tint.data() + off, n, val);
        ASSERT_EQ(add, add_want) << k.name << " add n=" << n << " off=" << off;
        ASSERT_EQ(sub, sub_want) << k.name << " sub n=" << n << " off=" << off;
        ASSERT_EQ(tint, tint_want) << k.name << " tint n=" << n << " off=" << off;
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
    const uint32_t val = v * 0x01010101u;
    for (Isa isa : available_isas()) {
      const Kernels& k = kernels_for(isa);
      auto add = base, sub = base, tint = base;
      k.add_saturate(add.data(), operand.data(), add.size());
      k.sub_saturate(sub.data(), sub.size(), val);
      k.tint(tint.data(), tint.size(), val);  // 1028 bytes: a 4-byte tail as well
      for (std::size_t i = 0; i < base.size(); ++i) {
        ASSERT_EQ(add[i], std::min(255u, base[i] + v)) << k.name << " " << i << "+" << v;
        ASSERT_EQ(sub[i], sat_sub(base[i], v)) << k.name << " " << i << "-" << v;
        ASSERT_EQ(tint[i], sat_sub(base[i], v)) << k.name << " " << i << "-" << v;
      }
    }
  }
}

TEST(Tint, TailTakesTheSubtractorBytesReversed) {
  // Three pixels: the first two forward, the last one crossed.
  std::vector<uint8_t> px(12, 0xFF);
  const uint32_t sub = 0x40302010;
  for (Isa isa : available_isas()) {
    auto got = px;
    kernels_for(isa).tint(got.data(), got.size(), sub);
    EXPECT_EQ(got, (std::vector<uint8_t>{0xEF, 0xDF, 0xCF, 0xBF, 0xEF, 0xDF, 0xCF, 0xBF, 0xBF,
                                         0xCF, 0xDF, 0xEF}))
        << kernels_for(isa).name;
  }
}

TEST(Tint, PartialTailGroupStopsAtTheEnd) {
  std::vector<uint8_t> px(8 + 2 + 1, 0xFF);
  tint_scalar(px.data(), 10, 0x40302010);  // the last byte lies outside the run
  EXPECT_EQ(px[8], 0xBF);
  EXPECT_EQ(px[9], 0xCF);
  EXPECT_EQ(px[10], 0xFF);
}

namespace {

SDL_Surface* surface(uint32_t format, int w, int h, std::mt19937& rng) {
  SDL_Surface* s = SDL_CreateRGBSurfaceWithFormat(0, w, h, 32, format);
  auto* p = static_cast<uint8_t*>(s->pixels);
  for (int i = 0; i < s->pitch * h; ++i) p[i] = uint8_t(rng());
  return s;
}

std::vector<uint8_t> bytes_of(const SDL_Surface* s) {
  const auto* p = static_cast<const uint8_t*>(s->pixels);
  return std::vector<uint8_t>(p, p + s->pitch * s->h);
}

}  // namespace

TEST(TintSurface, WorkedExampleKeepsRedAndAlpha) {
  std::mt19937 rng(3);
  SDL_Surface* s = surface(SDL_PIXELFORMAT_ARGB8888, 4, 2, rng);
  EXPECT_EQ(tint_subtractor(s->format, 0x0000FF), 0x0000FFFFu);
  const auto before = bytes_of(s);
  Tint_Surface(s, 0x0000FF);
  const auto* after = static_cast<const uint32_t*>(s->pixels);
  for (int i = 0; i < 8; ++i) {
    uint32_t was;
    std::memcpy(&was, before.data() + 4 * i, 4);
    EXPECT_EQ(after[i], was & 0xFFFF0000u);
  }
  SDL_FreeSurface(s);
}

TEST(TintSurface, WhiteChangesNothingAndBlackClearsColour) {
  std::mt19937 rng(4);
  for (uint32_t fmt : {SDL_PIXELFORMAT_ARGB8888, SDL_PIXELFORMAT_ABGR8888}) {
    SDL_Surface* s = surface(fmt, 5, 3, rng);
    const auto before = bytes_of(s);
    Tint_Surface(s, 0xFFFFFF);
    EXPECT_EQ(bytes_of(s), before);
    Tint_Surface(s, 0x000000);
    const auto* after = static_cast<const uint32_t*>(s->pixels);
    for (int i = 0; i < s->pitch * s->h / 4 - 1; ++i) {  // the crossed last pixel aside
      uint32_t was;
      std::memcpy(&was, before.data() + 4 * i, 4);
      EXPECT_EQ(after[i], was & s->format->Amask) << i;
    }
    SDL_FreeSurface(s);
  }
}

namespace {

uint32_t alpha_model(uint32_t px, const SDL_PixelFormat* f, uint32_t a) {
  const uint32_t cm = f->Rmask | f->Gmask | f->Bmask;
  if (f->Ashift > 23) return (px & cm) | ((uint32_t(uint64_t(px >> 8) * a)) & f->Amask);
  return (px & cm) | ((uint32_t(uint64_t(px & f->Amask) * a) >> 8) & f->Amask);
}

}  // namespace

class TranslucentifyFormats : public ::testing::TestWithParam<uint32_t> {};

TEST_P(TranslucentifyFormats, EveryIsaMatchesTheWordModel) {
  std::mt19937 rng(5);
  for (int w : {1, 3, 7, 9, 17})
    for (uint32_t a : {0u, 1u, 128u, 254u, 255u}) {
      SDL_Surface* s = surface(GetParam(), w, 3, rng);
      const auto before = bytes_of(s);
      for (Isa isa : available_isas()) {
        PinnedIsa pin(isa);
        std::memcpy(s->pixels, before.data(), before.size());
        Translucentify(s, uint8_t(a));
        const auto* got = static_cast<const uint32_t*>(s->pixels);
        for (std::size_t i = 0; i < before.size() / 4; ++i) {
          uint32_t was;
          std::memcpy(&was, before.data() + 4 * i, 4);
          ASSERT_EQ(got[i], alpha_model(was, s->format, a))
              << kernels_for(isa).name << " w=" << w << " a=" << a << " i=" << i;
        }
      }
      SDL_FreeSurface(s);
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, TranslucentifyFormats,
                         ::testing::Values(SDL_PIXELFORMAT_ARGB8888, SDL_PIXELFORMAT_ABGR8888,
                                           SDL_PIXELFORMAT_RGBA8888, SDL_PIXELFORMAT_RGB888));

TEST(Translucentify, DocumentedCases) {
  SDL_Surface* s = SDL_CreateRGBSurfaceWithFormat(0, 2, 1, 32, SDL_PIXELFORMAT_ARGB8888);
  auto* px = static_cast<uint32_t*>(s->pixels);
  px[0] = 0xFF000000;
  px[1] = 0xFF123456;
  Translucentify(s, 255);
  EXPECT_EQ(px[0], 0xFE000000u);
  Translucentify(s, 0);
  EXPECT_EQ(px[0], 0x00000000u);
  EXPECT_EQ(px[1], 0x00123456u);  // colour kept, alpha cleared
  SDL_FreeSurface(s);
}

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

TEST(Satusub, RepeatsTheValueInMemoryOrder) {
  uint8_t buf[6] = {10, 10, 10, 10, 10, 10};
  satusub(buf, 6, 0x04030201);
  EXPECT_EQ(std::vector<uint8_t>(buf, buf + 6), (std::vector<uint8_t>{9, 8, 7, 6, 9, 8}));
}

struct ClipCase {
  int16_t x, y;
  bool visible;
  std::ptrdiff_t srcstart, dststart;
  int rows, row_bytes;
};

class AdditiveClip : public ::testing::TestWithParam<ClipCase> {};

// A 10x6 image on a 40x30 screen with a pitch of 200 bytes.
TEST_P(AdditiveClip, PlacesTheImage) {
  const ClipCase c = GetParam();
  const AdditiveSpan s = clip_additive(10, 6, 40, 30, 200, c.x, c.y);
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
                      ClipCase{5, -3, true, 0, 20, 6, 40},      // shifted down to row 0
                      ClipCase{5, 27, true, 0, 27 * 200 + 20, 3, 40},  // cut at the bottom
                      ClipCase{5, 30, false, 0, 0, 0, 0},       // below the screen
                      ClipCase{30, 4, false, 0, 0, 0, 0},       // touches the right edge
                      ClipCase{29, 4, true, 0, 4 * 200 + 116, 6, 40},
                      ClipCase{40, 4, false, 0, 0, 0, 0},
                      ClipCase{-2, 4, true, 8, 4 * 200, 6, 32},  // two columns cut
                      ClipCase{-10, 4, false, 0, 0, 0, 0},       // wholly left
                      ClipCase{-2, -1, true, 8, 0, 6, 32}));

TEST(AdditiveClipGuard, TallImageAtTheTopStopsAtTheLastRow) {
  const AdditiveSpan s = clip_additive(10, 50, 40, 30, 200, 0, -5);
  ASSERT_TRUE(s.visible);
  EXPECT_EQ(s.dststart, 0);
  EXPECT_EQ(s.rows, 30);
}

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
