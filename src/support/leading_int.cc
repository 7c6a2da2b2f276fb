// Reading the leading number of a text as a standard stream reads an int.
#include "support/leading_int.h"

#include <climits>
#include <cstdlib>

namespace sarvik {

int leading_int(const char* text) {
  long value = std::strtol(text, nullptr, 10);
  if (value > INT_MAX) return INT_MAX;
  if (value < INT_MIN) return INT_MIN;
  return static_cast<int>(value);
}

}  // namespace sarvik
