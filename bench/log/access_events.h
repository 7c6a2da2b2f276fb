// What the file service reports: one access request per moment of the corpus.
#ifndef SARVIK_BENCH_LOG_ACCESS_EVENTS_H_
#define SARVIK_BENCH_LOG_ACCESS_EVENTS_H_

#include <cstdint>
#include <string>
#include <vector>

#include "activity.h"
#include "random.h"
#include "vocabulary.h"

namespace sarvik::corpus {

// The raw fields of one access request, as the file service sends them: the operation word
// without direction, the path with its "r|" or "w|" prefix, the status (1 for success) and the
// error number of a failure.
struct AccessEvent {
  const Person* person;
  bool laptop;
  const char* operation;
  uint16_t status;
  uint16_t error_number;
  const std::string* share;
  std::string raw_path;
};

// Turns moments into requests: people open, read, write, close, rename and delete files on the
// shares they use, now and then refused; the backup reads everything at night; a burst is one
// person copying or clearing a folder. Keeps which file each person has open, so that a close
// names the file opened before. Borrows the vocabulary, which must outlive it; one thread.
class AccessEvents {
 public:
  AccessEvents(const Vocabulary& vocabulary, Random& random);

  // The request for `moment`; valid, and open to changes by the caller, until the next call.
  AccessEvent& next(const Moment& moment);

 private:
  struct OpenFile {
    const Share* share = nullptr;
    std::string path;
  };
  struct Burst {
    const Person* person;
    const Share* share;
    std::string folder;
    bool clearing;  // deletes instead of copies
  };

  enum Action { kRead, kWrite, kList, kDelete, kRename, kMkdir, kRmdir, kClose };

  void office(const Person& person, OpenFile* open);
  void backup(OpenFile* open);
  void burst(uint32_t id);
  void scan(time_t when, OpenFile* open);
  // Fills the operation, the raw path and a result for `action` on `path` of `share`; opening
  // actions are remembered in `open`, a close forgets it.
  void set(Action action, const Person& person, const Share& share, const std::string& path,
           OpenFile* open);
  // A file of `share` as `person` would pick it; the home share's paths start with the login.
  std::string file_in(const Share& share, const Person& person, bool popular);

  const Vocabulary& vocabulary;
  Random& random;
  std::vector<OpenFile> open_files;  // by person, then the backup's
  std::vector<Burst> bursts;         // made when first met
  AccessEvent event;
};

}  // namespace sarvik::corpus

#endif  // SARVIK_BENCH_LOG_ACCESS_EVENTS_H_
