// The particle blit: a plain SDL blit or the saturating additive blit, by
// blend mode.
#pragma once
#include <SDL.h>

namespace korvel::pixels {

// Mode 0: SDL's blit of the whole of src at dst (SDL clips and writes the
// final rectangle back into dst). Modes 1 and 128: additive, clipped by
// clip_additive; any other mode is reported and blitted as mode 0.
void flagged_blit(SDL_Surface* src, SDL_Surface* screensurf, SDL_Rect* dst, int additive);

}  // namespace korvel::pixels
