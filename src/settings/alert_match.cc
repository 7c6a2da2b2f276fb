// The alert rule test: period, user, text conditions and operation of one access event. It is
// part of the rule record, so it lives with the record in the settings: the alert thread, the
// settings checker and the log reader all test rules without the alert thread's machinery.
#include <algorithm>
#include <cstdint>

#include "settings/alert_info.h"
#include "support/case_fold.h"

namespace sarvik {
namespace {

using AlertPattern = AlertInfo::AlertPattern;

// Star matching in which every star stands for zero or more bytes. Greedy, returning only to the
// latest star: each return moves that star's end one byte on and replays at most the pattern, so
// the cost is O(text x pattern) with no recursion and no memory.
bool match_stars(const char* text, const char* text_end, const char* pattern,
                 const char* pattern_end) {
  const CaseFold& fold = CaseFold::table();
  const char* star_pattern = nullptr;  // the pattern byte behind the latest star run
  const char* star_text = nullptr;     // where the text behind that star run begins now
  while (text != text_end) {
    if (pattern != pattern_end && *pattern == '*') {
      while (pattern != pattern_end && *pattern == '*') ++pattern;
      if (pattern == pattern_end) return true;
      star_pattern = pattern;
      star_text = text;
    } else if (pattern != pattern_end && fold(*text) == fold(*pattern)) {
      ++text;
      ++pattern;
    } else if (star_pattern != nullptr) {
      pattern = star_pattern;
      text = ++star_text;
    } else {
      return false;
    }
  }
  while (pattern != pattern_end && *pattern == '*') ++pattern;
  return pattern == pattern_end;
}

}  // namespace

bool AlertInfo::match(time_t time, const std::string& username, const std::string& hostname,
                      const std::string& ipaddr, const std::string& operation,
                      const std::string& result, const std::string& sharename,
                      const std::string& path) const {
  return match_period(time) &&
         match_fields(username, hostname, ipaddr, operation, result, sharename, path);
}

bool AlertInfo::match(const struct tm& local, const std::string& username,
                      const std::string& hostname, const std::string& ipaddr,
                      const std::string& operation, const std::string& result,
                      const std::string& sharename, const std::string& path) const {
  return match_period(local) &&
         match_fields(username, hostname, ipaddr, operation, result, sharename, path);
}

// Every text condition is tested as the path is: absent when empty, inverted by its flag.
bool AlertInfo::match_fields(const std::string& username, const std::string& hostname,
                             const std::string& ipaddr, const std::string& operation,
                             const std::string& result, const std::string& sharename,
                             const std::string& path) const {
  return match_username(username) && match_path(hostname, this->hostname) &&
         match_path(ipaddr, this->ipaddr) && is_operation_enabled(operation) &&
         match_path(result, this->result) && match_path(sharename, this->sharename) &&
         match_path(path, this->path);
}

bool AlertInfo::match_period(time_t time) const {
  struct tm local;
  // Chosen: a time that cannot be broken down lies outside every span. time() never gives one.
  if (localtime_r(&time, &local) == nullptr) return period_not;
  return match_period(local);
}

bool AlertInfo::match_period(const struct tm& local) const {
  // In 64 bits so that any hour the settings hold takes part as it stands, without overflow.
  int64_t now = int64_t{local.tm_hour} * 60 + local.tm_min;
  int64_t from = int64_t{from_hour} * 60 + from_minute;
  int64_t to = int64_t{to_hour} * 60 + to_minute;
  // The end is inclusive of its whole minute and the span never wraps over midnight.
  bool inside = (weekdays & (uint32_t{1} << local.tm_wday)) != 0 && from <= now && now <= to;
  return inside != period_not;
}

bool AlertInfo::match_username(const std::string& username) const {
  bool found = (this->username.flags & AlertPattern::ALERT_FLAG_ALL) != 0;
  const CaseFold& fold = CaseFold::table();
  // Each configured name folded byte by byte against the event's name as it comes; compared in
  // place, which is what a folded copy would give.
  for (auto it = usernames.begin(); !found && it != usernames.end(); ++it) {
    found = it->size() == username.size() &&
            std::equal(it->begin(), it->end(), username.begin(),
                       [&](char configured, char given) { return fold(configured) == given; });
  }
  return found != ((this->username.flags & AlertPattern::ALERT_FLAG_NOT) != 0);
}

bool AlertInfo::match_wildcard(const char* text_begin, const char* text_end,
                               const char* pattern_begin, const char* pattern_end) const {
  // The text running out ends the test before a final star is looked at, so a pattern that ends
  // in a star needs at least one more byte ("abc*" does not match "abc"); the rules on the
  // appliance are written against this, so it stays. Such
  // a pattern therefore matches a text exactly when the text without its last byte matches with
  // ordinary stars; every other star stands for zero or more bytes.
  if (pattern_begin != pattern_end && pattern_end[-1] == '*') {
    return text_begin != text_end &&
           match_stars(text_begin, text_end - 1, pattern_begin, pattern_end);
  }
  return match_stars(text_begin, text_end, pattern_begin, pattern_end);
}

bool AlertInfo::match_path(const std::string& path, const AlertPattern& pattern) const {
  if (pattern.text.empty()) return true;
  bool matched = match_wildcard(path.data(), path.data() + path.size(), pattern.text.data(),
                                pattern.text.data() + pattern.text.size());
  return matched != ((pattern.flags & AlertPattern::ALERT_FLAG_NOT) != 0);
}

bool AlertInfo::is_operation_enabled(const std::string& operation) const {
  auto it = operations.find(operation);
  return it != operations.end() && it->second;
}

}  // namespace sarvik
