// Reading the leading number of a text as a standard stream reads an int.
#ifndef SARVIK_SUPPORT_LEADING_INT_H_
#define SARVIK_SUPPORT_LEADING_INT_H_

namespace sarvik {

// The decimal number at the start of `text`, read as `stream >> int` reads it: white space
// skipped, an optional sign and digits taken, the rest ignored. No number gives 0; a number beyond
// the range of int gives the nearest limit. Any thread.
int leading_int(const char* text);

}  // namespace sarvik

#endif  // SARVIK_SUPPORT_LEADING_INT_H_
