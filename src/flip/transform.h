// Whole-surface transforms on SDL surfaces. Each returns a new surface that
// the caller owns, or null (after its message on standard error for a pixel
// size it does not handle).
#pragma once

struct SDL_Surface;

// A blank surface with surf's size, pixel format and blending; pixels zero.
SDL_Surface* clone_surface(SDL_Surface* surf);
// Mirrored left to right; 32-bit surfaces only.
SDL_Surface* flip_h(SDL_Surface* src);
// Mirrored top to bottom; any pixel size.
SDL_Surface* flip_v(SDL_Surface* src);
// Whether SDL_gfx may zoom (angle 0) or rotozoom s by these factors; false
// with ValueError or MemoryError set when it must not be called.
bool transform_allowed(SDL_Surface* s, double angle, double xscale, double yscale);
// Turned by 180 degrees and shifted down by one row: row 0 stays blank and
// the source's top row falls off. 32-bit surfaces only.
SDL_Surface* flip_vh(SDL_Surface* src);
