// The access event of a dry run, as given on the command line.
#ifndef SARVIK_TOOLS_CHECK_EVENT_FIELDS_H_
#define SARVIK_TOOLS_CHECK_EVENT_FIELDS_H_

#include <cstdint>
#include <ctime>
#include <string>

namespace sarvik::check {

// One access record as the file service would send it, before the service normalises it.
struct EventFields {
  time_t time = 0;
  std::string user;
  std::string host;
  std::string ipaddr;
  std::string operation;
  uint16_t status = 1;  // not 0: the operation succeeded
  uint16_t error_number = 0;
  std::string share;
  std::string path;  // with its "r|" or "w|" prefix, if any
};

// Parses "time=...,user=...,host=...,ip=...,op=...,status=...,errno=...,share=...,path=...".
// Every field may be left out: texts default to empty, status to 1, errno to 0, time to `now`.
// A comma ends a value only where a word and "=" follow it, so a path may hold commas. The
// time is seconds since the epoch or "YYYY/MM/DD hh:mm:ss" in local time; status and errno are
// numbers of 0 to 65535. Returns false with a message in `error` for anything else.
bool parse_event(const std::string& text, time_t now, EventFields* event, std::string* error);

}  // namespace sarvik::check

#endif  // SARVIK_TOOLS_CHECK_EVENT_FIELDS_H_
