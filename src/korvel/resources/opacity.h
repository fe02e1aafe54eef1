// The opacity rewrite of a cached sprite frame: every 32-bit word of the
// pixel memory keeps its colour bits and gets its alpha bits scaled.
#pragma once
#include <cstddef>
#include <cstdint>

namespace korvel::resources {

struct PixelMasks {
  uint32_t colour;  // red | green | blue
  uint32_t alpha;
};

// Rewrites `words` 32-bit words from px (a 16-bit surface's words hold two
// pixels each; both are rewritten as one word). Below 24 bits per pixel the
// alpha bits are scaled in place by alpha / 256; from 24 bits on, the word
// shifted down by 8 is multiplied by alpha and masked, so the colour bits
// below the alpha byte feed into it. Unsigned 32-bit arithmetic throughout.
void rewrite_opacity(uint8_t* px, std::size_t words, int bits_per_pixel, PixelMasks masks,
                     uint32_t alpha);

}  // namespace korvel::resources
