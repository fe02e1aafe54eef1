// The pixel kernels on a 1280x720 32-bit buffer, once per instruction set
// the processor has, beside a plain copy of the same bytes. Run:
//   build/release/bench/korvel_kernel_bench
#include <benchmark/benchmark.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "korvel/pixels/kernels.h"

using namespace korvel::pixels;

namespace {

constexpr std::size_t kWords = 1280 * 720;
constexpr std::size_t kBytes = kWords * 4;

std::vector<uint8_t> random_bytes(std::size_t n, unsigned seed) {
  std::mt19937 rng(seed);
  std::vector<uint8_t> v(n);
  for (auto& b : v) b = uint8_t(rng());
  return v;
}

void set_bytes(benchmark::State& state) {
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(kBytes));
}

void bm_memcpy(benchmark::State& state) {
  const auto src = random_bytes(kBytes, 1);
  auto dst = random_bytes(kBytes, 2);
  for (auto _ : state) {
    std::memcpy(dst.data(), src.data(), kBytes);
    benchmark::DoNotOptimize(dst.data());
    benchmark::ClobberMemory();
  }
  set_bytes(state);
}

void bm_add(benchmark::State& state, const Kernels* k) {
  const auto src = random_bytes(kBytes, 1);
  auto dst = random_bytes(kBytes, 2);
  for (auto _ : state) {
    k->add_saturate(dst.data(), src.data(), kBytes);
    benchmark::ClobberMemory();
  }
  set_bytes(state);
}

void bm_sub(benchmark::State& state, const Kernels* k) {
  auto dst = random_bytes(kBytes, 2);
  for (auto _ : state) {
    k->sub_saturate(dst.data(), kBytes, 0x01010101);
    benchmark::ClobberMemory();
  }
  set_bytes(state);
}

void bm_tint(benchmark::State& state, const Kernels* k) {
  auto dst = random_bytes(kBytes, 2);
  for (auto _ : state) {
    k->tint(dst.data(), kBytes, 0x00010203);
    benchmark::ClobberMemory();
  }
  set_bytes(state);
}

void bm_alpha(benchmark::State& state, const Kernels* k) {
  auto bytes = random_bytes(kBytes, 2);
  auto* px = reinterpret_cast<uint32_t*>(bytes.data());
  for (auto _ : state) {
    k->scale_alpha(px, kWords, 0x00FFFFFF, 0xFF000000, 255, true);
    benchmark::ClobberMemory();
  }
  set_bytes(state);
}

void bm_fill(benchmark::State& state, const Kernels* k) {
  auto bytes = random_bytes(kBytes, 2);
  auto* px = reinterpret_cast<uint32_t*>(bytes.data());
  for (auto _ : state) {
    k->fill_run(px, kWords, 0x00402010, 127);
    benchmark::ClobberMemory();
  }
  set_bytes(state);
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::RegisterBenchmark("memcpy", bm_memcpy);
  for (Isa isa : available_isas()) {
    const Kernels* k = &kernels_for(isa);
    const std::string n = k->name;
    benchmark::RegisterBenchmark(("add_saturate/" + n).c_str(), bm_add, k);
    benchmark::RegisterBenchmark(("sub_saturate/" + n).c_str(), bm_sub, k);
    benchmark::RegisterBenchmark(("tint/" + n).c_str(), bm_tint, k);
    benchmark::RegisterBenchmark(("scale_alpha/" + n).c_str(), bm_alpha, k);
    benchmark::RegisterBenchmark(("fill_run/" + n).c_str(), bm_fill, k);
  }
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
