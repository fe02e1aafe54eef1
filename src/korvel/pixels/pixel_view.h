// A window onto 32-bit pixel memory: the only thing pixel kernels see.
#pragma once
#include <cstddef>
#include <cstdint>

namespace korvel::pixels {

struct PixelView {  // 32-bit pixels; pitch (bytes per row) may exceed w * 4
  uint8_t* px = nullptr;
  int w = 0;
  int h = 0;
  int pitch = 0;

  uint8_t* row(int y) const { return px + std::ptrdiff_t(y) * pitch; }
  uint32_t* row32(int y) const { return reinterpret_cast<uint32_t*>(row(y)); }
};

}  // namespace korvel::pixels
