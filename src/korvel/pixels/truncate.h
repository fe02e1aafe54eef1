// Float to int conversion that is defined for every input.
#pragma once
#include <cstdint>

namespace korvel::pixels {

// Truncation toward zero. A value outside int's range (or NaN) gives INT_MIN,
// the x86 conversion's answer, so that wild script values stay defined.
inline int32_t trunc_i32(double v) {
  if (v > -2147483649.0 && v < 2147483648.0) return int32_t(v);
  return INT32_MIN;
}

}  // namespace korvel::pixels
