// The normalised fields of an access record, as the log and the alert rules see them.
#ifndef SARVIK_RECORD_ACCESS_FIELDS_H_
#define SARVIK_RECORD_ACCESS_FIELDS_H_

#include <string>

#include "protocol/request_data.h"

namespace sarvik {

// The columns of one access record after the time, normalised as the log and the rules see them.
// `result` is in its long form.
struct AccessFields {
  std::string user;
  std::string host;
  std::string ipaddr;
  std::string operation;
  std::string result;
  std::string share;
  std::string path;
};

// The fields of `request`, with `share` (its entry 7) for a path that stands for the share.
AccessFields access_fields(const ReqAccessLog& request, const std::string& share);

// The user name with its ASCII letters folded to lower case; other bytes stay.
std::string access_user(const ReqAccessLog& request);
// The operation, with "_read" or "_write" added when the raw path starts with "r|" or "w|".
std::string access_operation(const ReqAccessLog& request);
// "ok" for a non-zero status; otherwise "fail", or with `brief` false "fail (<strerror text of
// the error number>)".
std::string access_result(const ReqAccessLog& request, bool brief);
// The path without its "r|" and then its "w|" prefix; "." (the share's root) becomes `share`.
std::string access_path(const ReqAccessLog& request, const std::string& share);

}  // namespace sarvik

#endif  // SARVIK_RECORD_ACCESS_FIELDS_H_
