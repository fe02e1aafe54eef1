#include "korvel/pixels/flagged_blit.h"

#include <cstdio>

#include "korvel/sdl_compat.h"
#include "korvel/pixels/blend.h"

namespace korvel::pixels {

void flagged_blit(SDL_Surface* src, SDL_Surface* screensurf, SDL_Rect* dst, int additive) {
  if (additive == 0) {
    compat::blit(src, nullptr, screensurf, dst);
    return;
  }
  const AdditiveSpan span = clip_additive(src->w, src->h, screensurf->w, screensurf->h,
                                          screensurf->pitch, int16_t(dst->x), int16_t(dst->y));
  if (!span.visible) return;
  if (additive != 1 && additive != 128) {
    printf("Error: Unexpected additive blend mode %d\n", additive);
    fflush(stdout);
    compat::blit(src, nullptr, screensurf, dst);
    return;
  }
  if (span.rows == 0) return;
  // guard: the additive rows read and write 4-byte pixels on both sides
  if (src->format->BytesPerPixel != 4 || screensurf->format->BytesPerPixel != 4) return;
  compat::SurfaceLock src_lock(src);
  compat::SurfaceLock dst_lock(screensurf);
  additive_blit(compat::view_of(src), compat::view_of(screensurf), span.srcstart, span.dststart,
                span.rows, span.row_bytes);
}

}  // namespace korvel::pixels
