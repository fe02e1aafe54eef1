// Innermost pixel runs, one table per instruction set, chosen once at import.
// Every variant gives the same bytes as the scalar reference for any input.
#pragma once
#include <cstddef>
#include <cstdint>
#include <vector>

namespace korvel::pixels {

// p becomes multalpha(p, na) + fg for n pixels.
using FillRunFn = void (*)(uint32_t* p, std::size_t n, uint32_t fg, uint32_t na);

struct Kernels {
  const char* name;
  FillRunFn fill_run;
};

enum class Isa { scalar, sse2, avx2 };

// The instruction sets this processor can run, scalar first.
std::vector<Isa> available_isas();
const Kernels& kernels_for(Isa isa);
// The table the hot paths call through; scalar until select_kernels runs.
extern const Kernels* g_kernels;
// Picks the best available set; KORVEL_ISA=scalar|sse2|avx2 pins one (an
// unavailable choice falls back to the best available).
void select_kernels();

// Scalar references.
void fill_run_scalar(uint32_t* p, std::size_t n, uint32_t fg, uint32_t na);
// Variants, each in its own file compiled for its instruction set.
void fill_run_sse2(uint32_t* p, std::size_t n, uint32_t fg, uint32_t na);
void fill_run_avx2(uint32_t* p, std::size_t n, uint32_t fg, uint32_t na);

}  // namespace korvel::pixels
