// Verifying one log file against its seals.
#include "verify/file_check.h"

#include <errno.h>
#include <string.h>
#include <sys/stat.h>

#include <algorithm>

#include "seal/seal_crypto.h"

namespace sarvik::verify {

namespace {

std::string number_text(uint32_t number) { return number == 0 ? "?" : std::to_string(number); }

// "sealed line 5" or "sealed lines 5 to 9".
std::string sealed_text(const LineFinding& run) {
  if (run.sealed_count == 1) return "sealed line " + number_text(run.first_sealed);
  return "sealed lines " + number_text(run.first_sealed) + " to " + number_text(run.last_sealed);
}

std::string lines_text(const LineFinding& run) {
  return "lines " + std::to_string(run.first_line) + " to " +
         std::to_string(run.first_line + run.line_count - 1);
}

std::string explain(const LineFinding& run) {
  const bool one = run.line_count == 1;
  switch (run.verdict) {
    case LineVerdict::kModified:
      return one ? "the line differs from the one sealed there (" + sealed_text(run) + ")"
                 : lines_text(run) + " differ from the ones sealed there (" + sealed_text(run) +
                       ")";
    case LineVerdict::kDeleted:
      return std::to_string(run.sealed_count) +
             (run.sealed_count == 1 ? " sealed line is" : " sealed lines are") + " missing here (" +
             sealed_text(run) + ")";
    case LineVerdict::kInserted:
      return one ? "a line the service never wrote"
                 : std::to_string(run.line_count) + " lines the service never wrote (" +
                       lines_text(run) + ")";
    case LineVerdict::kReordered:
      return one ? "this line was sealed as line " + number_text(run.first_sealed)
                 : lines_text(run) + " were sealed as lines " + number_text(run.first_sealed) +
                       " to " + number_text(run.last_sealed);
    case LineVerdict::kTruncated:
      return "the file ends after line " + std::to_string(run.first_line - 1) + ": " +
             std::to_string(run.sealed_count) +
             (run.sealed_count == 1 ? " sealed line is" : " sealed lines are") + " gone (" +
             sealed_text(run) + ")";
    case LineVerdict::kUnsealed:
      return (one ? std::string("this line is not sealed") : lines_text(run) + " are not sealed") +
             ": written before sealing began, while it failed, or after the last seal";
  }
  return "";
}

FindingKind kind_of(LineVerdict verdict) {
  switch (verdict) {
    case LineVerdict::kModified:
      return FindingKind::kModified;
    case LineVerdict::kDeleted:
      return FindingKind::kDeleted;
    case LineVerdict::kInserted:
      return FindingKind::kInserted;
    case LineVerdict::kReordered:
      return FindingKind::kReordered;
    case LineVerdict::kTruncated:
      return FindingKind::kTruncated;
    case LineVerdict::kUnsealed:
      return FindingKind::kUnsealed;
  }
  return FindingKind::kModified;
}

std::string identity_text(uint64_t inode) { return "inode " + std::to_string(inode); }

// The generation from which on the generations are the file that stands under the name: the
// last one the service began as a fresh file (its first line sealed as line 1). The ones before
// were files of this name that are gone.
size_t current_from(const SealedFile& sealed) {
  for (size_t generation = sealed.generations.size(); generation-- > 1;) {
    if (sealed.generations[generation].first_line == 1) return generation;
  }
  return 0;
}

// "sealed lines 1 to 40" of generations [from, to).
std::string sealed_span(const SealedFile& sealed, size_t from, size_t to) {
  uint64_t lines = 0;
  for (size_t generation = from; generation < to; ++generation) {
    lines += sealed.generations[generation].lines;
  }
  const uint32_t first = sealed.generations[from].first_line;
  if (lines == 0) return "no sealed line";
  if (first == 0) return std::to_string(lines) + " sealed lines";
  return lines == 1
             ? "sealed line " + std::to_string(first)
             : "sealed lines " + std::to_string(first) + " to " + std::to_string(first + lines - 1);
}

// Findings for the files of the name that are gone: generations [0, to), a file per run that
// begins fresh. Those the service's expiry deleted are no finding.
void tell_gone(const SealedFile& sealed, size_t to, FileVerdict* verdict) {
  size_t from = 0;
  for (size_t generation = 1; generation <= to; ++generation) {
    if (generation < to && sealed.generations[generation].first_line != 1) continue;
    if (!sealed.generations[generation - 1].expired) {
      Finding finding{FindingKind::kMissing, verdict->file, 0, 0, 0, ""};
      finding.explanation = generation == sealed.generations.size()
                                ? "the file is gone (" + sealed_span(sealed, from, generation) + ")"
                                : "an earlier file of this name is gone (" +
                                      sealed_span(sealed, from, generation) +
                                      "); the service began this one afresh";
      verdict->findings.push_back(finding);
    }
    from = generation;
  }
}

}  // namespace

FileVerdict verify_file(const query::LogTree& tree, const FileToVerify& file, int journal_fd,
                        VerifyScratch& scratch, query::Problems& problems) {
  FileVerdict verdict;
  verdict.file = tree.relative_path(file.month, file.name);
  const size_t generations = file.sealed == nullptr ? 0 : file.sealed->generations.size();
  const size_t current = file.sealed == nullptr ? 0 : current_from(*file.sealed);
  std::string why;
  query::Descriptor fd;
  if (file.listed) fd = tree.open_file(file.month, file.name, &why);
  if (!fd.valid()) {
    if (file.listed && errno != ENOENT) {
      problems.fail(verdict.file + ": " + why);
      return verdict;
    }
    verdict.gone = true;
    verdict.expired = generations > 0 && file.sealed->generations.back().expired;
    if (generations > 0) tell_gone(*file.sealed, generations, &verdict);
    return verdict;
  }
  if (current > 0) tell_gone(*file.sealed, current, &verdict);

  struct stat status;
  if (fstat(fd.get(), &status) != 0) {
    problems.fail(verdict.file + ": " + strerror(errno));
    return verdict;
  }
  // The common case first: one file of the name, the one sealed, every line as sealed.
  if (current + 1 == generations) {
    const SealedGeneration& only = file.sealed->generations[current];
    if (only.device == static_cast<uint64_t>(status.st_dev) &&
        only.inode == static_cast<uint64_t>(status.st_ino) &&
        stands_as_sealed(fd.get(), journal_fd, only, file.size, file.journal_size, scratch.hashing,
                         &verdict.verified)) {
      return verdict;
    }
    verdict.verified = 0;
  }
  std::vector<SealedLine>& seals = scratch.seals;
  seals.clear();
  for (size_t generation = current; generation < generations; ++generation) {
    const SealedGeneration& sealed = file.sealed->generations[generation];
    const SealedGeneration* before =
        generation > current ? &file.sealed->generations[generation - 1] : nullptr;
    if (before != nullptr && (sealed.inode != before->inode || sealed.device != before->device)) {
      Finding finding{FindingKind::kReplaced, verdict.file, 0, 0, sealed.first_line, ""};
      finding.explanation = "before sealed line " + number_text(sealed.first_line) +
                            " the file was replaced by another (" + identity_text(before->inode) +
                            ", then " + identity_text(sealed.inode) + ")";
      verdict.findings.push_back(finding);
    }
    if (!read_sealed_lines(journal_fd, sealed.spans, file.journal_size, &seals)) {
      problems.fail("the seals of " + verdict.file + " cannot be read: " + strerror(errno));
      return verdict;
    }
  }
  // Seals made after the file was listed, of lines it did not hold then.
  seals.erase(
      std::remove_if(seals.begin(), seals.end(),
                     [&](const SealedLine& seal) { return seal.late && seal.offset >= file.size; }),
      seals.end());
  if (!hash_each_line(fd.get(), file.size, scratch.hashing, &scratch.lines)) {
    problems.fail(verdict.file + ": " + strerror(errno));
    return verdict;
  }
  if (generations > 0) {
    const SealedGeneration& last = file.sealed->generations.back();
    if (last.device != static_cast<uint64_t>(status.st_dev) ||
        last.inode != static_cast<uint64_t>(status.st_ino)) {
      Finding finding{FindingKind::kReplaced, verdict.file, 0, 0, 0, ""};
      finding.explanation = "another file now has this name (sealed: " + identity_text(last.inode) +
                            " of device " + std::to_string(last.device) +
                            "; now: " + identity_text(static_cast<uint64_t>(status.st_ino)) +
                            " of device " + std::to_string(static_cast<uint64_t>(status.st_dev)) +
                            ")";
      verdict.findings.push_back(finding);
    }
  }
  MatchResult match = match_lines(seals, scratch.lines);
  verdict.verified = match.verified;
  for (const LineFinding& run : match.findings) {
    Finding finding{kind_of(run.verdict), verdict.file,     run.first_line,
                    run.line_count,       run.first_sealed, ""};
    finding.explanation = explain(run);
    verdict.findings.push_back(finding);
  }
  return verdict;
}

}  // namespace sarvik::verify
