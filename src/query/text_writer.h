// Where the output goes: standard output directly, or through the table's aligner.
#ifndef SARVIK_QUERY_TEXT_WRITER_H_
#define SARVIK_QUERY_TEXT_WRITER_H_

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace sarvik::query {

// Takes text in pieces. One thread at a time.
class TextWriter {
 public:
  virtual ~TextWriter() = default;
  // False once the text can no longer be written (a closed pipe, a full disk).
  virtual bool write(std::string_view text) = 0;
  // Writes out whatever is held back.
  virtual bool flush() = 0;
};

// Writes to a descriptor as it comes; the caller batches.
class FdWriter : public TextWriter {
 public:
  explicit FdWriter(int fd) : fd(fd) {}
  bool write(std::string_view text) override;
  bool flush() override { return !broken; }

 private:
  int fd;
  bool broken = false;
};

// Aligns the rows of the table (fields ending in kTableFieldEnd, rows in kTableRowEnd) into
// columns two blanks apart. The widths come from the first rows, held back until there are
// enough of them or settle() is called; later rows keep those widths, and a longer field
// pushes its row out of line rather than hold up the output. The last field of a row is not
// padded.
class TableWriter : public TextWriter {
 public:
  explicit TableWriter(TextWriter& out) : out(out) {}
  bool write(std::string_view text) override;
  bool flush() override;
  // Fixes the widths with the rows held so far and writes them; later rows go out at once.
  bool settle();

 private:
  bool write_row(std::string_view row);

  TextWriter& out;
  std::string pending;  // a row not complete yet
  std::vector<std::string> held;
  std::vector<size_t> widths;
  bool settled = false;
  std::string line;                      // working space of write_row
  std::vector<std::string_view> fields;  // working space of write_row
};

}  // namespace sarvik::query

#endif  // SARVIK_QUERY_TEXT_WRITER_H_
