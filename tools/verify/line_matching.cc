// Matching the lines of a file with the seals made for it.
#include "verify/line_matching.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <set>
#include <unordered_map>

namespace sarvik::verify {

namespace {

constexpr int64_t kNone = -1;

struct HashKey {
  size_t operator()(const SealHash& hash) const {
    size_t key;
    memcpy(&key, hash.data(), sizeof key);
    return key;
  }
};

// What one line of the file is, or where a seal that matched no line belongs.
struct Event {
  uint64_t line;  // 0-based place in the file
  bool missing;   // a seal that matched no line: comes before the line at its place
  LineVerdict verdict;
  int64_t seal;  // the seal concerned, or kNone
};

// Matches each line with a seal of the same hash: the first unused one behind the furthest
// seal matched so far when there is one, else the first unused one. Lines [0, prefix) are
// already matched with seals [0, prefix).
std::vector<int64_t> match_by_hash(const std::vector<SealedLine>& seals,
                                   const std::vector<SealHash>& lines, size_t prefix) {
  std::unordered_map<SealHash, std::set<int64_t>, HashKey> unused;
  for (size_t seal = prefix; seal < seals.size(); ++seal) {
    unused[seals[seal].hash].insert(static_cast<int64_t>(seal));
  }
  std::vector<int64_t> matched(lines.size(), kNone);
  int64_t furthest = static_cast<int64_t>(prefix) - 1;
  for (size_t line = 0; line < lines.size(); ++line) {
    if (line < prefix) {
      matched[line] = static_cast<int64_t>(line);
      continue;
    }
    auto group = unused.find(lines[line]);
    if (group == unused.end() || group->second.empty()) continue;
    auto seal = group->second.lower_bound(furthest + 1);
    if (seal == group->second.end()) seal = group->second.begin();
    matched[line] = *seal;
    furthest = std::max(furthest, *seal);
    group->second.erase(seal);
  }
  return matched;
}

// The lines whose seals form the longest run in increasing order: the lines that stand in
// place. Patience sorting with links back.
std::vector<bool> in_place(const std::vector<int64_t>& matched) {
  std::vector<size_t> tails;  // per length, the line that ends the best run of that length
  std::vector<int64_t> before(matched.size(), kNone);
  for (size_t line = 0; line < matched.size(); ++line) {
    if (matched[line] == kNone) continue;
    auto place = std::lower_bound(tails.begin(), tails.end(), matched[line],
                                  [&](size_t tail, int64_t seal) { return matched[tail] < seal; });
    if (place != tails.begin()) before[line] = static_cast<int64_t>(*(place - 1));
    if (place == tails.end()) {
      tails.push_back(line);
    } else {
      *place = line;
    }
  }
  std::vector<bool> standing(matched.size(), false);
  for (int64_t line = tails.empty() ? kNone : static_cast<int64_t>(tails.back()); line != kNone;
       line = before[static_cast<size_t>(line)]) {
    standing[static_cast<size_t>(line)] = true;
  }
  return standing;
}

// The events of the stretch between two lines that stand: `from` and `to` bound the lines and
// the seals of the stretch (exclusive at both ends; -1 and the sizes at the file's ends).
class Stretch {
 public:
  Stretch(const std::vector<SealedLine>& seals, const std::vector<int64_t>& matched,
          const std::vector<bool>& seal_matched)
      : seals(seals), matched(matched), seal_matched(seal_matched) {}

  void add(int64_t line_from, int64_t line_to, int64_t seal_from, int64_t seal_to,
           std::vector<Event>* events) const {
    const bool head = line_from == kNone;
    const bool tail = static_cast<size_t>(line_to) == matched.size();
    std::vector<int64_t> lost;  // seals of the stretch that matched no line
    for (int64_t seal = seal_from + 1; seal < seal_to; ++seal) {
      if (!seal_matched[static_cast<size_t>(seal)]) lost.push_back(seal);
    }
    std::vector<uint64_t> unmatched;  // lines of the stretch that matched no seal
    for (int64_t line = line_from + 1; line < line_to; ++line) {
      if (matched[static_cast<size_t>(line)] == kNone) {
        unmatched.push_back(static_cast<uint64_t>(line));
      } else {
        events->push_back(Event{static_cast<uint64_t>(line), false, LineVerdict::kReordered,
                                matched[static_cast<size_t>(line)]});
      }
    }
    const size_t paired = std::min(lost.size(), unmatched.size());
    // Before the first line that stands, the lines sealed last come last: lines written before
    // sealing began are at the file's start. Elsewhere pairs begin at the stretch's start.
    const size_t first_line = head ? unmatched.size() - paired : 0;
    const size_t first_seal = head ? lost.size() - paired : 0;
    for (size_t i = 0; i < paired; ++i) {
      events->push_back(
          Event{unmatched[first_line + i], false, LineVerdict::kModified, lost[first_seal + i]});
    }
    if (lost.size() > paired) {
      uint64_t place = head         ? static_cast<uint64_t>(line_from + 1)
                       : paired > 0 ? unmatched[paired - 1] + 1
                                    : static_cast<uint64_t>(line_from + 1);
      const LineVerdict verdict = tail ? LineVerdict::kTruncated : LineVerdict::kDeleted;
      for (size_t i = head ? 0 : paired; i < (head ? first_seal : lost.size()); ++i) {
        events->push_back(Event{place, true, verdict, lost[i]});
      }
    }
    if (unmatched.size() > paired) {
      const size_t extra = unmatched.size() - paired;
      const uint64_t allowed = tail ? extra : unsealed_allowed(seal_from, seal_to, head);
      const size_t unsealed = static_cast<size_t>(std::min<uint64_t>(extra, allowed));
      const size_t begin = head ? 0 : paired;
      for (size_t i = 0; i < extra; ++i) {
        const LineVerdict verdict =
            i >= extra - unsealed ? LineVerdict::kUnsealed : LineVerdict::kInserted;
        events->push_back(Event{unmatched[begin + i], false, verdict, kNone});
      }
    }
  }

