// Innermost pixel runs, one table per instruction set, chosen once at import.
// Every variant gives the same bytes as the scalar reference for any input.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace korvel::pixels {

// p becomes multalpha(p, na) + fg for n pixels.
using FillRunFn = void (*)(uint32_t* p, std::size_t n, uint32_t fg, uint32_t na);
// d[i] becomes min(255, d[i] + s[i]) for n bytes.
using AddRunFn = void (*)(uint8_t* d, const uint8_t* s, std::size_t n);
// d[i] becomes max(0, d[i] - byte (i % 4) of val, counted from the least
// significant) for n bytes: val's bytes repeat in memory order.
using SubRunFn = void (*)(uint8_t* d, std::size_t n, uint32_t val);
// The tint subtraction: as SubRunFn over the first n & ~7 bytes, then the
// remaining bytes in groups of four that take the subtractor's bytes from
// the most significant down.
using TintRunFn = void (*)(uint8_t* d, std::size_t n, uint32_t subtractor);
// Alpha scaling of n words. alpha_on_top: p becomes (p & colormask) |
// (((p >> 8) * a) & alphamask); otherwise (p & colormask) |
// ((((p & alphamask) * a) >> 8) & alphamask). Unsigned 32-bit, wrapping.
using AlphaRunFn = void (*)(uint32_t* p, std::size_t n, uint32_t colormask, uint32_t alphamask,
                            uint32_t a, bool alpha_on_top);

struct Kernels {
  const char* name;
  FillRunFn fill_run;
  AddRunFn add_saturate;
  SubRunFn sub_saturate;
  TintRunFn tint;
  AlphaRunFn scale_alpha;
};

enum class Isa { scalar, sse2, avx2 };

// The instruction sets built in and runnable on this processor, scalar
// first. Only x86 builds have the SSE2 and AVX2 variants.
std::vector<Isa> available_isas();
const Kernels& kernels_for(Isa isa);
// The table the hot paths call through; scalar until select_kernels runs.
extern const Kernels* g_kernels;
// Picks the set named `pin` (KORVEL_ISA), or the best available one when
// `pin` is null or empty. False, with the table unchanged, when `pin` names
// none of available_isas().
bool select_kernels(const char* pin);
// The names of available_isas(), comma-separated, for error messages.
std::string available_isa_names();

// Scalar references.
void fill_run_scalar(uint32_t* p, std::size_t n, uint32_t fg, uint32_t na);
void add_saturate_scalar(uint8_t* d, const uint8_t* s, std::size_t n);
void sub_saturate_scalar(uint8_t* d, std::size_t n, uint32_t val);
void tint_scalar(uint8_t* d, std::size_t n, uint32_t subtractor);
void scale_alpha_scalar(uint32_t* p, std::size_t n, uint32_t colormask, uint32_t alphamask,
                        uint32_t a, bool alpha_on_top);
// Variants, each in its own file compiled for its instruction set.
void fill_run_sse2(uint32_t* p, std::size_t n, uint32_t fg, uint32_t na);
void fill_run_avx2(uint32_t* p, std::size_t n, uint32_t fg, uint32_t na);
void add_saturate_sse2(uint8_t* d, const uint8_t* s, std::size_t n);
void add_saturate_avx2(uint8_t* d, const uint8_t* s, std::size_t n);
void sub_saturate_sse2(uint8_t* d, std::size_t n, uint32_t val);
void sub_saturate_avx2(uint8_t* d, std::size_t n, uint32_t val);
void tint_sse2(uint8_t* d, std::size_t n, uint32_t subtractor);
void tint_avx2(uint8_t* d, std::size_t n, uint32_t subtractor);
void scale_alpha_sse2(uint32_t* p, std::size_t n, uint32_t colormask, uint32_t alphamask,
                      uint32_t a, bool alpha_on_top);
void scale_alpha_avx2(uint32_t* p, std::size_t n, uint32_t colormask, uint32_t alphamask,
                      uint32_t a, bool alpha_on_top);

}  // namespace korvel::pixels
