// Float to int conversion that is defined for every input.
#pragma once
#include <climits>
#include <cmath>
#include <cstdint>

namespace korvel::pixels {

// Truncation toward zero. A value outside int's range (or NaN) gives INT_MIN,
// the x86 conversion's answer, so that wild script values stay defined.
inline int32_t trunc_i32(double v) {
  if (v > -2147483649.0 && v < 2147483648.0) return int32_t(v);
  return INT32_MIN;
}

// guard: truncation toward zero that saturates instead: NaN gives 0 and a
// value outside int's range the nearest end, for sizes and positions that
// must stay ordered however wild they are
inline int trunc_saturated(double v) {
  if (std::isnan(v)) return 0;
  if (v <= double(INT_MIN)) return INT_MIN;
  if (v >= double(INT_MAX)) return INT_MAX;
  return int(v);
}

}  // namespace korvel::pixels
