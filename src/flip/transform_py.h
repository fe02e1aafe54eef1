// The binding's side of check_transform: its refusals as exceptions.
#pragma once

struct SDL_Surface;

// True when SDL_gfx may zoom (angle 0) or rotozoom s by these factors;
// false with ValueError or MemoryError set otherwise.
bool transform_allowed(SDL_Surface* s, double angle, double xscale, double yscale);
