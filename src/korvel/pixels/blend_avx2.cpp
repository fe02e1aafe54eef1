// AVX2 variants of the saturating byte runs and the alpha scaling.
// Self-contained on purpose: no inline helpers from shared headers may be
// compiled with these flags.
#include <immintrin.h>

#include "korvel/pixels/kernels.h"

namespace korvel::pixels {
namespace {

__m256i load(const void* p) { return _mm256_loadu_si256(static_cast<const __m256i*>(p)); }
void store(void* p, __m256i v) { _mm256_storeu_si256(static_cast<__m256i*>(p), v); }

}  // namespace

void add_saturate_avx2(uint8_t* d, const uint8_t* s, std::size_t n) {
  std::size_t i = 0;
  for (; i + 32 <= n; i += 32) store(d + i, _mm256_adds_epu8(load(d + i), load(s + i)));
  // A half-width step first: particle rows are often 16 bytes past a multiple of 32.
  if (i + 16 <= n) {
    __m128i* q = reinterpret_cast<__m128i*>(d + i);
    _mm_storeu_si128(q, _mm_adds_epu8(_mm_loadu_si128(q),
                                      _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + i))));
    i += 16;
  }
  if (i < n) add_saturate_scalar(d + i, s + i, n - i);
}

// i stays a multiple of 4, so the scalar rest meets val's bytes in phase.
void sub_saturate_avx2(uint8_t* d, std::size_t n, uint32_t val) {
  const __m256i v = _mm256_set1_epi32(int(val));
  std::size_t i = 0;
  for (; i + 32 <= n; i += 32) store(d + i, _mm256_subs_epu8(load(d + i), v));
  if (i < n) sub_saturate_scalar(d + i, n - i, val);
}

void scale_alpha_avx2(uint32_t* p, std::size_t n, uint32_t colormask, uint32_t alphamask,
                      uint32_t a, bool alpha_on_top) {
  const __m256i cm = _mm256_set1_epi32(int(colormask));
  const __m256i am = _mm256_set1_epi32(int(alphamask));
  const __m256i av = _mm256_set1_epi32(int(a));
  std::size_t i = 0;
  for (; i + 8 <= n; i += 8) {
    const __m256i px = load(p + i);
    __m256i alpha;
    if (alpha_on_top) {
      alpha = _mm256_and_si256(_mm256_mullo_epi32(_mm256_srli_epi32(px, 8), av), am);
    } else {
      alpha = _mm256_and_si256(
          _mm256_srli_epi32(_mm256_mullo_epi32(_mm256_and_si256(px, am), av), 8), am);
    }
    store(p + i, _mm256_or_si256(_mm256_and_si256(px, cm), alpha));
  }
  if (i < n) scale_alpha_scalar(p + i, n - i, colormask, alphamask, a, alpha_on_top);
}

}  // namespace korvel::pixels
