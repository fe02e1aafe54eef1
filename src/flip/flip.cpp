#include "flip/flip.h"

#include <cstring>

namespace korvel::flip {
namespace {

void reverse_row32(const uint8_t* src, uint8_t* dst, int w) {
  const uint32_t* s = reinterpret_cast<const uint32_t*>(src);
  uint32_t* d = reinterpret_cast<uint32_t*>(dst);
  for (int x = 0; x < w; ++x) d[x] = s[w - 1 - x];
}

}  // namespace

void mirror_h32(Rows src, Rows dst, int w, int h) {
  for (int y = 0; y < h; ++y) reverse_row32(src.row(y), dst.row(y), w);
}

void mirror_v(Rows src, Rows dst, int h, std::size_t bytes) {
  // guard: a surface without columns has no pixel memory (a null pointer),
  // and copying even zero bytes from one is undefined
  if (bytes == 0) return;
  for (int k = 0; k < h; ++k) std::memcpy(dst.row(k), src.row(h - 1 - k), bytes);
}

void turn_shifted32(Rows src, Rows dst, int w, int h) {
  for (int k = 1; k < h; ++k) reverse_row32(src.row(h - k), dst.row(k), w);
}

}  // namespace korvel::flip
