// The appliance's three notice scripts as recording stubs, and its notice settings, for tests
// that raise alerts through the real notice code, with the requests these scripts get.
#ifndef SARVIK_TESTING_NOTICE_STUBS_H_
#define SARVIK_TESTING_NOTICE_STUBS_H_

#include <string>

#include "notice/notice_paths.h"

#include "testing/notice_requests.h"
#include "testing/notice_settings.h"
#include "testing/stub_script.h"

namespace sarvik::testing {

// Stubs of the three scripts, each recording into a folder of its own, all answering success
// until told otherwise. The folders must outlive the object.
struct NoticeStubs {
  // The scripts in `root`/bin, recording below `root`/record; the notice settings and their lock
  // belong in `root`/xmlconf. `root` must exist.
  explicit NoticeStubs(const std::string& root);
  // The scripts at the places `where` names (their folders must exist), recording below
  // `record_root`, which is made.
  NoticeStubs(const NoticePaths& where, const std::string& record_root);

  // Where the notice code finds these scripts and the notice settings.
  NoticePaths paths() const;
  // Writes the notice settings with `profiles` as the profile list (see mail_profile).
  void write_mail_profiles(const std::string& profiles) const;

  std::string settings;
  std::string settings_lock;
  StubScript eventlog;
  StubScript buzzer;
  StubScript mail;
};

}  // namespace sarvik::testing

#endif  // SARVIK_TESTING_NOTICE_STUBS_H_
