// A native index in front of a particle type's cache of prerendered images.
// The cache is a dictionary keyed by tuples of ints; building such a tuple
// and looking it up costs more than blitting a small particle image, and it
// happens for every particle drawn. The index maps the same keys to the SDL
// surfaces that the dictionary's pygame Surfaces own, so it holds no
// references: whoever stores into or empties the dictionary updates it too.
#pragma once
#include <cstddef>
#include <cstdint>
#include <unordered_map>

struct SDL_Surface;

namespace korvel::particles {

// (w, h, tint, alpha, angle), or (w, h, tint, alpha) when !with_angle: the
// two tuple lengths are different keys even where the ints agree.
struct ImageKey {
  int32_t w, h;
  uint32_t tint, alpha;
  int32_t angle;
  bool with_angle;

  bool operator==(const ImageKey&) const = default;
};

struct ImageKeyHash {
  std::size_t operator()(const ImageKey& k) const {
    uint64_t x = (uint64_t(uint32_t(k.w)) << 32 | uint32_t(k.h)) * 0x9E3779B97F4A7C15u;
    x ^= (uint64_t(k.tint) << 32 | k.alpha) + 0x632BE59BD9B4E019u + (x << 6) + (x >> 2);
    x ^= (uint64_t(uint32_t(k.angle)) << 1 | uint64_t(k.with_angle)) * 0xBF58476D1CE4E5B9u;
    return std::size_t(x ^ (x >> 31));
  }
};

using ImageIndex = std::unordered_map<ImageKey, SDL_Surface*, ImageKeyHash>;

}  // namespace korvel::particles
