// The service's settings: its one document, the lookup tables, the parsed alert rules.
#include "settings/config_xml.h"

#include <algorithm>
#include <utility>

#include "settings/settings_keys.h"
#include "support/tree_generation.h"

namespace sarvik {

namespace {

// The path kinds and the elements that hold them, ended by a null text.
struct SharePathRow {
  int kind;
  const char* xpath;
};
constexpr SharePathRow kSharePathRows[] = {{0, keys::kSharePath}, {0, nullptr}};
constexpr int kLogVolume = 0;

// The weekday attributes of a rule's period, ended by a null text.
struct WeekdayRow {
  const char* name;
  int bit;
};
constexpr WeekdayRow kWeekdayRows[] = {{"sun", 0}, {"mon", 1}, {"tue", 2}, {"wed", 3},
                                       {"thu", 4}, {"fri", 5}, {"sat", 6}, {nullptr, 0}};

// The share that is never logged, whatever the settings say.
constexpr char kReservedShare[] = "IPC$";

}  // namespace

ConfigXml::ConfigXml(std::string settings_path)
    : XmlData(std::string()), settings_path(std::move(settings_path)) {
  fill_tables();
}

ConfigXml::ConfigXml() : XmlData(std::string()) { fill_tables(); }

ConfigXml::ConfigXml(const Glib::ustring& encoding) : XmlData(encoding, std::string()) {
  fill_tables();
}

void ConfigXml::fill_tables() {
  for (const SharePathRow* row = kSharePathRows; row->xpath != nullptr; ++row) {
    share_paths[row->kind] = row->xpath;
  }
  for (const WeekdayRow* row = kWeekdayRows; row->name != nullptr; ++row) {
    weekday_bits[row->name] = row->bit;
  }
}

ConfigXml::~ConfigXml() = default;

void ConfigXml::reload() {
  alerts.clear();  // keeps the capacity
  hardening = Hardening();
  LockedLoad(settings_path);
  hardening = read_hardening(GetRootNode());
}

ConfigXml::Kept& ConfigXml::kept_values() {
  uint64_t now = Vexil::TreeGeneration();
  if (kept.generation != now) {
    kept = Kept();
    kept.generation = now;
  }
  return kept;
}

bool ConfigXml::GetRootEnable(const char* xpath, const char* attr) {
  Kept& values = kept_values();
  for (const Kept::Switch& kept_switch : values.switches) {
    if (kept_switch.xpath == xpath && kept_switch.attr == attr) return kept_switch.enabled;
  }
  bool enabled = GetEnable(GetRootNode(), xpath, attr);
  values.switches.push_back(Kept::Switch{xpath, attr, enabled});
  return enabled;
}

std::string ConfigXml::get_share_path() {
  Kept& values = kept_values();
  if (!values.share_path) {
    values.share_path =
        Vexil::CDOMElement(GetRootNode().SelectSingleNode(share_paths[kLogVolume])).GetText().raw();
  }
  return *values.share_path;
}

std::vector<std::string> ConfigXml::get_share_names() {
  Kept& values = kept_values();
  if (!values.share_names) {
    std::vector<std::string> names;
    for (const Glib::ustring& name : GetTextList(GetRootNode(), keys::kShareNames)) {
      names.push_back(name.raw());
    }
    values.share_names = std::move(names);
  }
  return *values.share_names;
}

AutoDelete ConfigXml::GetAutoDelete(int kind) {
  if (kind < 0 || kind >= kAutoDeleteKinds) return XmlData::GetAutoDelete(kind);
  Kept& values = kept_values();
  if (!values.autodelete[kind]) values.autodelete[kind] = XmlData::GetAutoDelete(kind);
  return *values.autodelete[kind];
}

bool is_logged_share(const std::string& sharename, ConfigXml& config) {
  if (sharename == kReservedShare) return false;
  if (config.GetRootEnable(keys::kShareList, keys::kAll)) return true;
  std::vector<std::string> names = config.get_share_names();
  return std::find(names.begin(), names.end(), sharename) != names.end();
}

}  // namespace sarvik
