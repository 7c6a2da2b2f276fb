// The filters of the command line on the columns of a line and on the whole line.
#include "query/record_filter.h"

#include <re2/re2.h>

#include <algorithm>
#include <cctype>
#include <cstring>

#include "record/record_words.h"

namespace sarvik::query {

namespace {

constexpr TextPattern::Syntax kFieldPattern{/*ignore_case=*/true, /*question_mark=*/true,
                                            /*substring_search=*/true};
// Operations are written as logged, with '*' for any run: "open_*".
constexpr TextPattern::Syntax kOperationPattern{/*ignore_case=*/false, /*question_mark=*/false,
                                                /*substring_search=*/false};

bool equal_ignoring_ascii_case(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    char x = a[i], y = b[i];
    if (x >= 'A' && x <= 'Z') x = static_cast<char>(x | 0x20);
    if (y >= 'A' && y <= 'Z') y = static_cast<char>(y | 0x20);
    if (x != y) return false;
  }
  return true;
}

template <typename Values, typename Test>
bool any_of_or_none(const Values& values, const Test& test) {
  return values.empty() || std::any_of(values.begin(), values.end(), test);
}

bool contains(const std::vector<std::string>& values, std::string_view field) {
  return any_of_or_none(values, [&](const std::string& value) { return value == field; });
}

bool any_pattern_matches(const std::vector<TextPattern>& patterns, std::string_view field) {
  return any_of_or_none(patterns, [&](const TextPattern& p) { return p.matches(field); });
}

}  // namespace

RecordFilter::RecordFilter() = default;
RecordFilter::~RecordFilter() = default;
RecordFilter::RecordFilter(RecordFilter&&) noexcept = default;
RecordFilter& RecordFilter::operator=(RecordFilter&&) noexcept = default;

bool is_plain_string(const std::string& pattern) {
  return !pattern.empty() && pattern.find_first_of("\\^$.|?*+()[]{}") == std::string::npos;
}

std::string required_literal(const std::string& pattern) {
  if (pattern.find("(?") != std::string::npos) return "";  // flags change what a byte matches
  std::string longest, run;
  auto end_run = [&] {
    if (run.size() > longest.size()) longest = run;
    run.clear();
  };
  int depth = 0;
  for (size_t i = 0; i < pattern.size(); ++i) {
    char c = pattern[i];
    bool quantifier = c == '*' || c == '?' || c == '{' || c == '+';
    if (depth > 0) {
      if (c == '\\') ++i;
      depth += c == '(' ? 1 : c == ')' ? -1 : 0;
      continue;
    }
    if (quantifier) {
      // The character before is optional, except under '+', which needs it once. A character of
      // several UTF-8 bytes goes as a whole.
      if (c != '+') {
        while (!run.empty() && (static_cast<unsigned char>(run.back()) & 0xC0) == 0x80) {
          run.pop_back();
        }
        if (!run.empty()) run.pop_back();
      }
      end_run();
      if (c == '{')
        i = pattern.find('}', i) == std::string::npos ? pattern.size() : pattern.find('}', i);
      continue;
    }
    switch (c) {
      case '|':
        return "";
      case '(':
        ++depth;
        end_run();
        break;
      case '[':
        end_run();
        // A class ends at the first ']' that is not its first member.
        i = pattern.find(']', i + (i + 1 < pattern.size() && pattern[i + 1] == '^' ? 3 : 2));
        if (i == std::string::npos) return "";
        break;
      case '.':
      case '^':
      case '$':
        end_run();
        break;
      case '\\':
        // An escaped punctuation mark stands for itself, and a few letters stand for one-letter
        // classes and assertions; any other escape may run on (\x41, \p{L}, \Q...\E).
        if (i + 1 >= pattern.size()) return "";
        if (std::ispunct(static_cast<unsigned char>(pattern[i + 1]))) {
          run += pattern[++i];
        } else if (std::strchr("dDwWsSbBAz", pattern[i + 1]) != nullptr) {
          end_run();
          ++i;
        } else {
          return "";
        }
        break;
      default:
        run += c;
    }
  }
  end_run();
  return longest;
}

