// The XML library's own diagnostics stay off the standard error stream once silenced.
#include "support/library_messages.h"

#include <fcntl.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <thread>

#include "support/dom_document.h"
#include "support/xml_error.h"

namespace Vexil {
namespace {

// What `action` writes to the standard error stream.
template <typename Action>
std::string stderr_of(Action action) {
  fflush(stderr);
  int saved = dup(2);
  char name[] = "/tmp/stderr-XXXXXX";
  int capture = mkstemp(name);
  unlink(name);
  dup2(capture, 2);
  action();
  fflush(stderr);
  dup2(saved, 2);
  close(saved);
  std::string text(4096, '\0');
  ssize_t got = pread(capture, text.data(), text.size(), 0);
  close(capture);
  text.resize(got > 0 ? got : 0);
  return text;
}

void load_broken_documents() {
  CDOMXmlDocument missing;
  EXPECT_THROW(missing.Load("/nonexistent/settings.xml"), CXMLError);
  CDOMXmlDocument broken;
  std::istringstream text("<config><share>");
  EXPECT_THROW(broken.Load(text), CXMLError);
}

TEST(LibraryMessages, AreSilencedForThisThreadAndLaterThreads) {
  // Without silencing the library speaks; this proves the capture works.
  EXPECT_NE(stderr_of(load_broken_documents), "");
  SilenceLibraryMessages();
  EXPECT_EQ(stderr_of(load_broken_documents), "");
  EXPECT_EQ(stderr_of([] { std::thread(load_broken_documents).join(); }), "");
}

}  // namespace
}  // namespace Vexil
