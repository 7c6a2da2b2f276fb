// Writing what the verifier found, as text or as JSON objects.
#include "verify/verify_report.h"

#include <string>

#include "query/display_text.h"
#include "query/field_encoding.h"

namespace sarvik::verify {

namespace {

// "1 line verified", "2 lines verified".
std::string lines_verified(uint64_t lines) {
  return std::to_string(lines) + (lines == 1 ? " line verified" : " lines verified");
}

void add_json_field(std::string* out, const char* name, const std::string& text) {
  out->append(out->size() > 1 ? ", \"" : "\"").append(name).append("\": ");
  query::append_json_string(out, text);
}

void add_json_number(std::string* out, const char* name, uint64_t value) {
  out->append(out->size() > 1 ? ", \"" : "\"").append(name).append("\": ");
  out->append(std::to_string(value));
}

}  // namespace

void VerifyReport::finding(const Finding& finding) {
  ++finding_count;
  std::string line;
  if (json) {
    line = "{";
    add_json_field(&line, "file", finding.file);
    if (finding.line > 0) {
      add_json_number(&line, "line", finding.line);
    } else {
      line += ", \"line\": null";
    }
    add_json_field(&line, "kind", finding_word(finding.kind));
    if (finding.sealed_line > 0) add_json_number(&line, "sealed_line", finding.sealed_line);
    if (finding.lines > 1) add_json_number(&line, "lines", finding.lines);
    add_json_field(&line, "explanation", finding.explanation);
    line += "}\n";
  } else {
    line = query::display_text(finding.file);
    if (finding.line > 0) line += ":" + std::to_string(finding.line);
    line.append(": ").append(finding_word(finding.kind)).append(": ");
    line += finding.explanation + "\n";
  }
  out << line;
}

void VerifyReport::file(const FileVerdict& verdict) {
  for (const Finding& found : verdict.findings) finding(found);
  ++file_count;
  verified += verdict.verified;
  const char* result = verdict.expired ? "expired" : verdict.findings.empty() ? "ok" : "findings";
  std::string line;
  if (json) {
    line = "{";
    add_json_field(&line, "file", verdict.file);
    add_json_field(&line, "result", result);
    add_json_number(&line, "verified", verdict.verified);
    add_json_number(&line, "findings", verdict.findings.size());
    line += "}\n";
  } else {
    line = query::display_text(verdict.file) + ": ";
    if (verdict.expired) {
      line += "expired: deleted by the service's expiry\n";
    } else if (verdict.findings.empty()) {
      line += "ok, " + lines_verified(verdict.verified) + "\n";
    } else {
      line += lines_verified(verdict.verified) + ", " + std::to_string(verdict.findings.size()) +
              (verdict.findings.size() == 1 ? " finding\n" : " findings\n");
    }
  }
  out << line;
}

void VerifyReport::state(const std::vector<Finding>& findings) {
  for (const Finding& found : findings) finding(found);
}

void VerifyReport::total(StateProof proof, uint64_t seals) {
  const char* proven = proof == StateProof::kProven    ? "proven"
                       : proof == StateProof::kAltered ? "altered"
                                                       : "not proven";
  std::string line;
  if (json) {
    line = "{";
    add_json_field(&line, "result", finding_count == 0 ? "ok" : "findings");
    add_json_number(&line, "files", file_count);
    add_json_number(&line, "verified", verified);
    add_json_number(&line, "findings", finding_count);
    add_json_field(&line, "state", proven);
    line += "}\n";
  } else {
    line = "total: " + std::to_string(file_count) + (file_count == 1 ? " file, " : " files, ") +
           lines_verified(verified) + ", " + std::to_string(finding_count) +
           (finding_count == 1 ? " finding\n" : " findings\n");
    switch (proof) {
      case StateProof::kProven:
        line +=
            "state: proven with the verification key, " + std::to_string(seals) + " seals in all\n";
        break;
      case StateProof::kAltered:
        line += "state: altered, see the findings of kind state\n";
        break;
      case StateProof::kNotProven:
        line +=
            "state: not proven: without the verification key (--key) the lines were checked "
            "against the sealing state, which root could have rewritten\n";
        break;
    }
  }
  out << line << std::flush;
}

}  // namespace sarvik::verify
