// The normalised fields of an access record, as the log and the alert rules see them.
#include "record/access_fields.h"

#include <cctype>
#include <cstring>

#include "record/record_words.h"

namespace sarvik {

namespace {

bool starts_with(const std::string& text, const char* prefix) {
  return text.compare(0, std::strlen(prefix), prefix) == 0;
}

}  // namespace

AccessFields access_fields(const ReqAccessLog& request, const std::string& share) {
  return AccessFields{access_user(request),
                      request.text_entry(kAccessHost),
                      request.text_entry(kAccessIpAddr),
                      access_operation(request),
                      access_result(request, /*brief=*/false),
                      share,
                      access_path(request, share)};
}

std::string access_user(const ReqAccessLog& request) {
  std::string user = request.text_entry(kAccessUser);
  for (char& byte : user) byte = static_cast<char>(std::tolower(static_cast<unsigned char>(byte)));
  return user;
}

std::string access_operation(const ReqAccessLog& request) {
  std::string operation = request.text_entry(kAccessOperation);
  std::string raw_path = request.text_entry(kAccessPath);
  if (starts_with(raw_path, kReadPrefix)) return operation + kReadSuffix;
  if (starts_with(raw_path, kWritePrefix)) return operation + kWriteSuffix;
  return operation;
}

std::string access_result(const ReqAccessLog& request, bool brief) {
  if (request.number_entry(kAccessStatus) != 0) return kResultOkWord;
  if (brief) return kResultFailWord;
  return std::string(kResultFailWord) + kReasonOpen +
         std::strerror(request.number_entry(kAccessErrorNumber)) + kReasonClose;
}

std::string access_path(const ReqAccessLog& request, const std::string& share) {
  std::string path = request.text_entry(kAccessPath);
  // Both prefixes are tried, in this order, so "r|w|x" loses both.
  if (starts_with(path, kReadPrefix)) path.erase(0, std::strlen(kReadPrefix));
  if (starts_with(path, kWritePrefix)) path.erase(0, std::strlen(kWritePrefix));
  return path == kShareRootPath ? share : path;
}

}  // namespace sarvik
