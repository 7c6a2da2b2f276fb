// Case folding of single bytes, as the C library's tolower folds them.
#include "support/case_fold.h"

#include <ctype.h>

namespace sarvik {

CaseFold::CaseFold() {
  for (int value = 0; value != 256; ++value) {
    char byte = static_cast<char>(value);
    folded[value] = static_cast<char>(tolower(static_cast<signed char>(byte)));
  }
}

const CaseFold& CaseFold::table() {
  static const CaseFold fold;
  return fold;
}

}  // namespace sarvik
