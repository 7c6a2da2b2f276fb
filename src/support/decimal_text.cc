// Writing whole numbers as decimal text, without a stream or a format string.
#include "support/decimal_text.h"

#include <stdio.h>

namespace sarvik {

void append_decimal(std::string* text, int value, int width) {
  if (value < 0) {
    // Rare enough for the general route; the sign counts towards the width there too.
    char digits[16];
    snprintf(digits, sizeof digits, "%0*d", width, value);
    *text += digits;
    return;
  }
  char digits[16];
  char* end = digits + sizeof digits;
  char* first = end;
  do {
    *--first = static_cast<char>('0' + value % 10);
    value /= 10;
  } while (value != 0);
  for (int pad = width - static_cast<int>(end - first); pad > 0; --pad) *text += '0';
  text->append(first, end);
}

}  // namespace sarvik
