#include "korvel/pixels/kernels.h"

#include <cstring>

#include "korvel/pixels/colour.h"

namespace korvel::pixels {

void fill_run_scalar(uint32_t* p, std::size_t n, uint32_t fg, uint32_t na) {
  for (std::size_t i = 0; i < n; ++i) p[i] = multalpha(p[i], int(na)) + fg;
}

// The SSE2 and AVX2 files are compiled on x86 only (meson.build); these
// macros hold exactly there.
#if defined(__x86_64__) || defined(__i386__)
#define KORVEL_X86_KERNELS 1
#endif

namespace {

const Kernels kScalar = {"scalar", fill_run_scalar, add_saturate_scalar, sub_saturate_scalar,
                         tint_scalar, scale_alpha_scalar};
#ifdef KORVEL_X86_KERNELS
const Kernels kSse2 = {"sse2", fill_run_sse2, add_saturate_sse2, sub_saturate_sse2, tint_sse2,
                       scale_alpha_sse2};
const Kernels kAvx2 = {"avx2", fill_run_avx2, add_saturate_avx2, sub_saturate_avx2, tint_avx2,
                       scale_alpha_avx2};
#endif

}  // namespace

const Kernels* g_kernels = &kScalar;

std::vector<Isa> available_isas() {
  std::vector<Isa> isas{Isa::scalar};
#ifdef KORVEL_X86_KERNELS
  __builtin_cpu_init();
  if (__builtin_cpu_supports("sse2")) isas.push_back(Isa::sse2);
  if (__builtin_cpu_supports("avx2")) isas.push_back(Isa::avx2);
#endif
  return isas;
}

const Kernels& kernels_for([[maybe_unused]] Isa isa) {
#ifdef KORVEL_X86_KERNELS
  if (isa == Isa::sse2) return kSse2;
  if (isa == Isa::avx2) return kAvx2;
#endif
  return kScalar;
}

bool select_kernels(const char* pin) {
  const std::vector<Isa> isas = available_isas();
  if (!pin || !*pin) {
    g_kernels = &kernels_for(isas.back());
    return true;
  }
  for (Isa isa : isas) {
    if (std::strcmp(pin, kernels_for(isa).name) == 0) {
      g_kernels = &kernels_for(isa);
      return true;
    }
  }
  return false;
}

std::string available_isa_names() {
  std::string names;
  for (Isa isa : available_isas()) names += std::string(names.empty() ? "" : ", ") + kernels_for(isa).name;
  return names;
}

}  // namespace korvel::pixels
