// AVX2 variant of the translucent fill run; the only code built with -mavx2
// besides the other *_avx2 files. Self-contained on purpose.
#include <immintrin.h>

#include "korvel/pixels/kernels.h"

namespace korvel::pixels {
namespace {

// Eight pixels of multalpha(p, na) + fg. The high half of a 16-bit product
// with na << 8 is (x * na) >> 8, so one multiply both scales and shifts:
// red and blue in the low bytes of their 16-bit lanes, green in the high
// byte of its lane, where the product's low byte is dropped by the mask.
__m256i fill8(__m256i p, __m256i na_hi, __m256i fg) {
  const __m256i rb_mask = _mm256_set1_epi32(0x00FF00FF);
  const __m256i g_mask = _mm256_set1_epi32(0x0000FF00);
  const __m256i rb = _mm256_mulhi_epu16(_mm256_and_si256(p, rb_mask), na_hi);
  const __m256i g = _mm256_and_si256(_mm256_mulhi_epu16(_mm256_and_si256(p, g_mask), na_hi),
                                     g_mask);
  return _mm256_add_epi32(_mm256_or_si256(rb, g), fg);
}

}  // namespace

void fill_run_avx2(uint32_t* p, std::size_t n, uint32_t fg, uint32_t na) {
  const __m256i na_hi = _mm256_set1_epi16(short((na & 0xFF) << 8));
  const __m256i fgv = _mm256_set1_epi32(int(fg));
  std::size_t i = 0;
  for (; i + 8 <= n; i += 8) {
    __m256i* q = reinterpret_cast<__m256i*>(p + i);
    _mm256_storeu_si256(q, fill8(_mm256_loadu_si256(q), na_hi, fgv));
  }
  // Four more through the low half: particle rows are often 4 pixels past a multiple of 8.
  if (i + 4 <= n) {
    __m128i* q = reinterpret_cast<__m128i*>(p + i);
    const __m256i px = _mm256_zextsi128_si256(_mm_loadu_si128(q));
    _mm_storeu_si128(q, _mm256_castsi256_si128(fill8(px, na_hi, fgv)));
    i += 4;
  }
  if (i < n) fill_run_scalar(p + i, n - i, fg, na);
}

}  // namespace korvel::pixels
