// The lines of the logs on the appliance's volume and the records that reached the collector,
// and how the ones must show in the others.
#include "forwarding/forwarded_lines.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "harness/log_reader.h"
#include "logstore/log_format.h"
#include "testing/file_text.h"

namespace sarvik::testing {

namespace {

struct Log {
  const char* kind;
  const char* dir;
  int columns;
};
constexpr Log kLogs[] = {
    {"system", "systemlog", 4}, {"access", "accesslog", 8}, {"alert", "alertlog", 8}};

}  // namespace

std::vector<LogLine> lines_on_volume(const std::string& volume) {
  std::vector<LogLine> lines;
  for (const Log& log : kLogs) {
    for (const std::string& name : log_files(log.dir, volume)) {
      std::string file = std::string(log.dir) + "/" + name;
      std::string content = read_file(volume + "/" + file);
      size_t at = 0;
      while (at < content.size()) {
        // A line ends with CR LF; a line feed alone is part of a record's text.
        size_t end = content.find("\r\n", at);
        if (end == std::string::npos) break;  // a line still being written
        std::string text = content.substr(at, end - at);
        if (at == 0 && text.rfind(kByteOrderMark, 0) == 0) text.erase(0, 3);
        lines.push_back(LogLine{log.kind, file, static_cast<long>(at), text});
        at = end + 2;
      }
    }
  }
  return lines;
}

std::map<std::string, std::string> expected_fields(const LogLine& line) {
  static const std::vector<std::string> kAccessNames{"time", "user",   "host",  "ip",
                                                     "op",   "result", "share", "path"};
  static const std::vector<std::string> kSystemNames{"time", "text1", "text2", "text3"};
  const std::vector<std::string>& names = line.kind == "system" ? kSystemNames : kAccessNames;
  std::map<std::string, std::string> fields;
  size_t at = 0;
  for (size_t i = 0; i + 1 < names.size(); ++i) {
    size_t comma = line.text.find(',', at);
    if (comma == std::string::npos) return {{"raw", line.text}};
    fields[names[i]] = line.text.substr(at, comma - at);
    at = comma + 1;
  }
  fields[names.back()] = line.text.substr(at);
  return fields;
}

std::vector<ForwardedRecord> read_forwarded(const std::string& dir,
                                            std::vector<std::string>* errors) {
  std::vector<ForwardedRecord> records;
  for (const std::string& appliance : list_dir(dir)) {
    for (const std::string& name : list_dir(dir + "/" + appliance)) {
      std::string path = dir + "/" + appliance + "/" + name;
      std::string content = read_file(path);
      size_t at = 0;
      while (at < content.size()) {
        size_t end = content.find('\n', at);
        if (end == std::string::npos) end = content.size();
        std::string text = content.substr(at, end - at);
        at = end + 1;
        nlohmann::json object = nlohmann::json::parse(text, nullptr, /*allow_exceptions=*/false);
        if (!object.is_object() || !object["appliance"].is_string() ||
            !object["kind"].is_string() || !object["file"].is_string() ||
            !object["offset"].is_number_integer()) {
          errors->push_back(path + ": " + text);
          continue;
        }
        ForwardedRecord record;
        for (const auto& [key, value] : object.items()) {
          if (key == "offset") {
            record.offset = value.get<long>();
          } else if (!value.is_string()) {
            errors->push_back(path + ": member " + key + " is no text: " + text);
          } else if (key == "appliance") {
            record.appliance = value.get<std::string>();
          } else if (key == "kind") {
            record.kind = value.get<std::string>();
          } else if (key == "file") {
            record.file = value.get<std::string>();
          } else {
            record.fields[key] = value.get<std::string>();
          }
        }
        records.push_back(record);
      }
    }
  }
  return records;
}

long forwarded_line_count(const std::string& dir) {
  long count = 0;
  for (const std::string& appliance : list_dir(dir)) {
    for (const std::string& name : list_dir(dir + "/" + appliance)) {
      std::string content = read_file(dir + "/" + appliance + "/" + name);
      count += std::count(content.begin(), content.end(), '\n');
    }
  }
  return count;
}

}  // namespace sarvik::testing
