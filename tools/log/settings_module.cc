// sarvik-log's settings module: the service's settings code and the XML libraries under it,
// which sarvik-log loads only when a question needs the settings.
#include "query/settings_reader.h"
#include "support/library_messages.h"

// The reader; the caller owns it. The module stays loaded for the rest of the run.
extern "C" __attribute__((visibility("default"))) sarvik::query::SettingsReader*
sarvik_log_settings_reader() {
  // The settings' faults are told by the tool's own messages, not by the XML library's.
  Vexil::SilenceLibraryMessages();
  return sarvik::query::make_xml_settings_reader().release();
}
