// SSE2 variants of the saturating byte runs and the alpha scaling.
// Self-contained on purpose: no inline helpers from shared headers may be
// compiled with these flags.
#include <emmintrin.h>

#include "korvel/pixels/kernels.h"

namespace korvel::pixels {
namespace {

__m128i load(const void* p) { return _mm_loadu_si128(static_cast<const __m128i*>(p)); }
void store(void* p, __m128i v) { _mm_storeu_si128(static_cast<__m128i*>(p), v); }

// Low 32 bits of each lane's product; SSE2 only multiplies even lanes, so
// the odd lanes go through a shifted copy.
__m128i mullo32(__m128i x, __m128i y) {
  const __m128i even = _mm_mul_epu32(x, y);
  const __m128i odd = _mm_mul_epu32(_mm_srli_epi64(x, 32), _mm_srli_epi64(y, 32));
  return _mm_unpacklo_epi32(_mm_shuffle_epi32(even, _MM_SHUFFLE(0, 0, 2, 0)),
                            _mm_shuffle_epi32(odd, _MM_SHUFFLE(0, 0, 2, 0)));
}

}  // namespace

void add_saturate_sse2(uint8_t* d, const uint8_t* s, std::size_t n) {
  std::size_t i = 0;
  for (; i + 16 <= n; i += 16) store(d + i, _mm_adds_epu8(load(d + i), load(s + i)));
  add_saturate_scalar(d + i, s + i, n - i);
}

// i stays a multiple of 4, so the scalar rest meets val's bytes in phase.
void sub_saturate_sse2(uint8_t* d, std::size_t n, uint32_t val) {
  const __m128i v = _mm_set1_epi32(int(val));
  std::size_t i = 0;
  for (; i + 16 <= n; i += 16) store(d + i, _mm_subs_epu8(load(d + i), v));
  sub_saturate_scalar(d + i, n - i, val);
}

void scale_alpha_sse2(uint32_t* p, std::size_t n, uint32_t colormask, uint32_t alphamask,
                      uint32_t a, bool alpha_on_top) {
  const __m128i cm = _mm_set1_epi32(int(colormask));
  const __m128i am = _mm_set1_epi32(int(alphamask));
  const __m128i av = _mm_set1_epi32(int(a));
  std::size_t i = 0;
  for (; i + 4 <= n; i += 4) {
    const __m128i px = load(p + i);
    __m128i alpha;
    if (alpha_on_top) {
      alpha = _mm_and_si128(mullo32(_mm_srli_epi32(px, 8), av), am);
    } else {
      alpha = _mm_and_si128(_mm_srli_epi32(mullo32(_mm_and_si128(px, am), av), 8), am);
    }
    store(p + i, _mm_or_si128(_mm_and_si128(px, cm), alpha));
  }
  scale_alpha_scalar(p + i, n - i, colormask, alphamask, a, alpha_on_top);
}

}  // namespace korvel::pixels
