// Sealing one log's lines: each line as a record of the log's chain in its journal.
#include "seal/chain_sealer.h"

#include <string.h>
#include <unistd.h>

#include <limits>
#include <utility>

#include "logstore/log_format.h"
#include "seal/line_ends.h"
#include "seal/seal_crypto.h"
#include "seal/seal_paths.h"

namespace sarvik {

namespace {

constexpr size_t kMarkBytes = sizeof kByteOrderMark - 1;
constexpr size_t kLineEndBytes = sizeof kLineEnd - 1;

// "YYYYMM/name", how the state names a log file.
std::string name_in_log(const std::string& month, const std::string& name) {
  std::string joined;
  joined.reserve(month.size() + 1 + name.size());
  return joined.append(month).append(1, '/').append(name);
}

uint32_t line_number(uint64_t number) {
  return number > std::numeric_limits<uint32_t>::max() ? 0 : static_cast<uint32_t>(number);
}

// The lines a reader sees in `text`: a CR LF inside it ends one of them.
uint32_t reader_lines(const std::string& text) {
  uint32_t lines = 1;
  for (size_t at = text.find(kLineEnd); at != std::string::npos;
       at = text.find(kLineEnd, at + kLineEndBytes)) {
    ++lines;
  }
  return lines;
}

// "access" for the access log's chain.
std::string log_word(int chain) {
  std::string prefix = kSealChainTable[chain].log->prefix;
  return prefix.substr(0, prefix.size() - 1);
}

}  // namespace

ChainSealer::ChainSealer(int chain, int journal_fd, std::string journal_path, uint8_t* key_file,
                         const ChainHead& head, std::ostream& errors, std::ostream& progress)
    : chain(chain),
      journal(journal_fd),
      journal_path(std::move(journal_path)),
      key_file(key_file),
      window(journal_fd),
      head(head),
      errors(errors),
      progress(progress) {}

ChainSealer::~ChainSealer() {
  window.close_at(head.journal_bytes);
  close(journal);
  erase_secret(head.key.data(), head.key.size());
}

bool ChainSealer::in_followed_file(const WrittenLine& line) {
  if (line.device != head.device || line.inode != head.inode) return false;
  if (followed_name.empty()) {
    // After a start the head knows the file by the hash of its name alone.
    const std::string name = name_in_log(line.month, line.name);
    if (seal_hash(name.data(), name.size()) != head.name_hash) return false;
    followed_month = line.month;
    followed_name = line.name;
    return true;
  }
  return line.name == followed_name && line.month == followed_month;
}

uint32_t ChainSealer::number_in_file(const WrittenLine& line, bool same_file) {
  uint64_t ends = 0;
  // Lines that another hand added since the last line sealed: counted from there.
  if (same_file && head.next_line != 0 && line.offset > head.next_offset &&
      count_line_ends(line.log_root, line.month, line.name, line.device, line.inode,
                      head.next_offset, line.offset, &ends)) {
    return line_number(head.next_line + ends);
  }
  if (line.opened_empty && line.offset == kMarkBytes) return 1;
  if (count_line_ends(line.log_root, line.month, line.name, line.device, line.inode, 0, line.offset,
                      &ends)) {
    return line_number(ends + 1);
  }
  return 0;
}

bool ChainSealer::append_file_record(SealType type, const std::string& month,
                                     const std::string& name, uint64_t device, uint64_t inode) {
  SealRecord record;
  record.type = type;
  record.seq = next_seq;
  record.device = device;
  record.inode = inode;
  record.name = name_in_log(month, name);
  if (record.name.size() > kMaxSealName) return false;
  const size_t at = records.size();
  records += encode_seal(record);
  auto* bytes = reinterpret_cast<uint8_t*>(&records[at]);
  next_tag = seal_tag(next_key, next_tag, bytes, record.name.size(), &next_key);
  memcpy(bytes + kTagOffset, next_tag.data(), kSealTagBytes);
  ++next_seq;
  return true;
}

void ChainSealer::append_line_record(uint32_t number, uint64_t offset, const char* text,
                                     size_t length, uint32_t unsealed_before) {
  SealRecord record;
  record.seq = next_seq;
  record.line = number;
  record.offset = offset;
  record.length = static_cast<uint32_t>(length);
  record.unsealed_before = unsealed_before;
  record.hash = seal_hash(text, length);
  uint8_t bytes[kSlotBytes];
  encode_line_seal(record, bytes);
  next_tag = seal_tag(next_key, next_tag, bytes, 0, &next_key);
  memcpy(bytes + kTagOffset, next_tag.data(), kSealTagBytes);
  records.append(reinterpret_cast<const char*>(bytes), sizeof bytes);
  ++next_seq;
}

void ChainSealer::add_to_block(uint64_t offset, const char* text, size_t length) {
  if (block_lines > 0 && offset != block_to) {
    block.finish();  // the block is given up: only what follows is added
    block_lines = 0;
  }
  if (block_lines == 0) block_from = offset;
  block.add(text, length);
  block.add(kLineEnd, kLineEndBytes);
  block_to = offset + length + kLineEndBytes;
  if (++block_lines < kDigestLines) return;
  SealRecord record;
  record.type = SealType::kDigest;
  record.seq = next_seq;
  record.line = block_lines;
  record.offset = block_from;
  record.end = block_to;
  record.hash = block.finish();
  block_lines = 0;
  uint8_t bytes[kSlotBytes];
  memcpy(bytes, encode_seal(record).data(), kSlotBytes);
  next_tag = seal_tag(next_key, next_tag, bytes, 0, &next_key);
  memcpy(bytes + kTagOffset, next_tag.data(), kSealTagBytes);
  records.append(reinterpret_cast<const char*>(bytes), sizeof bytes);
  ++next_seq;
}

bool ChainSealer::write_records(const std::string& why_not) {
  std::string reason = why_not;
  if (reason.empty()) {
    const int error = window.write(records.data(), records.size(), head.journal_bytes);
    if (error == 0) {
      if (failing) {
        progress << "seal: the lines of the " << log_word(chain) << " log are sealed again; "
                 << unsealed_lines << " were written unsealed\n";
        failing = false;
      }
      return true;
    }
    reason = strerror(error);
  }
  if (!failing) {
    errors << "Error: cannot seal the lines of the " << log_word(chain) << " log in "
           << journal_path << ": " << reason
           << "; they are written unsealed until a seal can be written again" << std::endl;
    failing = true;
    unsealed_lines = 0;
  }
  return false;
}

void ChainSealer::line_written(const WrittenLine& line) {
  const bool same_file = in_followed_file(line);
  const uint32_t number = same_file && line.offset == head.next_offset
                              ? head.next_line
                              : number_in_file(line, same_file);
  if (!same_file) {
    block.finish();  // a block never spans two files
    block_lines = 0;
    head.device = line.device;
    head.inode = line.inode;
    followed_month = line.month;
    followed_name = line.name;
    const std::string name = name_in_log(line.month, line.name);
    head.name_hash = seal_hash(name.data(), name.size());
    head.run_open = false;
    head.unsealed = 0;
  }
  const uint32_t lines = reader_lines(line.text);
  records.clear();
  next_seq = head.next_seq;
  next_key = head.key;
  next_tag = head.last_tag;
  bool made = head.run_open ||
              append_file_record(SealType::kFile, line.month, line.name, line.device, line.inode);
  if (made) {
    uint32_t piece = 0;
    for (size_t start = 0;; ++piece) {
      size_t end = line.text.find(kLineEnd, start);
      size_t stop = end == std::string::npos ? line.text.size() : end;
      append_line_record(number == 0 ? 0 : number + piece, line.offset + start,
                         line.text.data() + start, stop - start, piece == 0 ? head.unsealed : 0);
      add_to_block(line.offset + start, line.text.data() + start, stop - start);
      if (end == std::string::npos) break;
      start = end + kLineEndBytes;
    }
  }
  if (write_records(made ? "" : "the file's name is too long to be sealed")) {
    head.next_seq = next_seq;
    head.key = next_key;
    head.last_tag = next_tag;
    head.journal_bytes += records.size();
    head.run_open = true;
    head.unsealed = 0;
  } else {
    head.unsealed += lines;
    unsealed_lines += lines;
    block.finish();  // the block held lines that are not sealed: it is given up
    block_lines = 0;
  }
  head.next_offset = line.offset + line.text.size() + kLineEndBytes;
  head.next_line = number == 0 ? 0 : line_number(uint64_t{number} + lines);
  save_head();
}

void ChainSealer::file_expired(const ExpiredFile& file) {
  records.clear();
  next_seq = head.next_seq;
  next_key = head.key;
  next_tag = head.last_tag;
  bool made =
      append_file_record(SealType::kExpired, file.month, file.name, file.device, file.inode);
  if (write_records(made ? "" : "the file's name is too long to be sealed")) {
    head.next_seq = next_seq;
    head.key = next_key;
    head.last_tag = next_tag;
    head.journal_bytes += records.size();
  }
  save_head();
}

// The key file's part of this chain is rewritten in place, so the previous key is gone from it;
// the copy the records were made with is erased.
void ChainSealer::save_head() {
  encode_chain_head(head, chain, key_file);
  erase_secret(next_key.data(), next_key.size());
}

}  // namespace sarvik
