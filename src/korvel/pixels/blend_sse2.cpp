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

// The same product when y < 65536 (a16 holds y in every 16-bit lane), from
// the 16-bit halves of x: the low half's full product plus the high half's
// low 16 bits, shifted up. Half the instructions of mullo32.
__m128i mullo32_by16(__m128i x, __m128i a16) {
  const __m128i lo = _mm_mullo_epi16(x, a16);
  return _mm_add_epi32(lo, _mm_slli_epi32(_mm_mulhi_epu16(x, a16), 16));
}

template <bool kOnTop, bool kSmall>
void scale_alpha_run(uint32_t* p, std::size_t n, __m128i cm, __m128i am, __m128i av) {
  for (std::size_t i = 0; i + 4 <= n; i += 4) {
    const __m128i px = load(p + i);
    const __m128i x = kOnTop ? _mm_srli_epi32(px, 8) : _mm_and_si128(px, am);
    const __m128i prod = kSmall ? mullo32_by16(x, av) : mullo32(x, av);
    const __m128i alpha = _mm_and_si128(kOnTop ? prod : _mm_srli_epi32(prod, 8), am);
    store(p + i, _mm_or_si128(_mm_and_si128(px, cm), alpha));
  }
}

}  // namespace

void add_saturate_sse2(uint8_t* d, const uint8_t* s, std::size_t n) {
  std::size_t i = 0;
  for (; i + 16 <= n; i += 16) store(d + i, _mm_adds_epu8(load(d + i), load(s + i)));
  if (i < n) add_saturate_scalar(d + i, s + i, n - i);
}

// i stays a multiple of 4, so the scalar rest meets val's bytes in phase.
void sub_saturate_sse2(uint8_t* d, std::size_t n, uint32_t val) {
  const __m128i v = _mm_set1_epi32(int(val));
  std::size_t i = 0;
  for (; i + 16 <= n; i += 16) store(d + i, _mm_subs_epu8(load(d + i), v));
  if (i < n) sub_saturate_scalar(d + i, n - i, val);
}

void scale_alpha_sse2(uint32_t* p, std::size_t n, uint32_t colormask, uint32_t alphamask,
                      uint32_t a, bool alpha_on_top) {
  const __m128i cm = _mm_set1_epi32(int(colormask));
  const __m128i am = _mm_set1_epi32(int(alphamask));
  // Surfaces fade by a byte, so the 16-bit product is the one that runs.
  const bool small = a < 0x10000;
  const __m128i av = small ? _mm_set1_epi16(short(a)) : _mm_set1_epi32(int(a));
  if (alpha_on_top) {
    if (small) scale_alpha_run<true, true>(p, n, cm, am, av);
    else scale_alpha_run<true, false>(p, n, cm, am, av);
  } else {
    if (small) scale_alpha_run<false, true>(p, n, cm, am, av);
    else scale_alpha_run<false, false>(p, n, cm, am, av);
  }
  const std::size_t done = n & ~std::size_t(3);
  if (done < n) scale_alpha_scalar(p + done, n - done, colormask, alphamask, a, alpha_on_top);
}

}  // namespace korvel::pixels
