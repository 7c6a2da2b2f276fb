// Reading a record line of a log back into its columns.
#include "record/record_columns.h"

#include <algorithm>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "record/record_words.h"

namespace sarvik {

namespace {

constexpr char kComma = kFieldSeparator[0];

// The positions of the first `most` commas of `line` (fewer when it has fewer), into
// `positions`; returns how many there are. The fields before a path are short, so blocks of 16
// bytes are tested at once where the processor allows, instead of a call or a step per byte.
size_t find_commas(std::string_view line, size_t most, size_t* positions) {
  size_t count = 0;
  size_t i = 0;
#if defined(__SSE2__)
  const __m128i comma = _mm_set1_epi8(kComma);
  for (; i + 16 <= line.size() && count < most; i += 16) {
    __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(line.data() + i));
    unsigned mask = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(block, comma)));
    for (; mask != 0 && count < most; mask &= mask - 1) {
      positions[count++] = i + static_cast<size_t>(__builtin_ctz(mask));
    }
  }
#endif
  for (; i < line.size() && count < most; ++i) {
    if (line[i] == kComma) positions[count++] = i;
  }
  return count;
}

bool starts_with(std::string_view text, std::string_view prefix) {
  return text.substr(0, prefix.size()) == prefix;
}

bool ends_with(std::string_view text, std::string_view suffix) {
  return text.size() >= suffix.size() && text.substr(text.size() - suffix.size()) == suffix;
}

}  // namespace

AccessColumns read_access_columns(std::string_view line, size_t wanted) {
  AccessColumns columns;
  std::string_view* fields[kAccessColumnCount] = {
      &columns.time,      &columns.user,   &columns.host,  &columns.ipaddr,
      &columns.operation, &columns.result, &columns.share, &columns.path};
  // The commas before the wanted columns, and one more to see where the last of them ends.
  size_t most = std::min(wanted, kAccessColumnCount - 1);
  size_t commas[kAccessColumnCount - 1];
  size_t found = find_commas(line, most, commas);
  const char* text = line.data();
  size_t start = 0;
  for (size_t i = 0; i < found; ++i) {
    *fields[i] = std::string_view(text + start, commas[i] - start);
    start = commas[i] + 1;
  }
  if (found < most) {
    *fields[found] = std::string_view(text + start, line.size() - start);
    columns.fault = ColumnFault::kTooFew;
    return columns;
  }
  // The path, the last column, takes the rest of the line with any commas in it.
  if (found == kAccessColumnCount - 1) {
    columns.path = std::string_view(text + start, line.size() - start);
  }
  constexpr size_t kResultColumn = 6;
  if (wanted >= kResultColumn && !is_result_word(columns.result)) {
    columns.fault = ColumnFault::kAmbiguous;
  }
  return columns;
}

SystemColumns read_system_columns(std::string_view line) {
  SystemColumns columns;
  std::string_view* fields[kSystemColumnCount] = {&columns.time, &columns.text1, &columns.text2,
                                                  &columns.text3};
  size_t commas[kSystemColumnCount];  // one more than the columns need, to see a comma in text3
  size_t found = find_commas(line, kSystemColumnCount, commas);
  size_t start = 0;
  for (size_t i = 0; i < found && i < kSystemColumnCount - 1; ++i) {
    *fields[i] = line.substr(start, commas[i] - start);
    start = commas[i] + 1;
  }
  *fields[std::min(found, kSystemColumnCount - 1)] = line.substr(start);
  if (found > 0) columns.texts = line.substr(commas[0] + 1);
  if (found < kSystemColumnCount - 1) {
    columns.fault = ColumnFault::kTooFew;
  } else if (found == kSystemColumnCount) {
    columns.fault = ColumnFault::kAmbiguous;
  }
  return columns;
}

bool is_result_word(std::string_view text) {
  if (text == kResultOkWord || text == kResultFailWord) return true;
  if (!starts_with(text, kResultFailWord)) return false;
  std::string_view reason = text.substr(std::strlen(kResultFailWord));
  return reason.size() >= std::strlen(kReasonOpen) + std::strlen(kReasonClose) &&
         starts_with(reason, kReasonOpen) && ends_with(reason, kReasonClose);
}

std::string_view brief_result(std::string_view logged) {
  if (logged == kResultOkWord) return kResultOkWord;
  if (is_result_word(logged)) return kResultFailWord;
  return logged;
}

}  // namespace sarvik
