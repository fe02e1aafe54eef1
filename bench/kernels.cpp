// Throughput of korvel's Python-free pixel operations on one 1280x720 32-bit
// surface, once per instruction set the processor has, beside a plain copy
// of the same bytes (the bound any one-pass operation can reach).
//
// Bytes per second count the surface's bytes once per operation, so an
// operation at the copy's rate runs at memory speed. bench/run reads the
// JSON output (--benchmark_format=json) for its table.
#include <benchmark/benchmark.h>

#include <cstring>
#include <string>
#include <vector>

#include "korvel/pixels/fill.h"
#include "korvel/pixels/kernels.h"

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
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
