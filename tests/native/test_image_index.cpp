#include <gtest/gtest.h>

#include <cstdint>
#include <iterator>

#include "korvel/particles/image_index.h"

using korvel::particles::ImageIndex;
using korvel::particles::ImageKey;

namespace {

SDL_Surface* fake(int n) { return reinterpret_cast<SDL_Surface*>(std::uintptr_t(n) * 64); }

}  // namespace

// The index answers exactly as the cache's tuples compare: every field
// counts, and a four-int key is never a five-int key with angle 0.
TEST(ImageIndex, KeysAreEqualExactlyWhenTheirTuplesAre) {
  const ImageKey base{16, 9, 0x40A0FF, 255, 0, true};
  ImageIndex index;
  index[base] = fake(1);
  const ImageKey others[] = {{17, 9, 0x40A0FF, 255, 0, true},  {16, 8, 0x40A0FF, 255, 0, true},
                             {16, 9, 0x40A0FE, 255, 0, true},  {16, 9, 0x40A0FF, 254, 0, true},
                             {16, 9, 0x40A0FF, 255, 16, true}, {16, 9, 0x40A0FF, 255, 0, false},
                             {9, 16, 0x40A0FF, 255, 0, true},  {16, 9, 0x40A0FF, 255, -16, true}};
  for (const ImageKey& k : others) {
    EXPECT_EQ(index.count(k), 0u) << k.w << " " << k.h << " " << k.tint << " " << k.alpha << " "
                                  << k.angle << " " << k.with_angle;
    index[k] = fake(2);
  }
  EXPECT_EQ(index.size(), 1 + std::size(others));
  EXPECT_EQ(index.at(base), fake(1));
}
