// A settings document: locked load and save, and tolerant typed getters.
#include "settings/xml_data.h"

#include "settings/file_lock.h"
#include "settings/settings_keys.h"
#include "support/leading_int.h"

namespace sarvik {

using Vexil::CDOMElement;

XmlData::XmlData(const std::string& lock_path) : lock_path(lock_path) {}

XmlData::XmlData(const Glib::ustring& encoding, const std::string& lock_path)
    : CDOMXmlDocument(encoding), lock_path(lock_path) {}

XmlData::~XmlData() = default;

void XmlData::LockedLoad(const Glib::ustring& path) { LockedLoad(path, /*lock_wait_seconds=*/0); }

void XmlData::LockedLoad(const Glib::ustring& path, int lock_wait_seconds) {
  FileLock lock(lock_path, /*exclusive=*/false, lock_wait_seconds);
  Load(path);
}

void XmlData::LockedSave(const Glib::ustring& path) {
  FileLock lock(lock_path, /*exclusive=*/true);
  Save(path);
}

Glib::ustring XmlData::GetNodeText(CDOMElement element, const Glib::ustring& xpath,
                                   const Glib::ustring& default_value) {
  try {
    return CDOMElement(element.SelectSingleNode(xpath)).GetText();
  } catch (...) {
    return default_value;
  }
}

Glib::ustring XmlData::GetNodeAttribute(CDOMElement element, const Glib::ustring& xpath,
                                        const Glib::ustring& attr,
                                        const Glib::ustring& default_value) {
  try {
    return CDOMElement(element.SelectSingleNode(xpath)).GetAttributeValue(attr);
  } catch (...) {
    return default_value;
  }
}

bool XmlData::GetEnable(CDOMElement element, const Glib::ustring& xpath,
                        const Glib::ustring& attr) {
  return GetNodeAttribute(element, xpath, attr, keys::kFalse).compare(keys::kTrue) == 0;
}

void XmlData::SetEnable(const Glib::ustring& xpath, const Glib::ustring& attr, bool flag) {
  CDOMElement(GetRootNode().SelectSingleNode(xpath))
      .SetAttributeValue(attr, flag ? keys::kTrue : keys::kFalse);
}

std::list<CDOMElement> XmlData::SelectElements(CDOMElement element, const Glib::ustring& xpath) {
  std::list<CDOMElement> elements;
  try {
    // An optional list is often absent: asked first, no match costs no exception.
    if (!element.ExistNode(xpath)) return elements;
    for (const Vexil::CDOMNode& node : element.SelectNodes(xpath)) elements.emplace_back(node);
  } catch (...) {
    elements.clear();
  }
  return elements;
}

std::vector<Glib::ustring> XmlData::GetTextList(CDOMElement element, const Glib::ustring& xpath) {
  std::vector<Glib::ustring> texts;
  for (const CDOMElement& selected : SelectElements(element, xpath)) {
    try {
      texts.push_back(selected.GetText());
    } catch (...) {
      // an element without text adds no entry
    }
  }
  return texts;
}

HourMinute XmlData::GetHourMinute(CDOMElement element, const Glib::ustring& xpath) {
  CDOMElement selected;
  try {
    selected = element.SelectSingleNode(xpath);
  } catch (...) {
    return HourMinute{0, 0};
  }
  return HourMinute{StrToInt(GetNodeText(selected, keys::kHour, "0")),
                    StrToInt(GetNodeText(selected, keys::kMinute, "0"))};
}

AutoDelete XmlData::GetAutoDelete(int kind) {
  AutoDelete settings;
  const char* path;
  switch (kind) {
    case kSystemLogExpiry:
      path = keys::kEventAutoDelete;
      break;
    case kAccessLogExpiry:
      path = keys::kAccessAutoDelete;
      break;
    default:
      return settings;
  }
  CDOMElement autodelete = GetRootNode().SelectSingleNode(path);  // a missing element raises
  // The values are read in this order and the first failure keeps the rest at 0: without
  // "expire/days" the percent is not read either.
  try {
    settings.enable = GetEnable(autodelete, keys::kSelf, keys::kEnable);
    settings.days = StrToInt(CDOMElement(autodelete.SelectSingleNode(keys::kExpireDays)).GetText());
    settings.percent =
        StrToInt(CDOMElement(autodelete.SelectSingleNode(keys::kExpirePercent)).GetText());
  } catch (...) {
    // what was read so far stands
  }
  return settings;
}

CDOMElement XmlData::RemoveNode(const Glib::ustring& xpath) {
  CDOMElement node = GetRootNode().SelectSingleNode(xpath);
  return node.GetParent().RemoveChild(node);
}

std::list<CDOMElement> XmlData::RemoveNodes(const Glib::ustring& xpath) {
  std::list<CDOMElement> removed;
  try {
    for (;;) removed.push_back(RemoveNode(xpath));
  } catch (...) {
    // normally "no nodes found." once nothing is left
  }
  return removed;
}

int StrToInt(const Glib::ustring& text) { return leading_int(text.c_str()); }

}  // namespace sarvik
