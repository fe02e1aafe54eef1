// AVX2 variant of the translucent fill run; the only code built with -mavx2
// besides the other *_avx2 files. Self-contained on purpose.
#include <immintrin.h>

#include "korvel/pixels/kernels.h"

namespace korvel::pixels {
namespace {

// Eight pixels of multalpha(p, na) + fg, the SSE2 lane trick at twice the width.
__m256i fill8(__m256i p, __m256i na16, __m256i fg) {
  const __m256i rb_mask = _mm256_set1_epi32(0x00FF00FF);
  const __m256i g_mask = _mm256_set1_epi32(0x0000FF00);
  __m256i rb = _mm256_and_si256(p, rb_mask);
  rb = _mm256_srli_epi16(_mm256_mullo_epi16(rb, na16), 8);
  __m256i g = _mm256_srli_epi16(_mm256_mullo_epi16(_mm256_srli_epi16(p, 8), na16), 8);
  g = _mm256_and_si256(_mm256_slli_epi32(g, 8), g_mask);
  return _mm256_add_epi32(_mm256_add_epi32(rb, g), fg);
}

}  // namespace

void fill_run_avx2(uint32_t* p, std::size_t n, uint32_t fg, uint32_t na) {
  const __m256i na16 = _mm256_set1_epi16(short(na));
  const __m256i fgv = _mm256_set1_epi32(int(fg));
  std::size_t i = 0;
  for (; i + 8 <= n; i += 8) {
    __m256i* q = reinterpret_cast<__m256i*>(p + i);
    _mm256_storeu_si256(q, fill8(_mm256_loadu_si256(q), na16, fgv));
  }
  fill_run_scalar(p + i, n - i, fg, na);
}

}  // namespace korvel::pixels
