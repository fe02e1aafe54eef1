#include <gtest/gtest.h>

#include <cstring>

#include "flip/flip.h"
#include "testutil.h"

using namespace korvel::flip;
using testutil::Picture;

namespace {

Rows rows(Picture& p) { return {p.bytes(0), p.stride * 4}; }

}  // namespace

// Each flip writes exactly its mapping of the source and leaves every other word.
TEST(Flip, MirrorsAndTurnMatchTheirMappings) {
  for (int w : {1, 2, 3, 8, 17})
    for (int h : {1, 2, 5})
      for (int pad : {0, 3}) {
        Picture src(w, h, pad, 1), dst(w, h, pad + 1, 2);
        const Picture before = dst;
        Picture hd = dst, td = dst;
        mirror_h32(rows(src), rows(hd), w, h);
        turn_shifted32(rows(src), rows(td), w, h);
        for (int y = -1; y <= h; ++y)
          for (int x = 0; x < dst.stride; ++x) {
            const bool in = y >= 0 && y < h && x < w;
            ASSERT_EQ(hd.at(x, y), in ? src.at(w - 1 - x, y) : before.at(x, y)) << w << " " << x;
            // row 0 stays, the source's top row is dropped
            ASSERT_EQ(td.at(x, y), in && y > 0 ? src.at(w - 1 - x, h - y) : before.at(x, y))
                << w << "x" << h << " " << x << "," << y;
          }
      }
  Picture src(6, 7, 2, 3), dst(6, 7, 2, 4), before = dst;
  mirror_v(rows(src), rows(dst), 7, 5 * 4 + 2);  // a byte count that ends inside a word
  for (int k = 0; k < 7; ++k) {
    ASSERT_EQ(std::memcmp(dst.bytes(k), src.bytes(6 - k), 22), 0) << k;
    ASSERT_EQ(std::memcmp(dst.bytes(k) + 22, before.bytes(k) + 22, 10), 0);
  }
  ASSERT_EQ(dst.at(0, 7), before.at(0, 7));
}
