// The checker's findings: collected per file and printed in the compiler form.
#ifndef SARVIK_TOOLS_CHECK_DIAGNOSTIC_H_
#define SARVIK_TOOLS_CHECK_DIAGNOSTIC_H_

#include <ostream>
#include <string>
#include <vector>

namespace sarvik::check {

// Errors make requests fail or keep the service from starting; warnings mark settings that do
// not mean what they seem to; notes explain and never change the exit status.
enum class Severity { kError, kWarning, kNote };

struct Diagnostic {
  std::string file;
  int line;  // 0: the file as a whole
  Severity severity;
  std::string message;
};

// "FILE:LINE: severity: message", or "FILE: severity: message" without a line.
std::string format_diagnostic(const Diagnostic& diagnostic);

// All findings of one run. Files keep the order in which they were first reported; within a
// file the findings are printed by line, those of one line in the order found.
class Report {
 public:
  void add(Diagnostic diagnostic);
  // Every finding, then the summary line ("sarvik-check: 1 error, 2 warnings").
  void print(std::ostream& out) const;
  // 0 when clean, 1 with warnings only, 2 with errors.
  int exit_status() const;

 private:
  int count(Severity severity) const;

  std::vector<Diagnostic> diagnostics;
};

// The findings about one file, added to a report that must outlive this object.
class FileDiagnostics {
 public:
  FileDiagnostics(Report& report, const std::string& file) : report(report), file(file) {}

  void error(int line, const std::string& message);
  void warning(int line, const std::string& message);
  void note(int line, const std::string& message);
  const std::string& file_name() const { return file; }

 private:
  Report& report;
  std::string file;
};

// `text` between double quotes, as a value of the settings is shown; line breaks and tabs are
// written as \n, \r and \t so that a finding stays on one line.
std::string quoted(const std::string& text);

// A time of day of the settings, "9:05"; numbers out of range are shown as they stand.
std::string clock_text(int hour, int minute);

}  // namespace sarvik::check

#endif  // SARVIK_TOOLS_CHECK_DIAGNOSTIC_H_
