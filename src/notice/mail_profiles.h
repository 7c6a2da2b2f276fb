// The mail profiles of the notice settings that take system notices.
#ifndef SARVIK_NOTICE_MAIL_PROFILES_H_
#define SARVIK_NOTICE_MAIL_PROFILES_H_

#include <string>
#include <vector>

namespace sarvik {

// One profile that wants system notices.
struct MailProfile {
  // Position of the profile among all profiles of the file, the switched-off ones included; the
  // mail script finds the profile by it.
  int profilenum;
  // The profile's addresses in document order; may be empty.
  std::vector<std::string> addresses;
};

// Reads the notice settings file anew under a shared lock on `lock_path` (created when missing,
// released before the tree is read) and returns the profiles that are on and take system
// notices, in document order. An empty result means the file was read and no profile wants the
// notice: the lock's failures raise std::runtime_error ("Can't open", "Can't Lock"), a missing or
// malformed file raises CXMLError. Waits without a time limit for a writer's exclusive lock.
// With `lock_wait_seconds` above 0, waits at most that long and then raises "Can't Lock". Keeps
// no state; each call uses a document of its own.
std::vector<MailProfile> read_mail_profiles(const std::string& settings_path,
                                            const std::string& lock_path,
                                            int lock_wait_seconds = 0);

}  // namespace sarvik

#endif  // SARVIK_NOTICE_MAIL_PROFILES_H_