 private:
  // The lines the seals of the stretch and the seal behind it say were written unsealed just
  // before them; before the first seal also the lines its number says were there already.
  uint64_t unsealed_allowed(int64_t seal_from, int64_t seal_to, bool head) const {
    uint64_t allowed = 0;
    const int64_t last = std::min<int64_t>(seal_to, static_cast<int64_t>(seals.size()) - 1);
    for (int64_t seal = seal_from + 1; seal <= last; ++seal) {
      allowed += seals[static_cast<size_t>(seal)].unsealed_before;
    }
    if (head && !seals.empty()) {
      if (seals[0].line == 0) return std::numeric_limits<uint64_t>::max();
      allowed += seals[0].line - 1;
    }
    return allowed;
  }

  const std::vector<SealedLine>& seals;
  const std::vector<int64_t>& matched;
  const std::vector<bool>& seal_matched;
};

// Joins the events, in file order, into runs of one verdict.
std::vector<LineFinding> runs_of(std::vector<Event> events, const std::vector<SealedLine>& seals) {
  std::stable_sort(events.begin(), events.end(), [](const Event& a, const Event& b) {
    return a.line != b.line ? a.line < b.line : a.missing > b.missing;
  });
  std::vector<LineFinding> findings;
  int64_t last_seal = kNone;
  for (const Event& event : events) {
    const bool with_seal = event.seal != kNone;
    if (!findings.empty()) {
      LineFinding& run = findings.back();
      const bool same_place = event.missing && run.first_line == event.line + 1;
      const bool next_line = !event.missing && run.first_line + run.line_count == event.line + 1;
      const bool next_seal = !with_seal || event.seal == last_seal + 1;
      if (run.verdict == event.verdict && (same_place || next_line) && next_seal) {
        if (!event.missing) ++run.line_count;
        if (with_seal) {
          ++run.sealed_count;
          run.last_sealed = seals[static_cast<size_t>(event.seal)].line;
          last_seal = event.seal;
        }
        continue;
      }
    }
    LineFinding run{event.verdict, event.line + 1, event.missing ? 0u : 1u, 0, 0, 0};
    if (with_seal) {
      run.first_sealed = run.last_sealed = seals[static_cast<size_t>(event.seal)].line;
      run.sealed_count = 1;
      last_seal = event.seal;
    }
    findings.push_back(run);
  }
  return findings;
}

}  // namespace

MatchResult match_lines(const std::vector<SealedLine>& seals, const std::vector<SealHash>& lines) {
  MatchResult result;
  size_t prefix = 0;
  while (prefix < seals.size() && prefix < lines.size() && seals[prefix].hash == lines[prefix]) {
    ++prefix;
  }
  if (prefix == seals.size() && prefix == lines.size()) {
    result.verified = prefix;
    return result;
  }
  const std::vector<int64_t> matched = match_by_hash(seals, lines, prefix);
  const std::vector<bool> standing = in_place(matched);
  std::vector<bool> seal_matched(seals.size(), false);
  for (int64_t seal : matched) {
    if (seal != kNone) seal_matched[static_cast<size_t>(seal)] = true;
  }
  std::vector<Event> events;
  const Stretch stretch(seals, matched, seal_matched);
  int64_t line_from = kNone;
  int64_t seal_from = kNone;
  for (size_t line = 0; line <= lines.size(); ++line) {
    if (line < lines.size() && !standing[line]) continue;
    const int64_t seal_to =
        line < lines.size() ? matched[line] : static_cast<int64_t>(seals.size());
    stretch.add(line_from, static_cast<int64_t>(line), seal_from, seal_to, &events);
    if (line < lines.size()) ++result.verified;
    line_from = static_cast<int64_t>(line);
    seal_from = seal_to;
  }
  result.findings = runs_of(std::move(events), seals);
  return result;
}

}  // namespace sarvik::verify
