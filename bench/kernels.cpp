// Throughput of korvel's Python-free pixel operations on one 1280x720 32-bit
// surface, once per instruction set the processor has, beside a plain copy
// of the same bytes (the bound any one-pass operation can reach).
//
// Bytes per second count the surface's bytes once per operation, so an
// operation at the copy's rate runs at memory speed. bench/run reads the
// JSON output (--benchmark_format=json) for its table.
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

constexpr int kW = 1280;
constexpr int kH = 720;
constexpr std::size_t kBytes = std::size_t(kW) * kH * 4;

// A surface-sized buffer of varied pixels, 64-byte aligned like SDL's.
struct Buffer {
  Buffer() : words(kBytes / 4 + 16) {
    uint32_t x = 0x12345678;
    for (auto& w : words) w = (x = x * 1664525u + 1013904223u);
  }
  uint8_t* bytes() {
    auto p = reinterpret_cast<std::uintptr_t>(words.data());
    return reinterpret_cast<uint8_t*>((p + 63) & ~std::uintptr_t(63));
  }
  PixelView view() { return PixelView{bytes(), kW, kH, kW * 4}; }
  std::vector<uint32_t> words;
};

// An ARGB surface of varied pixels, as the particle images are.
struct Surface {
  Surface() : s(SDL_CreateRGBSurfaceWithFormat(0, kW, kH, 32, SDL_PIXELFORMAT_ARGB8888)) {
    Buffer b;
    std::memcpy(s->pixels, b.bytes(), kBytes);
  }
  ~Surface() { SDL_FreeSurface(s); }
  SDL_Surface* s;
};

void set_bytes(benchmark::State& state) {
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(kBytes));
}

void BM_copy(benchmark::State& state) {
  Buffer src, dst;
  for (auto _ : state) {
    std::memcpy(dst.bytes(), src.bytes(), kBytes);
    benchmark::ClobberMemory();
  }
  set_bytes(state);
}

void BM_fill_translucent(benchmark::State& state, Isa isa) {
  g_kernels = &kernels_for(isa);
  Buffer surf;
  const PixelView v = surf.view();
  for (auto _ : state) {
    // The whole surface: the right edge is exclusive and clamped to w - 1.
    fill_translucent(v, 0, 0, kW + 1, kH, 0x00C08040, 128);
    benchmark::ClobberMemory();
  }
  set_bytes(state);
}

// The additive blit of a whole surface onto another of the same size.
void BM_additive_blit(benchmark::State& state, Isa isa) {
  g_kernels = &kernels_for(isa);
  Buffer src, dst;
  for (auto _ : state) {
    additive_blit(src.view(), dst.view(), 0, 0, kH, kW * 4);
    benchmark::ClobberMemory();
  }
  set_bytes(state);
}

void BM_satusub(benchmark::State& state, Isa isa) {
  g_kernels = &kernels_for(isa);
  Buffer surf;
  for (auto _ : state) {
    satusub(surf.bytes(), kBytes, 0x03030303);
    benchmark::ClobberMemory();
  }
  set_bytes(state);
}

void BM_Tint_Surface(benchmark::State& state, Isa isa) {
  g_kernels = &kernels_for(isa);
  Surface surf;
  for (auto _ : state) {
    Tint_Surface(surf.s, 0x40A0FF);
    benchmark::ClobberMemory();
  }
  set_bytes(state);
}

void BM_Translucentify(benchmark::State& state, Isa isa) {
  g_kernels = &kernels_for(isa);
  Surface surf;
  for (auto _ : state) {
    Translucentify(surf.s, 250);
    benchmark::ClobberMemory();
  }
  set_bytes(state);
}

// Five stacked layers (three gradients, two constants) in one pass.
void BM_gradients_vcvvc(benchmark::State& state, Isa isa) {
  g_kernels = &kernels_for(isa);
  Surface surf;
  const LayerFactors f = factors_vcvvc(0.8f, 0.25f, 0.5f, 0.4f, 0.125f);
  GradientLayer layers[] = {{false, 0x0000FF, 0xFF0000, f.layer[0]},
                            {true, 0x005000, 0, f.layer[1]},
                            {false, 0x00FF00, 0xFF00FF, f.layer[2]},
                            {false, 0xFF0000, 0x00FFFF, f.layer[3]},
                            {true, 0x5A5A5A, 0, f.layer[4]}};
  const PixelView v{static_cast<uint8_t*>(surf.s->pixels), kW, kH, surf.s->pitch};
  for (auto _ : state) {
    draw_gradient_layers(v, surf.s->format, 0, 0, kW, kH, EdgeCompare::unsigned_int, layers, 5,
                         f.dest);
    benchmark::ClobberMemory();
  }
  set_bytes(state);
}

void register_per_isa(const char* name, void (*fn)(benchmark::State&, Isa)) {
  for (Isa isa : available_isas()) {
    const std::string full = std::string(name) + "/" + kernels_for(isa).name;
    benchmark::RegisterBenchmark(full.c_str(), fn, isa)->Unit(benchmark::kMicrosecond);
  }
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::RegisterBenchmark("copy", BM_copy)->Unit(benchmark::kMicrosecond);
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
