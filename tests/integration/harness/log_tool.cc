// Running sarvik-log and sarvik-send in end-to-end tests, and reading what sarvik-log writes.
#include "harness/log_tool.h"

#include "harness/records.h"
#include "harness/settings_file.h"
#include "support/fixed_paths.h"
#include "testing/file_text.h"

namespace sarvik::testing {

CommandResult sarvik_log(const std::vector<std::string>& args) {
  std::vector<std::string> argv{SARVIK_LOG_PATH};
  argv.insert(argv.end(), args.begin(), args.end());
  return run_command(argv);
}

CommandResult send_records(const std::vector<std::string>& records) {
  std::string input;
  for (const std::string& record : records) input += record + "\n";
  return run_command({SARVIK_SEND_PATH, "--batch"}, input);
}

namespace {

// Rows of fields as a reader of delimited text finds their ends.
struct Rows {
  void end_field() {
    row.push_back(field);
    field.clear();
  }
  void end_row() {
    end_field();
    rows.push_back(row);
    row.clear();
  }
  std::vector<std::vector<std::string>> rows;
  std::vector<std::string> row;
  std::string field;
};

}  // namespace

std::vector<std::vector<std::string>> csv_rows(const std::string& text) {
  Rows read;
  bool quoted = false;
  for (size_t i = 0; i < text.size(); ++i) {
    char c = text[i];
    if (quoted && c == '"' && i + 1 < text.size() && text[i + 1] == '"') {
      read.field += '"';
      ++i;
    } else if (c == '"') {
      quoted = !quoted;
    } else if (!quoted && c == ',') {
      read.end_field();
    } else if (!quoted && c == '\n') {
      read.end_row();
    } else {
      read.field += c;
    }
  }
  return read.rows;
}

std::vector<std::vector<std::string>> tsv_rows(const std::string& text) {
  Rows read;
  for (size_t i = 0; i < text.size(); ++i) {
    char c = text[i];
    if (c == '\\' && i + 1 < text.size()) {
      char next = text[++i];
      read.field += next == 't' ? '\t' : next == 'n' ? '\n' : next == 'r' ? '\r' : next;
    } else if (c == '\t') {
      read.end_field();
    } else if (c == '\n') {
      read.end_row();
    } else {
      read.field += c;
    }
  }
  return read.rows;
}

std::string fill_current_access_file(time_t when) {
  std::string month = month_dir(when);
  std::string name = "access_" + local_text(when, "%Y%m%d%H%M%S") + ".csv";
  std::string content = "\xEF\xBB\xBF";
  for (int line = 1; line <= 65534; ++line) {
    content += record_time(when) + ",seed,pc0,192.0.2.1,open_read,ok,docs,seed/" +
               std::to_string(line) + "\r\n";
  }
  std::string relative = "accesslog/" + month + "/" + name;
  make_dirs(std::string(kLogVolume) + "/accesslog/" + month);
  write_file(std::string(kLogVolume) + "/" + relative, content);
  write_file(std::string(paths::kStateDir) + "/access_info", name + "\n65534\n");
  return relative;
}

}  // namespace sarvik::testing
