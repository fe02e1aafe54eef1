#include <gtest/gtest.h>

#include <cstdint>
#include <iterator>

#include "korvel_core/image_index.h"

using korvel::particles::ImageIndex;
using korvel::particles::ImageKey;

// The index answers exactly as the cache's tuples compare: every field
// counts, and a four-int key is never a five-int key with angle 0.
TEST(ImageIndex, KeysAreEqualExactlyWhenTheirTuplesAre) {
  const ImageKey keys[] = {{16, 9, 0x40A0FF, 255, 0, true},  {17, 9, 0x40A0FF, 255, 0, true},
                           {16, 8, 0x40A0FF, 255, 0, true},  {16, 9, 0x40A0FE, 255, 0, true},
                           {16, 9, 0x40A0FF, 254, 0, true},  {16, 9, 0x40A0FF, 255, 16, true},
                           {16, 9, 0x40A0FF, 255, 0, false}, {9, 16, 0x40A0FF, 255, 0, true},
                           {16, 9, 0x40A0FF, 255, -16, true}};
  ImageIndex index;
  for (std::uintptr_t i = 0; i < std::size(keys); ++i) {
    EXPECT_EQ(index.count(keys[i]), 0u) << i;
    index[keys[i]] = reinterpret_cast<SDL_Surface*>((i + 1) * 64);
  }
  EXPECT_EQ(index.size(), std::size(keys));
  EXPECT_EQ(index.at(keys[0]), reinterpret_cast<SDL_Surface*>(64));
}
