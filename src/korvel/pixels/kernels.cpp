#include "korvel/pixels/kernels.h"

#include <cstdlib>
#include <cstring>

#include "korvel/pixels/colour.h"

namespace korvel::pixels {

void fill_run_scalar(uint32_t* p, std::size_t n, uint32_t fg, uint32_t na) {
  for (std::size_t i = 0; i < n; ++i) p[i] = multalpha(p[i], int(na)) + fg;
}

namespace {

const Kernels kScalar = {"scalar", fill_run_scalar, add_saturate_scalar, sub_saturate_scalar,
                         tint_scalar, scale_alpha_scalar};
const Kernels kSse2 = {"sse2", fill_run_sse2, add_saturate_sse2, sub_saturate_sse2, tint_sse2,
                       scale_alpha_sse2};
const Kernels kAvx2 = {"avx2", fill_run_avx2, add_saturate_avx2, sub_saturate_avx2, tint_avx2,
                       scale_alpha_avx2};

Isa parse_isa(const char* s, Isa fallback) {
  for (Isa isa : available_isas())
    if (std::strcmp(s, kernels_for(isa).name) == 0) return isa;
  return fallback;
}

}  // namespace

const Kernels* g_kernels = &kScalar;

std::vector<Isa> available_isas() {
  std::vector<Isa> isas{Isa::scalar};
  __builtin_cpu_init();
  if (__builtin_cpu_supports("sse2")) isas.push_back(Isa::sse2);
  if (__builtin_cpu_supports("avx2")) isas.push_back(Isa::avx2);
  return isas;
}

const Kernels& kernels_for(Isa isa) {
  switch (isa) {
    case Isa::sse2: return kSse2;
    case Isa::avx2: return kAvx2;
    case Isa::scalar: break;
  }
  return kScalar;
}

void select_kernels() {
  Isa best = available_isas().back();
  if (const char* pin = std::getenv("KORVEL_ISA")) best = parse_isa(pin, best);
  g_kernels = &kernels_for(best);
}

}  // namespace korvel::pixels
