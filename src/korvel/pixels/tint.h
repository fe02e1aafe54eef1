// Subtractive tint of a whole 32-bit surface: white becomes the tint colour,
// darker pixels darker still, alpha untouched.
#pragma once
#include <SDL.h>

#include <cstdint>

namespace korvel::pixels {

// The complement of tint (a script colour 0x00BBGGRR) in fmt, with the alpha
// bits cleared so the tint never changes alpha.
uint32_t tint_subtractor(const SDL_PixelFormat* fmt, uint32_t tint);

// Lowers every byte of the buffer, row padding included, by the matching
// byte of the subtractor; see TintRunFn for the byte order.
void Tint_Surface(SDL_Surface* surf, uint32_t tint);

}  // namespace korvel::pixels
