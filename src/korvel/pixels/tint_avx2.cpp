// AVX2 variant of the tint run. Self-contained on purpose.
#include <immintrin.h>

#include "korvel/pixels/kernels.h"

namespace korvel::pixels {

// Whole 32-byte blocks of the 8-byte body; the reference does the rest, so
// the reversed tail stays exactly its own.
void tint_avx2(uint8_t* d, std::size_t n, uint32_t subtractor) {
  const std::size_t body = n & ~std::size_t(7);
  const __m256i v = _mm256_set1_epi32(int(subtractor));
  std::size_t i = 0;
  for (; i + 32 <= body; i += 32) {
    __m256i* q = reinterpret_cast<__m256i*>(d + i);
    _mm256_storeu_si256(q, _mm256_subs_epu8(_mm256_loadu_si256(q), v));
  }
  if (i < n) tint_scalar(d + i, n - i, subtractor);
}

}  // namespace korvel::pixels
