// Which file each seal of a journal belongs to.
#include "verify/journal_index.h"

#include <errno.h>
#include <unistd.h>

#include <algorithm>

#include "verify/journal_reader.h"

namespace sarvik::verify {

namespace {

// Line records read back at a time.
constexpr uint64_t kRecordsPerRead = 4096;

SealedGeneration* generation_of(SealedFile& file, const SealRecord& record) {
  if (!file.generations.empty()) {
    SealedGeneration& last = file.generations.back();
    // The service came back to a file it wrote before.
    if (!last.expired && last.device == record.device && last.inode == record.inode) return &last;
  }
  SealedGeneration fresh;
  fresh.device = record.device;
  fresh.inode = record.inode;
  file.generations.push_back(fresh);
  return &file.generations.back();
}

}  // namespace

bool JournalIndex::read(int fd) {
  JournalReader reader(fd);
  SealedGeneration* current = nullptr;  // where the line records go
  for (;;) {
    SealRecord record;
    const uint8_t* bytes = nullptr;
    uint64_t offset = 0;
    std::string why;
    JournalReader::Step step = reader.next(&record, &bytes, &offset, &why);
    if (step == JournalReader::Step::kEnd) return true;
    if (step == JournalReader::Step::kError) return false;
    if (step == JournalReader::Step::kDamaged) {
      // The run goes on behind it: a blank stretch is what a journal put back in place while the
      // service went on writing leaves, and the seals behind it are still those of the run.
      if (damaged++ == 0) first_damaged = "byte " + std::to_string(offset) + ": " + why;
      continue;
    }
    ++record_count;
    if (record.type == SealType::kFile) {
      current = generation_of(by_name[record.name], record);
    } else if (record.type == SealType::kExpired) {
      auto file = by_name.find(record.name);
      if (file == by_name.end()) continue;  // a file sealed before the journal's start
      for (SealedGeneration& generation : file->second.generations) {
        if (generation.device == record.device && generation.inode == record.inode) {
          generation.expired = true;
        }
      }
      current = nullptr;
    } else if (record.type == SealType::kDigest) {
      if (current != nullptr) {
        current->digests.push_back(
            BlockDigest{record.offset, record.end, record.line, current->lines, record.hash});
      }
    } else if (current == nullptr) {
      if (damaged++ == 0) {
        first_damaged = "byte " + std::to_string(offset) + ": a line seal of no known file";
      }
    } else {
      // The lines of a run follow one another: only the first is read whole.
      uint64_t following = 0;
      if (!reader.skip_line_records(&following)) return false;
      record_count += following;
      if (current->lines == 0) current->first_line = record.line;
      current->lines += 1 + following;
      if (!current->spans.empty() &&
          current->spans.back().offset + current->spans.back().records * kSlotBytes == offset) {
        current->spans.back().records += 1 + following;
      } else {
        current->spans.push_back(SealSpan{offset, 1 + following});
      }
    }
  }
}

bool read_sealed_lines(int fd, const std::vector<SealSpan>& spans, uint64_t late_from,
                       std::vector<SealedLine>* lines) {
  std::vector<uint8_t> buffer;
  for (const SealSpan& span : spans) {
    for (uint64_t done = 0; done < span.records;) {
      const uint64_t records = std::min(kRecordsPerRead, span.records - done);
      buffer.resize(records * kSlotBytes);
      const uint64_t at = span.offset + done * kSlotBytes;
      ssize_t got = pread(fd, buffer.data(), buffer.size(), static_cast<off_t>(at));
      if (got < 0 && errno == EINTR) continue;
      if (got != static_cast<ssize_t>(buffer.size())) {
        if (got >= 0) errno = EIO;  // the journal shrank since it was indexed
        return false;
      }
      const size_t first = lines->size();
      lines->resize(first + records);
      for (uint64_t i = 0; i < records; ++i) {
        LineSeal seal;
        if (!read_line_seal(buffer.data() + i * kSlotBytes, &seal)) {
          errno = EIO;
          return false;
        }
        (*lines)[first + i] = SealedLine{seal.line, seal.unsealed_before, seal.hash, seal.offset,
                                         at + i * kSlotBytes >= late_from};
      }
      done += records;
    }
  }
  return true;
}

}  // namespace sarvik::verify
