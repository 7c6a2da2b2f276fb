// The service's settings: its one document, the lookup tables, the parsed alert rules.
#ifndef SARVIK_SETTINGS_CONFIG_XML_H_
#define SARVIK_SETTINGS_CONFIG_XML_H_

#include <glibmm/ustring.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "settings/alert_info.h"
#include "settings/hardening.h"
#include "settings/xml_data.h"

namespace sarvik {

// The settings file of the service, read without a lock. Every value is read by XPath when it is
// first needed after the document changed, and kept until it changes again, so a reload takes
// effect at once. Empty until the first
// reload; after a failed reload it holds no document and every read of it raises CXMLError.
// Owned by the server loop for the whole run; main thread only, no lock.
class ConfigXml : public XmlData {
 public:
  // Settings that reload() reads from `settings_path`; the service passes paths::kSettings, a
  // test a file of its own. A std::string, as a text literal would be taken for an encoding.
  explicit ConfigXml(std::string settings_path);
  // Settings for a reader that loads a document of its own (LockedLoad); reload() then raises.
  ConfigXml();
  explicit ConfigXml(const Glib::ustring& encoding);
  ~ConfigXml() override;

  // Forgets the parsed rules and loads the settings file given at construction anew. Raises
  // CXMLError when it cannot be read; the document is then empty until a later reload succeeds. The
  // rules are not parsed here, so a bad rule never makes a reload fail.
  void reload();
  // GetEnable of `attr` of the element at `xpath` below the root: the main switches and the
  // share list's "all". Raises CXMLError, as GetRootNode does, when no document is loaded.
  bool GetRootEnable(const char* xpath, const char* attr);
  // The directory of all three logs: the text of "share/path". Raises CXMLError when missing.
  std::string get_share_path();
  // The names of the logged shares in document order; a name without text is left out. Raises
  // CXMLError when no document is loaded.
  std::vector<std::string> get_share_names();

  // XmlData::GetAutoDelete, the same values and the same failures.
  AutoDelete GetAutoDelete(int kind);

  // The alert rules in document order, parsed at the first call after a reload (and again at
  // every call while the list is empty). Rules that cannot be parsed are left out silently.
  // Raises CXMLError when no document is loaded.
  const std::vector<AlertInfo>& get_alert_list();
  // One rule from its "alert" element. Raises when it has no name with text; every other fault
  // is absorbed field by field, leaving that field at its default.
  AlertInfo parse_alert(Vexil::CDOMElement alert);

  // The optional limits, read at each reload; all off before the first one and after a reload
  // that failed.
  Hardening hardening;

  // Path kind to the XPath of its element; kind 0 is the log volume.
  std::map<int, Glib::ustring> share_paths;
  // Weekday attribute name to its bit in a rule's weekday mask, Sunday 0 as localtime counts.
  std::map<Glib::ustring, int> weekday_bits;
  // The parsed rules; empty after construction and after every reload.
  std::vector<AlertInfo> alerts;

 private:
  // What was read from the document, kept while no tree of the object model has changed since
  // (Vexil::TreeGeneration): a new read would give the same. Only successful reads are kept, so
  // a failing one raises anew at every call.
  struct Kept {
    // A switch read by GetRootEnable; the service reads three.
    struct Switch {
      std::string xpath;
      std::string attr;
      bool enabled;
    };
    uint64_t generation = 0;
    std::vector<Switch> switches;
    std::optional<std::string> share_path;
    std::optional<std::vector<std::string>> share_names;
    std::optional<AutoDelete> autodelete[kAutoDeleteKinds];  // by AutoDeleteKind
    bool no_rules = false;  // the last parse of the rules found none
  };

  void fill_tables();
  // Forgets what was kept when a tree has changed since it was read.
  Kept& kept_values();

  Kept kept;
  std::string settings_path;  // read by reload(); empty: none
};

// Whether access to `sharename` is logged: never for "IPC$", always with the share list's
// attribute "all", otherwise when the name stands in the list, byte for byte. Raises CXMLError
// when no document is loaded.
bool is_logged_share(const std::string& sharename, ConfigXml& config);

}  // namespace sarvik

#endif  // SARVIK_SETTINGS_CONFIG_XML_H_
