#include "korvel/pixels/tint.h"

#include "korvel/pixels/colour.h"
#include "korvel/pixels/kernels.h"

namespace korvel::pixels {

void tint_scalar(uint8_t* d, std::size_t n, uint32_t subtractor) {
  const std::size_t body = n & ~std::size_t(7);
  sub_saturate_scalar(d, body, subtractor);
  // reversed byte order on purpose: it is part of the tint's defined result
  for (std::size_t i = body; i < n; ++i) {
    const unsigned v = (subtractor >> (8 * (3 - (i & 3)))) & 0xFF;
    d[i] = uint8_t(d[i] > v ? d[i] - v : 0);
  }
}

uint32_t tint_subtractor(const SDL_PixelFormat* fmt, uint32_t tint) {
  return color_for_format(0xFFFFFF - tint, fmt) & ~fmt->Amask;
}

void Tint_Surface(SDL_Surface* surf, uint32_t tint) {
  const std::size_t n = std::size_t(surf->pitch) * std::size_t(surf->h);
  g_kernels->tint(static_cast<uint8_t*>(surf->pixels), n, tint_subtractor(surf->format, tint));
}

}  // namespace korvel::pixels
