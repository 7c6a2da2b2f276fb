// What a query asks of a block index: which blocks of a file can hold a line that matters.
#include "query/index_question.h"

#include <cstring>

#include "query/trigrams.h"

namespace sarvik::query {

namespace {

// Texts shorter than a trigram tell the signature nothing.
constexpr size_t kShortestText = 3;

bool test_bit(const std::vector<uint64_t>& bits, size_t i) {
  return (bits[i / 64] >> (i % 64)) & 1;
}

}  // namespace

std::string unpacked_time(PackedTime time) {
  char text[kRecordTimeLength + 1];
  char digits[15];
  snprintf(digits, sizeof digits, "%014llu",
           static_cast<unsigned long long>(time % 100000000000000ULL));
  snprintf(text, sizeof text, "%.4s/%.2s/%.2s %.2s:%.2s:%.2s", digits, digits + 4, digits + 6,
           digits + 8, digits + 10, digits + 12);
  return text;
}

IndexQuestion::IndexQuestion(const RecordFilter& filter, const TimeRange& range,
                             bool access_columns)
    : filter(filter), range(range) {
  for (const std::vector<std::string>& alternatives : filter.required_texts(kShortestText)) {
    std::vector<std::vector<uint32_t>> trigram_sets;
    for (const std::string& text : alternatives) {
      std::vector<uint32_t> trigrams;
      for_each_trigram(text, [&](uint32_t trigram) { trigrams.push_back(trigram); });
      trigram_sets.push_back(std::move(trigrams));
    }
    texts.push_back(std::move(trigram_sets));
  }
  if (access_columns) {
    for (AccessField field : kAllAccessFields) {
      if (!filter.tests_field(field)) continue;
      fields.push_back(field);
      group_filtered[group_of(field)] = true;
    }
  }
  const LiteralFinder* needle = filter.needle();
  std::optional<std::pair<std::string, bool>> field_text;
  if (access_columns) field_text = filter.field_text();
  if (field_text && (needle == nullptr || field_text->first.size() > needle->needle().size())) {
    narrow.emplace(field_text->first, field_text->second);
  } else if (needle != nullptr) {
    narrow.emplace(*needle);
  }
}

bool IndexQuestion::narrows(const LogFileEntry& entry) const {
  return !texts.empty() || !fields.empty() || (!entry.whole && range.bounded());
}

void IndexQuestion::groups_with_texts(const IndexView& index, std::vector<uint64_t>* groups) const {
  size_t words = index.words_per_row();
  unsigned row_bits = static_cast<unsigned>(__builtin_ctz(index.bloom_rows()));
  std::vector<uint64_t> any(words), all(words);
  for (const auto& alternatives : texts) {
    std::fill(any.begin(), any.end(), 0);
    for (const std::vector<uint32_t>& trigrams : alternatives) {
      std::fill(all.begin(), all.end(), ~uint64_t{0});
      for (uint32_t trigram : trigrams) {
        size_t row = trigram_row(trigram, row_bits);
        for (size_t w = 0; w < words; ++w) all[w] &= index.bloom_word(row, w);
      }
      for (size_t w = 0; w < words; ++w) any[w] |= all[w];
    }
    for (size_t w = 0; w < words; ++w) (*groups)[w] &= any[w];
  }
}

bool IndexQuestion::blocks_with_values(const IndexView& index, size_t group,
                                       std::vector<uint64_t>* blocks) const {
  std::vector<uint64_t> found(blocks->size());
  for (size_t value = 0; value < index.value_count(group); ++value) {
    bool passes = true;
    for (AccessField field : fields) {
      if (group_of(field) != group) continue;
      passes = passes &&
               filter.accepts_value(field, index.value_text(group, value, column_in_group(field)));
    }
    if (passes && !index.add_value_blocks(group, value, &found)) return false;
  }
  for (size_t w = 0; w < blocks->size(); ++w) (*blocks)[w] &= found[w];
  return true;
}

bool IndexQuestion::choose(IndexView& index, const LogFileEntry& entry,
                           std::vector<ChosenBlock>* chosen) const {
  chosen->clear();
  if (!index.blocks_intact()) return false;
  size_t count = index.block_count();
  std::vector<uint64_t> blocks((count + 63) / 64, ~uint64_t{0});

  std::vector<uint64_t> groups((index.group_count() + 63) / 64, ~uint64_t{0});
  if (!texts.empty()) {
    if (!index.bloom_intact()) return false;
    groups_with_texts(index, &groups);
  }
  bool range_test = !entry.whole && range.bounded();
  std::vector<bool> beyond(index.group_count());  // a time beyond where the scan stops
  for (size_t group = 0; group < index.group_count(); ++group) {
    PackedTime earliest = index.group_earliest(group), latest = index.group_latest(group);
    if (!range_test || earliest == kNoTime) continue;
    std::string first = unpacked_time(earliest), last = unpacked_time(latest);
    if (!range.overlaps(first, last)) groups[group / 64] &= ~(uint64_t{1} << (group % 64));
    beyond[group] = !entry.stop_after.empty() &&
                    std::memcmp(last.data(), entry.stop_after.data(), kRecordTimeLength) > 0;
  }
  if (!fields.empty()) {
    if (!index.has_fields() || !index.fields_intact()) return false;
    for (size_t group = 0; group < kFieldGroups; ++group) {
      // A group with too many combinations was not kept: its filters leave nothing out here.
      if (group_filtered[group] && index.group_indexed(group) &&
          !blocks_with_values(index, group, &blocks)) {
        return false;
      }
    }
  }

  bool field_filters = filter.has_field_filters();
  for (size_t block = 0; block < count; ++block) {
    size_t group = block / kGroupBlocks;
    uint8_t flags = index.block_flags(block);
    bool in_doubt = (range_test && (flags & kBlockTimeless) != 0) ||
                    (field_filters && (flags & kBlockFaulty) != 0);
    bool wanted = test_bit(blocks, block) && test_bit(groups, group);
    if (!wanted && !in_doubt && !beyond[group]) continue;
    ChosenBlock chosen_block;
    chosen_block.begin = index.block_offset(block);
    chosen_block.end = index.block_end(block);
    chosen_block.first_line = index.block_first_line(block);
    chosen_block.hash = index.block_hash(block);
    // Only where every line that does not match is sure to leave no trace may the block be
    // searched for the narrowing text alone.
    chosen_block.narrowed = flags == 0 && !beyond[group];
    chosen->push_back(chosen_block);
  }
  return true;
}

}  // namespace sarvik::query
