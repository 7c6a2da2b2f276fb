// Case folding of single bytes, as the C library's tolower folds them.
#ifndef SARVIK_SUPPORT_CASE_FOLD_H_
#define SARVIK_SUPPORT_CASE_FOLD_H_

#include <array>

namespace sarvik {

// What tolower gives for each of the 256 byte values, the byte passed as a signed char as the
// rule test passes it. The service never changes its locale, so in its C locale only the ASCII
// letters fold and every other byte, those above 127 among them, stays as it is.
class CaseFold {
 public:
  // The one table, built from tolower at the first call. Any thread.
  static const CaseFold& table();

  char operator()(char c) const { return folded[static_cast<unsigned char>(c)]; }

 private:
  CaseFold();
  std::array<char, 256> folded;
};

}  // namespace sarvik

#endif  // SARVIK_SUPPORT_CASE_FOLD_H_
