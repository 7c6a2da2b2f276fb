// Fuzz target: a log file as anybody could write it, read back as the log reader reads it. The
// lines come out the same forward and backward at any block size, the columns put back together
// give the line, and nothing of a line that reaches a terminal or a JSON text is left raw.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include "fuzz_input.h"
#include "fuzz_target.h"
#include "query/chunk_reader.h"
#include "query/display_text.h"
#include "query/field_encoding.h"
#include "query/utf8.h"
#include "record/record_columns.h"

namespace fuzz = sarvik::fuzzing;

namespace {

using namespace sarvik;
using namespace sarvik::query;

constexpr size_t kMaxFile = 4096;
constexpr size_t kMaxBlock = 64;

std::vector<std::string> lines_of(const Chunk& chunk) {
  std::vector<std::string> lines;
  for (const char* start = chunk.begin; start < chunk.end;) {
    const char* end = find_line_end(start, chunk.end);
    lines.emplace_back(start, end);
    start = end == chunk.end ? end : end + 2;
  }
  return lines;
}

// Every byte of `text` belongs to a valid UTF-8 sequence of a character that a terminal shows.
bool is_shown_text(const std::string& text) {
  for (size_t i = 0; i < text.size();) {
    uint32_t code_point = 0;
    size_t length = utf8_sequence(std::string_view(text).substr(i), &code_point);
    if (length == 0 || is_terminal_control(code_point)) return false;
    i += length;
  }
  return true;
}

// The field of a CSV text that append_csv_field wrote, its quoting undone.
std::string csv_unquoted(const std::string& field) {
  if (field.empty() || field[0] != '"') return field;
  std::string text;
  for (size_t i = 1; i + 1 < field.size(); ++i) {
    text += field[i];
    if (field[i] == '"') ++i;  // a doubled quote
  }
  return text;
}

void check_line(const std::string& line) {
  if (line.find("\r\n") != std::string::npos) fuzz::fuzz_fail("a line holds its line end");
  AccessColumns access = read_access_columns(line);
  if (access.fault != ColumnFault::kTooFew) {
    const std::string_view fields[] = {access.time,      access.user,   access.host,  access.ipaddr,
                                       access.operation, access.result, access.share, access.path};
    std::string joined(fields[0]);
    for (size_t i = 1; i < 8; ++i) joined.append(",").append(fields[i]);
    if (joined != line) fuzz::fuzz_fail("access columns do not give the line back");
  }
  SystemColumns system = read_system_columns(line);
  if (system.fault != ColumnFault::kTooFew) {
    std::string joined = std::string(system.time) + "," + std::string(system.text1) + "," +
                         std::string(system.text2) + "," + std::string(system.text3);
    if (joined != line) fuzz::fuzz_fail("system columns do not give the line back");
    if (std::string(system.time) + "," + std::string(system.texts) != line) {
      fuzz::fuzz_fail("the joined texts are not the rest of the line");
    }
  }
  if (!is_shown_text(display_text(line))) fuzz::fuzz_fail("a terminal would act on shown text");
  std::string json;
  append_json_string(&json, line);
  if (!is_shown_text(json)) fuzz::fuzz_fail("JSON text holds a control or invalid UTF-8");
  std::string csv, scratch;
  append_csv_field(&csv, line, /*terminal=*/false, &scratch);
  if (csv_unquoted(csv) != line) fuzz::fuzz_fail("a CSV field does not read back");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::FuzzInput in(data, size);
  size_t block = 1 + in.take_byte() % kMaxBlock;
  std::string content = in.take_rest(kMaxFile);
  int fd = memfd_create("log", MFD_CLOEXEC);
  if (fd < 0 || write(fd, content.data(), content.size()) != static_cast<ssize_t>(content.size())) {
    fuzz::fuzz_fail("no memory file");
  }
  ChunkReader reader(block, 4 * kMaxBlock);
  std::vector<std::string> forward, backward;
  int64_t end = reader.read_forward(fd, 0, [&](const Chunk& chunk) {
    for (std::string& line : lines_of(chunk)) forward.push_back(line);
    return true;
  });
  reader.read_backward(fd, static_cast<uint64_t>(end), [&](const Chunk& chunk) {
    std::vector<std::string> lines = lines_of(chunk);
    backward.insert(backward.end(), lines.rbegin(), lines.rend());
    return true;
  });
  close(fd);
  std::reverse(backward.begin(), backward.end());
  // Lines about as long as the reader holds come in pieces, cut where each direction met the
  // limit, which its block and the line end shift a little.
  bool pieces = false;
  for (const std::string& line : forward)
    pieces = pieces || line.size() + kMaxBlock + 8 >= 4 * kMaxBlock;
  if (!pieces && backward != forward) fuzz::fuzz_fail("backward is not forward reversed");
  for (const std::string& line : forward) check_line(line);
  return 0;
}