bool RecordFilter::build(const FilterValues& values, std::string* error) {
  users = values.users;
  hosts = values.hosts;
  shares = values.shares;
  for (const std::string& text : values.addresses) {
    std::optional<AddressFilter> address = AddressFilter::parse(text);
    if (!address) {
      *error = "--ip '" + text + "' is neither an address nor ADDRESS/PREFIX";
      return false;
    }
    addresses.push_back(*address);
  }
  for (const std::string& text : values.operations)
    operations.emplace_back(text, kOperationPattern);
  for (const std::string& text : values.results) {
    if (text == kResultOkWord) {
      want_ok = true;
    } else if (text == kResultFailWord) {
      want_fail = true;
    } else {
      *error = "--result takes 'ok' or 'fail', not '" + text + "'";
      return false;
    }
  }
  for (const std::string& text : values.paths) paths.emplace_back(text, kFieldPattern);
  for (const std::string& text : values.texts) texts.emplace_back(text, kFieldPattern);
  if (values.greps.size() == 1 && is_plain_string(values.greps[0])) {
    grep_literal.emplace(values.greps[0], /*ignore_case=*/false);
  } else if (!values.greps.empty()) {
    // One expression of all alternatives, so that a line is searched once.
    std::string alternatives;
    for (const std::string& text : values.greps) {
      RE2::Options options;
      options.set_log_errors(false);
      RE2 single(text, options);
      if (!single.ok()) {
        *error = "--grep '" + text + "': " + single.error();
        return false;
      }
      alternatives += (alternatives.empty() ? "(?:" : "|(?:") + text + ")";
    }
    RE2::Options options;
    options.set_log_errors(false);
    grep = std::make_unique<RE2>(alternatives, options);
    if (!grep->ok()) {
      *error = "--grep: " + grep->error();
      return false;
    }
    if (values.greps.size() == 1) {
      std::string required = required_literal(values.greps[0]);
      if (!required.empty()) grep_required.emplace(required, /*ignore_case=*/false);
    }
  }
  return true;
}

bool RecordFilter::has_field_filters() const {
  return !users.empty() || !hosts.empty() || !shares.empty() || !addresses.empty() ||
         !operations.empty() || want_ok || want_fail || !paths.empty() || !texts.empty();
}

size_t RecordFilter::access_columns_needed() const {
  if (!has_field_filters()) return 0;
  // The columns by their number from 1: user 2, host 3, ip 4, op 5, result 6, share 7, path 8.
  if (!paths.empty()) return 8;
  if (!shares.empty()) return 7;
  return 6;
}

bool RecordFilter::accepts(const AccessColumns& c) const {
  if (want_ok || want_fail) {
    std::string_view brief = brief_result(c.result);
    if (!(want_ok && brief == kResultOkWord) && !(want_fail && brief == kResultFailWord)) {
      return false;
    }
  }
  return any_of_or_none(
             users,
             [&](const std::string& user) { return equal_ignoring_ascii_case(user, c.user); }) &&
         contains(shares, c.share) && contains(hosts, c.host) &&
         any_pattern_matches(operations, c.operation) &&
         any_of_or_none(addresses, [&](const AddressFilter& a) { return a.matches(c.ipaddr); }) &&
         any_pattern_matches(paths, c.path);
}

bool RecordFilter::accepts(const SystemColumns& c) const {
  // A comma in a text hides which text held it, so the texts as they were joined count too.
  return any_of_or_none(texts, [&](const TextPattern& p) {
    return p.matches(c.text1) || p.matches(c.text2) || p.matches(c.text3) ||
           (c.fault == ColumnFault::kAmbiguous && p.matches(c.texts));
  });
}

bool RecordFilter::accepts_line(std::string_view line) const {
  if (grep_literal) return grep_literal->find(line.data(), line.data() + line.size()) != nullptr;
  return grep == nullptr || RE2::PartialMatch(re2::StringPiece(line.data(), line.size()), *grep);
}

const LiteralFinder* RecordFilter::needle() const {
  if (grep_literal) return &*grep_literal;
  if (grep_required) return &*grep_required;
  if (paths.size() == 1 && paths[0].substring() != nullptr &&
      !paths[0].substring()->needle().empty()) {
    return paths[0].substring();
  }
  return nullptr;
}

}  // namespace sarvik::query
