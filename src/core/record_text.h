// Record text: the constants that fields are made of, and the record time.
#ifndef SARVIK_CORE_RECORD_TEXT_H_
#define SARVIK_CORE_RECORD_TEXT_H_

#include <ctime>
#include <initializer_list>
#include <string>
#include <string_view>

namespace sarvik {

// Fields of a record are joined by a single comma and never quoted or escaped: a comma or a
// line break inside a field goes into the line as it stands.
inline constexpr char kFieldSeparator[] = ",";
inline constexpr char kDateSeparator[] = "/";
inline constexpr char kTimeSeparator[] = ":";
// Direction prefixes of an access path, and what they add to the operation.
inline constexpr char kReadPrefix[] = "r|";
inline constexpr char kWritePrefix[] = "w|";
inline constexpr char kReadSuffix[] = "_read";
inline constexpr char kWriteSuffix[] = "_write";
// Result words of an access record.
inline constexpr char kResultOkWord[] = "ok";
inline constexpr char kResultFailWord[] = "fail";
// The access path that stands for the share itself.
inline constexpr char kShareRootPath[] = ".";

// The fields joined by kFieldSeparator, as they stand: the text of one record line.
std::string join_fields(std::initializer_list<std::string_view> fields);

// `when` in local time as "YYYY/MM/DD hh:mm:ss".
std::string format_time(time_t when);

// The leading decimal number of `text` as a signed 32-bit value widened to time_t: leading
// blanks are skipped, what follows the digits is ignored, a text that is no number gives 0 and
// a number beyond 32 bits gives the nearest limit.
time_t parse_time(const char* text);

}  // namespace sarvik

#endif  // SARVIK_CORE_RECORD_TEXT_H_
