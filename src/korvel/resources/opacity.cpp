#include "korvel/resources/opacity.h"

#include <cstring>

namespace korvel::resources {

void rewrite_opacity(uint8_t* px, std::size_t words, int bits_per_pixel, PixelMasks masks,
                     uint32_t alpha) {
  const bool narrow = bits_per_pixel < 24;
  for (std::size_t i = 0; i < words; ++i) {
    uint32_t p;
    std::memcpy(&p, px + i * 4, 4);
    const uint32_t a = narrow ? (((p & masks.alpha) * alpha) >> 8) & masks.alpha
                              : ((p >> 8) * alpha) & masks.alpha;
    p = (p & masks.colour) | a;
    std::memcpy(px + i * 4, &p, 4);
  }
}

}  // namespace korvel::resources
