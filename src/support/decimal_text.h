// Writing whole numbers as decimal text, without a stream or a format string.
#ifndef SARVIK_SUPPORT_DECIMAL_TEXT_H_
#define SARVIK_SUPPORT_DECIMAL_TEXT_H_

#include <string>

namespace sarvik {

// Appends `value` in decimal with at least `width` digits, zeros in front, as printf's "%0*d".
// The record times and the names of log files are written with it once per line. Any thread.
void append_decimal(std::string* text, int value, int width);

}  // namespace sarvik

#endif  // SARVIK_SUPPORT_DECIMAL_TEXT_H_
