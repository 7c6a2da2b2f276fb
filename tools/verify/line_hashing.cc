// The hashes of a log file's lines, taken a block at a time where the seals hold digests.
#include "verify/line_hashing.h"

#include <algorithm>

namespace sarvik::verify {

namespace {

// A line longer than this cannot be one the service wrote: only this much of it is hashed.
constexpr size_t kLongestHashed = size_t{64} * 1024 * 1024;
constexpr size_t kLineEndBytes = 2;

}  // namespace

bool hash_each_line(int fd, uint64_t size, HashScratch& scratch, std::vector<SealHash>* hashes) {
  std::string& long_line = scratch.long_line;
  hashes->clear();
  long_line.clear();
  bool in_long_line = false;
  int64_t end = scratch.reader.read_forward(fd, 0, [&](const query::Chunk& chunk) {
    for (const char* start = chunk.begin; start < chunk.end;) {
      const char* line_end = query::find_line_end(start, chunk.end);
      const size_t length = static_cast<size_t>(line_end - start);
      if (!in_long_line &&
          chunk.offset + static_cast<uint64_t>(line_end - chunk.begin) + kLineEndBytes > size) {
        return false;  // not whole when the file was listed
      }
      if (line_end == chunk.end && chunk.cut) {  // the line goes on in the next chunk
        long_line.append(start, std::min(length, kLongestHashed - long_line.size()));
        in_long_line = true;
        break;
      }
      if (in_long_line) {
        long_line.append(start, std::min(length, kLongestHashed - long_line.size()));
        hashes->push_back(seal_hash(long_line.data(), long_line.size()));
        long_line.clear();
        in_long_line = false;
      } else {
        hashes->push_back(seal_hash(start, length));
      }
      start = line_end + kLineEndBytes;
    }
    return true;
  });
  return end >= 0;
}

namespace {

// The seals [first, first + count) of `generation` appended to `*out`.
bool read_seal_range(int journal_fd, const SealedGeneration& generation, uint64_t first,
                     uint64_t count, uint64_t late_from, std::vector<SealedLine>* out) {
  std::vector<SealSpan> wanted;
  uint64_t index = 0;
  for (const SealSpan& span : generation.spans) {
    const uint64_t from = std::max(first, index);
    const uint64_t to = std::min(first + count, index + span.records);
    if (from < to) wanted.push_back(SealSpan{span.offset + (from - index) * kSlotBytes, to - from});
    index += span.records;
  }
  return read_sealed_lines(journal_fd, wanted, late_from, out);
}

// Walks a file that should stand as sealed: the blocks' bytes to their digests in one piece per
// chunk, the loose lines one by one against their seals in order.
class SealedWalk {
 public:
  SealedWalk(const std::vector<const BlockDigest*>& blocks,
             const std::vector<uint64_t>& loose_before, uint64_t size, HashScratch& scratch)
      : blocks(blocks), loose_before(loose_before), size(size), scratch(scratch) {}

  bool chunk(const query::Chunk& chunk) {
    if (chunk.cut) return holds = false;
    for (const char* at = chunk.begin; at < chunk.end;) {
      const uint64_t offset = chunk.offset + static_cast<uint64_t>(at - chunk.begin);
      if (in_block) {
        const BlockDigest& block = *blocks[next_block];
        const uint64_t take = std::min<uint64_t>(block.to - offset, chunk.end - at);
        scratch.digest.add(at, take);
        at += take;
        if (offset + take < block.to) continue;
        in_block = false;
        ++next_block;
        if (scratch.digest.finish() != block.digest) return holds = false;
        continue;
      }
      if (next_block < blocks.size() && offset >= blocks[next_block]->from) {
        // A block begins where a line begins, behind the loose lines sealed before it.
        if (offset > blocks[next_block]->from || loose != loose_before[next_block]) {
          return holds = false;
        }
        in_block = true;
        continue;
      }
      const char* line_end = query::find_line_end(at, chunk.end);
      const size_t length = static_cast<size_t>(line_end - at);
      if (offset + length + kLineEndBytes > size) return false;  // not whole when listed
      if (loose == scratch.loose.size() || seal_hash(at, length) != scratch.loose[loose].hash) {
        return holds = false;
      }
      ++loose;
      at = line_end + kLineEndBytes;
    }
    return true;
  }

  bool finished() const {
    return holds && !in_block && next_block == blocks.size() && loose == scratch.loose.size();
  }
  // The lines walked: those of the blocks and the loose ones.
  uint64_t lines() const {
    uint64_t in_blocks = 0;
    for (size_t block = 0; block < next_block; ++block) in_blocks += blocks[block]->lines;
    return in_blocks + loose;
  }

 private:
  const std::vector<const BlockDigest*>& blocks;
  const std::vector<uint64_t>& loose_before;  // per block, the loose seals before it
  const uint64_t size;
  HashScratch& scratch;
  size_t next_block = 0;  // the next block, or the one the walk is in
  bool in_block = false;
  size_t loose = 0;  // loose seals matched so far
  bool holds = true;
};

}  // namespace

bool stands_as_sealed(int fd, int journal_fd, const SealedGeneration& generation, uint64_t size,
                      uint64_t journal_size, HashScratch& scratch, uint64_t* verified) {
  std::vector<const BlockDigest*> blocks;
  std::vector<uint64_t> loose_before;
  scratch.loose.clear();
  uint64_t next_seal = 0;
  uint64_t next_byte = 0;
  for (const BlockDigest& block : generation.digests) {
    if (block.to > size) break;  // its lines were written after the file was listed
    const uint64_t first = block.seal_end - block.lines;
    if (block.lines == 0 || block.seal_end < block.lines || block.seal_end > generation.lines ||
        first < next_seal || block.from < next_byte || block.to <= block.from) {
      return false;  // digests out of order are left to the matching
    }
    if (!read_seal_range(journal_fd, generation, next_seal, first - next_seal, journal_size,
                         &scratch.loose)) {
      return false;
    }
    blocks.push_back(&block);
    loose_before.push_back(scratch.loose.size());
    next_seal = block.seal_end;
    next_byte = block.to;
  }
  if (!read_seal_range(journal_fd, generation, next_seal, generation.lines - next_seal,
                       journal_size, &scratch.loose)) {
    return false;
  }
  // The seals at the end made after the file was listed.
  while (!scratch.loose.empty() && scratch.loose.back().late &&
         scratch.loose.back().offset >= size) {
    scratch.loose.pop_back();
  }
  scratch.digest.finish();
  SealedWalk walk(blocks, loose_before, size, scratch);
  const int64_t end = scratch.reader.read_forward(
      fd, 0, [&](const query::Chunk& chunk) { return walk.chunk(chunk); });
  *verified = walk.lines();
  return end >= 0 && walk.finished();
}

}  // namespace sarvik::verify
