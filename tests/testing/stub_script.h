// A shell script standing in for a notification script, with a record of what it was sent.
#ifndef SARVIK_TESTING_STUB_SCRIPT_H_
#define SARVIK_TESTING_STUB_SCRIPT_H_

#include <string>
#include <vector>

namespace sarvik::testing {

// The reply of a script for which all went well, and of one that failed its one entry.
inline constexpr char kOkReply[] = "<reply><entrylist><entry result=\"0\"/></entrylist></reply>";
inline constexpr char kFailReply[] = "<reply><entrylist><entry result=\"1\"/></entrylist></reply>";

// Writes an executable script to `path`. Run number n (from 1) records its standard input in
// `record_dir`/request.n (which appears once the whole request is read) and its argument count
// in `record_dir`/argc.n, then prints its reply and exits with its status: those set by
// answer_when for a request holding its text, else those set by answer_run for run n, else
// those set by answer (at first kOkReply and 0). Built with `reads_input` false, it reads and
// records nothing. `record_dir` must exist and outlive the object. Runs must not overlap.
class StubScript {
 public:
  StubScript(const std::string& path, const std::string& record_dir, bool reads_input = true);

  void answer(const std::string& reply, int status = 0) { answer_run(0, reply, status); }
  void answer_run(int run, const std::string& reply, int status);
  // A run whose request holds `text` (one line) answers `reply` and `status` instead.
  void answer_when(const std::string& text, const std::string& reply, int status = 0);

  const std::string& path() const { return script_path; }
  // How often the script has run, and what run `run` was sent.
  int runs() const;
  std::string request(int run) const;
  std::string argc(int run) const;
  // The whole requests of the runs so far, in order; a run still reading its request, or one
  // killed while reading it, has none.
  std::vector<std::string> requests() const;

 private:
  std::string script_path;
  std::string dir;
};

}  // namespace sarvik::testing

#endif  // SARVIK_TESTING_STUB_SCRIPT_H_
