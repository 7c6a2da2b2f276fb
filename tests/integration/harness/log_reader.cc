// Reading the service's logs back in end-to-end tests.
#include "harness/log_reader.h"

#include "testing/file_text.h"

namespace sarvik::testing {

std::vector<std::string> log_files(const std::string& log, const std::string& volume) {
  std::vector<std::string> files;
  std::string root = volume + "/" + log;
  for (const std::string& month : list_dir(root)) {
    for (const std::string& name : list_dir(root + "/" + month))
      files.push_back(month + "/" + name);
  }
  return files;
}

std::vector<std::string> log_lines(const std::string& log, const std::string& volume) {
  static const std::string kMark = "\xEF\xBB\xBF";
  std::vector<std::string> lines;
  for (const std::string& file : log_files(log, volume)) {
    std::string text = read_file(volume + "/" + log + "/" + file);
    if (text.compare(0, kMark.size(), kMark) != 0) {
      lines.push_back("<no mark>");
      continue;
    }
    size_t start = kMark.size();
    for (size_t end = text.find("\r\n", start); end != std::string::npos;
         end = text.find("\r\n", start)) {
      lines.push_back(text.substr(start, end - start));
      start = end + 2;
    }
  }
  return lines;
}

std::vector<std::string> fields_of(const std::string& line) {
  std::vector<std::string> fields;
  size_t start = 0;
  for (size_t comma = line.find(','); comma != std::string::npos; comma = line.find(',', start)) {
    fields.push_back(line.substr(start, comma - start));
    start = comma + 1;
  }
  fields.push_back(line.substr(start));
  return fields;
}

}  // namespace sarvik::testing
