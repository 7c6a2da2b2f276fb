// The checker's findings: collected per file and printed in the compiler form.
#include "check/diagnostic.h"

#include <algorithm>

namespace sarvik::check {

namespace {

const char* severity_word(Severity severity) {
  switch (severity) {
    case Severity::kError:
      return "error";
    case Severity::kWarning:
      return "warning";
    case Severity::kNote:
      return "note";
  }
  return "note";
}

// "1 error", "2 warnings", "0 errors".
std::string counted(int count, const char* word) {
  std::string text = std::to_string(count) + " " + word;
  return count == 1 ? text : text + "s";
}

}  // namespace

std::string format_diagnostic(const Diagnostic& diagnostic) {
  std::string text = diagnostic.file + ":";
  if (diagnostic.line > 0) text += std::to_string(diagnostic.line) + ":";
  return text + " " + severity_word(diagnostic.severity) + ": " + diagnostic.message;
}

void Report::add(Diagnostic diagnostic) { diagnostics.push_back(std::move(diagnostic)); }

void Report::print(std::ostream& out) const {
  std::vector<std::string> files;
  for (const Diagnostic& diagnostic : diagnostics) {
    if (std::find(files.begin(), files.end(), diagnostic.file) == files.end()) {
      files.push_back(diagnostic.file);
    }
  }
  std::vector<Diagnostic> sorted = diagnostics;
  std::stable_sort(sorted.begin(), sorted.end(), [&](const Diagnostic& a, const Diagnostic& b) {
    auto file_a = std::find(files.begin(), files.end(), a.file);
    auto file_b = std::find(files.begin(), files.end(), b.file);
    if (file_a != file_b) return file_a < file_b;
    return a.line < b.line;
  });
  for (const Diagnostic& diagnostic : sorted) out << format_diagnostic(diagnostic) << "\n";
  out << "sarvik-check: " << counted(count(Severity::kError), "error") << ", "
      << counted(count(Severity::kWarning), "warning") << "\n";
}

int Report::exit_status() const {
  if (count(Severity::kError) > 0) return 2;
  return count(Severity::kWarning) > 0 ? 1 : 0;
}

int Report::count(Severity severity) const {
  return static_cast<int>(
      std::count_if(diagnostics.begin(), diagnostics.end(),
                    [&](const Diagnostic& d) { return d.severity == severity; }));
}

void FileDiagnostics::error(int line, const std::string& message) {
  report.add(Diagnostic{file, line, Severity::kError, message});
}

void FileDiagnostics::warning(int line, const std::string& message) {
  report.add(Diagnostic{file, line, Severity::kWarning, message});
}

void FileDiagnostics::note(int line, const std::string& message) {
  report.add(Diagnostic{file, line, Severity::kNote, message});
}

std::string quoted(const std::string& text) {
  std::string result = "\"";
  for (char c : text) {
    switch (c) {
      case '\n':
        result += "\\n";
        break;
      case '\r':
        result += "\\r";
        break;
      case '\t':
        result += "\\t";
        break;
      default:
        result += c;
    }
  }
  return result + "\"";
}

std::string clock_text(int hour, int minute) {
  std::string text = std::to_string(hour) + ":";
  if (minute >= 0 && minute < 10) text += "0";
  return text + std::to_string(minute);
}

}  // namespace sarvik::check
