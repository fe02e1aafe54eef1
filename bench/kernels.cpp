// Time per pixel of korvel's Python-free pixel operations, once per
// instruction set the processor has, on squares of particle sizes up to a
// whole 1280x720 surface, beside a plain copy of the same bytes at the same
// size (the bound any one-pass operation can reach).
//
// Names are "operation/isa/WxH" and "copy/WxH". At small sizes call and row
// overhead dominate; at 1280x720 memory speed does. bench/run reads the JSON
// output (--benchmark_format=json) for its tables.
#include <SDL.h>
#include <benchmark/benchmark.h>

#include <cstring>
#include <string>
#include <vector>

#include "korvel/pixels/blend.h"
#include "korvel/pixels/fill.h"
#include "korvel/pixels/gradient.h"
#include "korvel/pixels/kernels.h"
#include "korvel/pixels/tint.h"

using namespace korvel::pixels;

namespace {

struct Size {
  int w, h;
};
constexpr Size kSizes[] = {{8, 8}, {16, 16}, {32, 32}, {64, 64}, {256, 256}, {1280, 720}};

// A buffer of w x h varied pixels, 64-byte aligned like SDL's.
struct Buffer {
  Buffer(int w_, int h_) : w(w_), h(h_), words(std::size_t(w_) * h_ + 16) {
    uint32_t x = 0x12345678;
    for (auto& v : words) v = (x = x * 1664525u + 1013904223u);
  }
  uint8_t* bytes() {
    auto p = reinterpret_cast<std::uintptr_t>(words.data());
    return reinterpret_cast<uint8_t*>((p + 63) & ~std::uintptr_t(63));
  }
  std::size_t size() const { return std::size_t(w) * h * 4; }
  PixelView view() { return PixelView{bytes(), w, h, w * 4}; }
  int w, h;
  std::vector<uint32_t> words;
};

// An ARGB surface of varied pixels, as the particle images are.
struct Surface {
  Surface(int w, int h) : s(SDL_CreateRGBSurfaceWithFormat(0, w, h, 32, SDL_PIXELFORMAT_ARGB8888)) {
    Buffer b(s->pitch / 4, h);
    std::memcpy(s->pixels, b.bytes(), b.size());
  }
  ~Surface() { SDL_FreeSurface(s); }
  PixelView view() const { return PixelView{static_cast<uint8_t*>(s->pixels), s->w, s->h, s->pitch}; }
  SDL_Surface* s;
};

void set_bytes(benchmark::State& state, Size z) {
  state.SetBytesProcessed(int64_t(state.iterations()) * z.w * z.h * 4);
}

void BM_copy(benchmark::State& state, Size z) {
  Buffer src(z.w, z.h), dst(z.w, z.h);
  for (auto _ : state) {
    std::memcpy(dst.bytes(), src.bytes(), src.size());
    benchmark::ClobberMemory();
  }
  set_bytes(state, z);
}

void BM_fill_translucent(benchmark::State& state, Isa isa, Size z) {
  g_kernels = &kernels_for(isa);
  // One spare column: the right edge is exclusive and clamped to w - 1, so
  // exactly z.w x z.h pixels are filled.
  Buffer surf(z.w + 1, z.h);
  const PixelView v = surf.view();
  for (auto _ : state) {
    fill_translucent(v, 0, 0, z.w, z.h - 1, 0x00C08040, 128);
    benchmark::ClobberMemory();
  }
  set_bytes(state, z);
}

// The additive blit of a whole image onto another of the same size.
void BM_additive_blit(benchmark::State& state, Isa isa, Size z) {
  g_kernels = &kernels_for(isa);
  Buffer src(z.w, z.h), dst(z.w, z.h);
  for (auto _ : state) {
    additive_blit(src.view(), dst.view(), 0, 0, z.h, z.w * 4);
    benchmark::ClobberMemory();
  }
  set_bytes(state, z);
}

void BM_satusub(benchmark::State& state, Isa isa, Size z) {
  g_kernels = &kernels_for(isa);
  Buffer surf(z.w, z.h);
  for (auto _ : state) {
    satusub(surf.bytes(), surf.size(), 0x03030303);
    benchmark::ClobberMemory();
  }
  set_bytes(state, z);
}

void BM_Tint_Surface(benchmark::State& state, Isa isa, Size z) {
  g_kernels = &kernels_for(isa);
  Surface surf(z.w, z.h);
  for (auto _ : state) {
    Tint_Surface(surf.s, 0x40A0FF);
    benchmark::ClobberMemory();
  }
  set_bytes(state, z);
}

void BM_Translucentify(benchmark::State& state, Isa isa, Size z) {
  g_kernels = &kernels_for(isa);
  Surface surf(z.w, z.h);
  for (auto _ : state) {
    Translucentify(surf.s, 250);
    benchmark::ClobberMemory();
  }
  set_bytes(state, z);
}

// Five stacked layers (three gradients, two constants) in one pass. One
// spare row and column: both far edges are exclusive and pulled back.
void BM_gradients_vcvvc(benchmark::State& state, Isa isa, Size z) {
  g_kernels = &kernels_for(isa);
  Surface surf(z.w + 1, z.h + 1);
  const LayerFactors f = factors_vcvvc(0.8f, 0.25f, 0.5f, 0.4f, 0.125f);
  GradientLayer layers[] = {{false, 0x0000FF, 0xFF0000, f.layer[0]},
                            {true, 0x005000, 0, f.layer[1]},
                            {false, 0x00FF00, 0xFF00FF, f.layer[2]},
                            {false, 0xFF0000, 0x00FFFF, f.layer[3]},
                            {true, 0x5A5A5A, 0, f.layer[4]}};
  const PixelView v = surf.view();
  for (auto _ : state) {
    draw_gradient_layers(v, surf.s->format, 0, 0, z.w, z.h, EdgeCompare::unsigned_int, layers, 5,
                         f.dest);
    benchmark::ClobberMemory();
  }
  set_bytes(state, z);
}

std::string size_name(Size z) { return std::to_string(z.w) + "x" + std::to_string(z.h); }

void register_per_isa(const char* name, void (*fn)(benchmark::State&, Isa, Size)) {
  for (Isa isa : available_isas())
    for (Size z : kSizes) {
      const std::string full = std::string(name) + "/" + kernels_for(isa).name + "/" + size_name(z);
      benchmark::RegisterBenchmark(full.c_str(), fn, isa, z)->Unit(benchmark::kNanosecond);
    }
}

}  // namespace

int main(int argc, char** argv) {
  for (Size z : kSizes)
    benchmark::RegisterBenchmark(("copy/" + size_name(z)).c_str(), BM_copy, z)
        ->Unit(benchmark::kNanosecond);
  register_per_isa("fill_translucent", BM_fill_translucent);
  register_per_isa("additive_blit", BM_additive_blit);
  register_per_isa("satusub", BM_satusub);
  register_per_isa("Tint_Surface", BM_Tint_Surface);
  register_per_isa("Translucentify", BM_Translucentify);
  register_per_isa("fast_draw_gradients_vcvvc", BM_gradients_vcvvc);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
