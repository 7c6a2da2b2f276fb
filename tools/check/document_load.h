// Loading a settings file as the service does, with libxml2's own messages kept as notes.
#ifndef SARVIK_TOOLS_CHECK_DOCUMENT_LOAD_H_
#define SARVIK_TOOLS_CHECK_DOCUMENT_LOAD_H_

#include <string>

#include "check/diagnostic.h"
#include "settings/xml_data.h"

namespace sarvik::check {

// Loads `out.file_name()` into `document` with LockedLoad, the service's own call, under the
// document's lock file. When that fails, reports the text that the service prints after
// "Error: " as an error (at the line of libxml2's first complaint), each of libxml2's parse
// messages with its line as a note, then `consequence` (what the failure means) as a note at the
// error's line, and returns false. Expects libxml2's messages silenced
// (Vexil::SilenceLibraryMessages); they are collected only while this runs. Main thread only.
bool load_document(XmlData& document, const std::string& consequence, FileDiagnostics& out);

}  // namespace sarvik::check

#endif  // SARVIK_TOOLS_CHECK_DOCUMENT_LOAD_H_
