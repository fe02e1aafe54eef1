// A rectangle with one colour per corner: translucent solid fills,
// vertical gradients (filled, or opaque outlines) and opaque horizontal
// gradients. The cases it declines are reported to the caller, which tells
// the runtime; nothing is drawn for them.
#pragma once
#include <SDL.h>

#include <cstdint>

#include "korvel/pixels/pixel_view.h"

namespace korvel::pixels {

struct CornerColours {  // script colours 0x00BBGGRR
  uint32_t tl, tr, br, bl;
};

enum class RectColorOutcome {
  drawn,
  should_fill,          // four equal colours, opaque: the runtime fills
  translucent_outline,  // vertical gradient outline below full opacity
  unsupported,          // horizontal or four-colour gradient, or no gradient
};

// The rectangle's 0-255 opacity: trunc(alphaf * 255) in single precision.
int rectangle_alpha(float alphaf);

// Corners in any order. Every opaque pixel gets the mapped colour word as it
// is, alpha byte included.
RectColorOutcome draw_rectangle_color(const PixelView& v, const SDL_PixelFormat* fmt, int x1,
                                      int y1, int x2, int y2, const CornerColours& c,
                                      int alpha, bool outline);

}  // namespace korvel::pixels
