// SSE2 variant of the translucent fill run. Self-contained on purpose: no
// inline helpers from shared headers may be compiled with these flags.
#include <emmintrin.h>

#include "korvel/pixels/kernels.h"

namespace korvel::pixels {
namespace {

// Four pixels of multalpha(p, na) + fg. The high half of a 16-bit product
// with na << 8 is (x * na) >> 8, so one multiply both scales and shifts:
// red and blue in the low bytes of their 16-bit lanes, green in the high
// byte of its lane, where the product's low byte is dropped by the mask.
__m128i fill4(__m128i p, __m128i na_hi, __m128i fg) {
  const __m128i rb_mask = _mm_set1_epi32(0x00FF00FF);
  const __m128i g_mask = _mm_set1_epi32(0x0000FF00);
  const __m128i rb = _mm_mulhi_epu16(_mm_and_si128(p, rb_mask), na_hi);
  const __m128i g = _mm_and_si128(_mm_mulhi_epu16(_mm_and_si128(p, g_mask), na_hi), g_mask);
  return _mm_add_epi32(_mm_or_si128(rb, g), fg);
}

}  // namespace

void fill_run_sse2(uint32_t* p, std::size_t n, uint32_t fg, uint32_t na) {
  const __m128i na_hi = _mm_set1_epi16(short((na & 0xFF) << 8));
  const __m128i fgv = _mm_set1_epi32(int(fg));
  std::size_t i = 0;
  for (; i + 4 <= n; i += 4) {
    __m128i* q = reinterpret_cast<__m128i*>(p + i);
    _mm_storeu_si128(q, fill4(_mm_loadu_si128(q), na_hi, fgv));
  }
  if (i < n) fill_run_scalar(p + i, n - i, fg, na);
}

}  // namespace korvel::pixels
