// The console's secret: made once in the state directory, then asked for with every request.
#include "web/token.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <stdexcept>

#include "query/tree_access.h"
#include "web/base64url.h"

namespace sarvik::web {

namespace {

constexpr size_t kTokenBytes = 32;
constexpr char kNewTokenFile[] = "token.new";
constexpr char kBearer[] = "Bearer ";

bool is_token_text(std::string_view text) {
  return text.size() == kTokenLength && is_base64url_text(text);
}

bool write_all(int fd, const std::string& text) {
  size_t done = 0;
  while (done < text.size()) {
    ssize_t n = write(fd, text.data() + done, text.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    done += static_cast<size_t>(n);
  }
  return true;
}

// Reads the token file of the open directory `dir`. 1: read; 0: there is none; -1: error.
int read_token_at(int dir, const std::string& path, std::string* token, std::string* error) {
  query::Descriptor file(openat(dir, kTokenFile, O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
  if (!file.valid()) {
    if (errno == ENOENT) return 0;
    *error = path + ": " + strerror(errno);
    return -1;
  }
  struct stat status;
  if (fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
    *error = path + ": not a regular file";
    return -1;
  }
  char text[128];
  ssize_t n = read(file.get(), text, sizeof text);
  if (n < 0) {
    *error = path + ": " + strerror(errno);
    return -1;
  }
  std::string_view content(text, static_cast<size_t>(n));
  while (!content.empty() && (content.back() == '\n' || content.back() == '\r')) {
    content.remove_suffix(1);
  }
  if (!is_token_text(content)) {
    *error = path + ": holds no token (43 characters of base64url); remove it to make a new one";
    return -1;
  }
  token->assign(content);
  return 1;
}

query::Descriptor open_state_dir(const std::string& state_dir, std::string* error) {
  query::Descriptor dir(open(state_dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!dir.valid()) *error = state_dir + ": " + strerror(errno);
  return dir;
}

}  // namespace

std::string new_token() {
  unsigned char bytes[kTokenBytes];
  size_t done = 0;
  while (done < sizeof bytes) {
    ssize_t n = getrandom(bytes + done, sizeof bytes - done, 0);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) throw std::runtime_error(std::string("getrandom: ") + strerror(errno));
    done += static_cast<size_t>(n);
  }
  return base64url_encode(std::string_view(reinterpret_cast<const char*>(bytes), sizeof bytes));
}

bool read_token(const std::string& state_dir, std::string* token, std::string* error) {
  query::Descriptor dir = open_state_dir(state_dir, error);
  if (!dir.valid()) return false;
  std::string path = state_dir + "/" + kTokenFile;
  int found = read_token_at(dir.get(), path, token, error);
  if (found == 0) *error = path + ": no token yet: it is made when sarvik-web first starts";
  return found == 1;
}

bool load_or_create_token(const std::string& state_dir, std::string* token, std::string* error) {
  if (mkdir(state_dir.c_str(), 0700) != 0 && errno != EEXIST) {
    *error = state_dir + ": " + strerror(errno);
    return false;
  }
  query::Descriptor dir = open_state_dir(state_dir, error);
  if (!dir.valid()) return false;
  std::string path = state_dir + "/" + kTokenFile;
  int found = read_token_at(dir.get(), path, token, error);
  if (found != 0) return found == 1;

  // Written beside it and renamed, so that the token file is whole or not there at all.
  std::string fresh = new_token();
  unlinkat(dir.get(), kNewTokenFile, 0);  // failure ignored: the left-over of a crash, if any
  query::Descriptor file(
      openat(dir.get(), kNewTokenFile, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (!file.valid() || !write_all(file.get(), fresh + "\n") || fsync(file.get()) != 0 ||
      renameat(dir.get(), kNewTokenFile, dir.get(), kTokenFile) != 0) {
    *error = path + ": cannot write: " + strerror(errno);
    return false;
  }
  *token = fresh;
  return true;
}

bool same_token(std::string_view given, std::string_view token) {
  // Every byte of the token is compared whatever the given text holds; only the length, which
  // is no secret, decides early.
  unsigned char difference = given.size() == token.size() ? 0 : 1;
  for (size_t i = 0; i < token.size(); ++i) {
    unsigned char a = i < given.size() ? static_cast<unsigned char>(given[i]) : 0;
    difference |= static_cast<unsigned char>(a ^ static_cast<unsigned char>(token[i]));
  }
  volatile unsigned char result = difference;
  return result == 0 && !token.empty();
}

std::string token_of(const std::string& cookie_header, const std::string& authorization) {
  std::string_view cookies(cookie_header);
  std::string name = std::string(kCookieName) + "=";
  while (!cookies.empty()) {
    size_t end = cookies.find(';');
    std::string_view pair = cookies.substr(0, end);
    while (!pair.empty() && pair.front() == ' ') pair.remove_prefix(1);
    if (pair.compare(0, name.size(), name) == 0) return std::string(pair.substr(name.size()));
    if (end == std::string_view::npos) break;
    cookies.remove_prefix(end + 1);
  }
  if (authorization.compare(0, strlen(kBearer), kBearer) == 0) {
    return authorization.substr(strlen(kBearer));
  }
  return std::string();
}

}  // namespace sarvik::web
