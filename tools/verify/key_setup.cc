// Setting up the sealing key from the command line, and reading a verification key given to it.
#include "verify/key_setup.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <unistd.h>

#include <iterator>

#include "query/display_text.h"
#include "seal/key_text.h"
#include "seal/seal_setup.h"

namespace sarvik::verify {

namespace {

// A key file longer than this holds no key.
constexpr size_t kMostKeyText = 4096;

}  // namespace

int set_up_keys(const std::string& state_dir, bool force, time_t now, std::ostream& out,
                std::ostream& err) {
  if (!seal_crypto_ready()) {
    err << "sarvik-log: the cryptographic library cannot be used\n";
    return 2;
  }
  VerificationKey key = random_verification_key();
  bool existed = false;
  std::string why;
  if (!create_seal_state(state_dir, key, now, force, &existed, &why)) {
    if (existed && !force) {
      err << "sarvik-log: a sealing state exists in " << state_dir
          << "; --force replaces it, and the lines sealed so far can then no longer be "
             "verified\n";
    } else {
      err << "sarvik-log: cannot set up the sealing state: " << query::display_text(why) << "\n";
    }
    erase_secret(key.data(), key.size());
    return 2;
  }
  err << "The sealing state is set up in " << state_dir << ".\n";
  if (existed) {
    err << "It replaces the state that was there: the lines sealed before can no longer be\n"
           "verified.\n";
  }
  err << "\n"
         "The verification key follows. It is shown only this once and kept nowhere on the\n"
         "appliance: copy it off the appliance now and keep it safe. With it,\n"
         "'sarvik-log --verify --key FILE' also proves that the sealing state itself was not\n"
         "rewritten or rolled back.\n"
         "\n"
         "With <seal enable=\"true\"/> in the settings' hardening element, the service seals\n"
         "every line from its next start or reload on (systemctl reload sarvik).\n\n"
      << std::flush;
  out << verification_key_text(key) << std::endl;
  erase_secret(key.data(), key.size());
  return 0;
}

bool read_verification_key(const std::string& path, std::istream& input, VerificationKey* key,
                           std::string* why) {
  std::string text;
  if (path == "-") {
    std::istreambuf_iterator<char> begin(input), end;
    for (; begin != end && text.size() <= kMostKeyText; ++begin) text += *begin;
  } else {
    int fd = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    if (fd < 0) {
      *why = query::display_text(path) + ": " + strerror(errno);
      return false;
    }
    char buffer[kMostKeyText + 1];
    ssize_t got = read(fd, buffer, sizeof buffer);
    int error = errno;
    close(fd);
    if (got < 0) {
      *why = query::display_text(path) + ": " + strerror(error);
      return false;
    }
    text.assign(buffer, static_cast<size_t>(got));
  }
  if (text.size() > kMostKeyText || !parse_verification_key(text, key)) {
    *why = (path == "-" ? std::string("standard input") : query::display_text(path)) +
           " holds no verification key (64 hexadecimal digits)";
    return false;
  }
  return true;
}

}  // namespace sarvik::verify
