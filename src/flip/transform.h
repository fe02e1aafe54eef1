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
// Whether SDL_gfx may zoom (angle 0) or rotozoom a surface by given factors,
// and if not, why: an empty surface, a factor that is not finite, an 8-bit
// surface mirrored while only zoomed, or a result too large to make.
enum class TransformCheck { allowed, empty, not_finite, mirrored_8_bit, too_large };
TransformCheck check_transform(SDL_Surface* s, double angle, double xscale, double yscale);
// Turned by 180 degrees and shifted down by one row: row 0 stays blank and
// the source's top row falls off. 32-bit surfaces only.
SDL_Surface* flip_vh(SDL_Surface* src);
