// Keeping the XML library's own diagnostics off the standard streams.
#ifndef SARVIK_SUPPORT_LIBRARY_MESSAGES_H_
#define SARVIK_SUPPORT_LIBRARY_MESSAGES_H_

namespace Vexil {

// Drops the messages that libxml2 would print on the standard error stream (parser errors,
// unreadable files, rejected XPaths), for the calling thread and for every thread started
// afterwards. Failures are then reported by the object model's exceptions alone, so the
// service's error stream holds its own messages only, and a failing notice script leaves no
// trace. Call once at start, before other threads exist.
void SilenceLibraryMessages();

}  // namespace Vexil

#endif  // SARVIK_SUPPORT_LIBRARY_MESSAGES_H_
