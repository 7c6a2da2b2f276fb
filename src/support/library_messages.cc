// Keeping the XML library's own diagnostics off the standard streams.
#include "support/library_messages.h"

#include <libxml/globals.h>
#include <libxml/xmlerror.h>

namespace Vexil {

namespace {

void DropMessage(void*, const char*, ...) {}

}  // namespace

void SilenceLibraryMessages() {
  // The library keeps these handlers per thread: the "ThrDef" calls give them to threads that
  // start later, the others to this one.
  xmlThrDefSetGenericErrorFunc(nullptr, DropMessage);
  xmlThrDefSetStructuredErrorFunc(nullptr, nullptr);
  xmlSetGenericErrorFunc(nullptr, DropMessage);
  xmlSetStructuredErrorFunc(nullptr, nullptr);
}

}  // namespace Vexil
