// Translucent rectangle fill: every covered pixel p becomes
// multalpha(p, 255 - a) + multalpha(color, a).
#pragma once
#include <cstdint>

#include "korvel/pixels/pixel_view.h"

namespace korvel::pixels {

// Columns x1 up to (not including) min(x2, w - 1); rows y1 up to and
// including min(y2, h - 1). Only the low 8 bits of alpha count.
void fill_translucent(const PixelView& v, int x1, int y1, int x2, int y2, uint32_t color,
                      int alpha);

}  // namespace korvel::pixels
