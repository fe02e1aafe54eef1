#include "korvel/pixels/fill.h"

#include <algorithm>

#include "korvel/pixels/colour.h"
#include "korvel/pixels/kernels.h"

namespace korvel::pixels {

void fill_translucent(const PixelView& v, int x1, int y1, int x2, int y2, uint32_t color,
                      int alpha) {
  const int xe = x2 < v.w ? x2 : v.w - 1;  // right edge exclusive, bottom inclusive:
  const int ye = y2 < v.h ? y2 : v.h - 1;  // the asymmetry is part of the contract
  // guard: clip the left and top edges, so negative corners cannot address
  // memory before the surface
  x1 = std::max(x1, 0);
  y1 = std::max(y1, 0);
  if (x1 >= xe || y1 > ye) return;
  const uint32_t a = uint32_t(alpha) & 0xFF;
  const uint32_t fg = multalpha(color, int(a));
  const FillRunFn run = g_kernels->fill_run;
  for (int y = y1; y <= ye; ++y) run(v.row32(y) + x1, std::size_t(xe - x1), fg, 255 - a);
}

}  // namespace korvel::pixels
