// Mirror copies of raw pixel rows. Each buffer is addressed through its own
// pitch (bytes per row); the two never overlap.
#pragma once
#include <cstddef>
#include <cstdint>

namespace korvel::flip {

struct Rows {
  uint8_t* px;
  int pitch;
  uint8_t* row(int y) const { return px + std::ptrdiff_t(y) * pitch; }
};

// dst(x, y) = src(w - 1 - x, y), 32-bit pixels.
void mirror_h32(Rows src, Rows dst, int w, int h);

// dst row k = src row h - 1 - k, `bytes` bytes of each.
void mirror_v(Rows src, Rows dst, int h, std::size_t bytes);

// dst(x, k) = src(w - 1 - x, h - k) for rows k from 1: a half turn shifted
// down by one row. Source row 0 is not used and dst row 0 is left as it is.
void turn_shifted32(Rows src, Rows dst, int w, int h);

}  // namespace korvel::flip
