// SSE2 variant of the translucent fill run. Self-contained on purpose: no
// inline helpers from shared headers may be compiled with these flags.
#include <emmintrin.h>

#include "korvel/pixels/kernels.h"

namespace korvel::pixels {
namespace {

// Four pixels of multalpha(p, na) + fg. Red and blue sit in 16-bit lanes of
// 0x00FF00FF, so one 16-bit multiply scales both; na <= 255 keeps every
// product below 2^16.
__m128i fill4(__m128i p, __m128i na16, __m128i fg) {
  const __m128i rb_mask = _mm_set1_epi32(0x00FF00FF);
  const __m128i g_mask = _mm_set1_epi32(0x0000FF00);
  __m128i rb = _mm_and_si128(p, rb_mask);
  rb = _mm_srli_epi16(_mm_mullo_epi16(rb, na16), 8);
  __m128i g = _mm_srli_epi16(_mm_mullo_epi16(_mm_srli_epi16(p, 8), na16), 8);
  g = _mm_and_si128(_mm_slli_epi32(g, 8), g_mask);
  return _mm_add_epi32(_mm_add_epi32(rb, g), fg);
}

}  // namespace

void fill_run_sse2(uint32_t* p, std::size_t n, uint32_t fg, uint32_t na) {
  const __m128i na16 = _mm_set1_epi16(short(na));
  const __m128i fgv = _mm_set1_epi32(int(fg));
  std::size_t i = 0;
  for (; i + 4 <= n; i += 4) {
    __m128i* q = reinterpret_cast<__m128i*>(p + i);
    _mm_storeu_si128(q, fill4(_mm_loadu_si128(q), na16, fgv));
  }
  fill_run_scalar(p + i, n - i, fg, na);
}

}  // namespace korvel::pixels
