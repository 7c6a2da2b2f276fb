// Loading a settings file as the service does, with libxml2's own messages kept as notes.
#include "check/document_load.h"

#include <fcntl.h>
#include <libxml/xmlerror.h>
#include <string.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <vector>

namespace sarvik::check {

namespace {

// One complaint of libxml2 while parsing.
struct LibraryMessage {
  int line;
  std::string text;
};

// Collects libxml2's structured messages of the calling thread for its lifetime; afterwards
// they are dropped again, as the service has them.
class CollectedMessages {
 public:
  CollectedMessages() { xmlSetStructuredErrorFunc(this, &CollectedMessages::collect); }
  ~CollectedMessages() { xmlSetStructuredErrorFunc(nullptr, nullptr); }
  CollectedMessages(const CollectedMessages&) = delete;
  CollectedMessages& operator=(const CollectedMessages&) = delete;

  std::vector<LibraryMessage> messages;

 private:
  static void collect(void* self, xmlErrorPtr error) {
    std::string text = error->message == nullptr ? "" : error->message;
    while (!text.empty() && (text.back() == '\n' || text.back() == ' ')) text.pop_back();
    static_cast<CollectedMessages*>(self)->messages.push_back(LibraryMessage{error->line, text});
  }
};

// The line break that the object model's messages end with is not part of a finding.
std::string without_line_end(std::string text) {
  while (!text.empty() && text.back() == '\n') text.pop_back();
  return text;
}

}  // namespace

bool load_document(XmlData& document, const std::string& consequence, FileDiagnostics& out) {
  CollectedMessages library;
  std::string failure;
  try {
    document.LockedLoad(out.file_name());
    return true;
  } catch (const std::runtime_error& error) {  // the lock file: "Can't open", "Can't Lock"
    out.error(0, "lock file " + document.lock_path + ": " + error.what());
    out.note(0, consequence);
    return false;
  } catch (const std::logic_error& error) {
    failure = without_line_end(error.what());
  }
  int first_line = 0;
  for (const LibraryMessage& message : library.messages) {
    if (message.line > 0) {
      first_line = message.line;
      break;
    }
  }
  out.error(first_line, failure);
  if (first_line == 0) {
    int fd = open(out.file_name().c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
      out.note(0, std::string("cannot open the file: ") + strerror(errno));
    } else {
      close(fd);
    }
  }
  for (const LibraryMessage& message : library.messages) {
    // Complaints about the file as a whole (line 0) are left out: the note above says it better.
    if (message.line > 0) out.note(message.line, message.text);
  }
  out.note(first_line, consequence);
  return false;
}

}  // namespace sarvik::check
