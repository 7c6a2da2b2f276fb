// Record text: the joining of fields, and the record time.
#ifndef SARVIK_RECORD_RECORD_TEXT_H_
#define SARVIK_RECORD_RECORD_TEXT_H_

#include <ctime>
#include <initializer_list>
#include <string>
#include <string_view>

#include "record/record_words.h"

namespace sarvik {

// The fields joined by kFieldSeparator, as they stand: the text of one record line.
std::string join_fields(std::initializer_list<std::string_view> fields);

// `when` in local time as "YYYY/MM/DD hh:mm:ss" (see append_record_time).
std::string format_time(time_t when);

// The leading decimal number of `text` as a signed 32-bit value widened to time_t: leading
// blanks are skipped, what follows the digits is ignored, a text that is no number gives 0 and
// a number beyond 32 bits gives the nearest limit.
time_t parse_time(const char* text);

}  // namespace sarvik

#endif  // SARVIK_RECORD_RECORD_TEXT_H_
