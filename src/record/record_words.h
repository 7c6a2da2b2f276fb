// The words and separators that record lines are made of, shared by their writer and readers.
#ifndef SARVIK_RECORD_RECORD_WORDS_H_
#define SARVIK_RECORD_RECORD_WORDS_H_

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
// Result words of an access record. The long form of a failure adds the system's text for the
// error number between kReasonOpen and kReasonClose: "fail (Permission denied)".
inline constexpr char kResultOkWord[] = "ok";
inline constexpr char kResultFailWord[] = "fail";
inline constexpr char kReasonOpen[] = " (";
inline constexpr char kReasonClose[] = ")";
// The access path that stands for the share itself.
inline constexpr char kShareRootPath[] = ".";

}  // namespace sarvik

#endif  // SARVIK_RECORD_RECORD_WORDS_H_
