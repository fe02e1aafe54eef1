// SSE2 variant of the tint run. Self-contained on purpose.
#include <emmintrin.h>

#include "korvel/pixels/kernels.h"

namespace korvel::pixels {

// Whole 16-byte blocks of the 8-byte body; the reference does the rest, so
// the reversed tail stays exactly its own.
void tint_sse2(uint8_t* d, std::size_t n, uint32_t subtractor) {
  const std::size_t body = n & ~std::size_t(7);
  const __m128i v = _mm_set1_epi32(int(subtractor));
  std::size_t i = 0;
  for (; i + 16 <= body; i += 16) {
    __m128i* q = reinterpret_cast<__m128i*>(d + i);
    _mm_storeu_si128(q, _mm_subs_epu8(_mm_loadu_si128(q), v));
  }
  if (i < n) tint_scalar(d + i, n - i, subtractor);
}

}  // namespace korvel::pixels
