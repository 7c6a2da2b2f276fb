// A settings document: locked load and save, and tolerant typed getters.
#ifndef SARVIK_SETTINGS_XML_DATA_H_
#define SARVIK_SETTINGS_XML_DATA_H_

#include <glibmm/ustring.h>

#include <list>
#include <string>
#include <vector>

#include "logstore/auto_delete.h"
#include "settings/hour_minute.h"
#include "support/dom_document.h"

namespace sarvik {

// The logs with expiry settings of their own, as the kind GetAutoDelete takes. GetAutoDelete
// takes the kind as a plain int, so these numbers are part of its contract. The alert log has no
// expiry settings: it keeps all its files.
enum AutoDeleteKind : int {
  kSystemLogExpiry = 0,
  kAccessLogExpiry = 1,
};
// How many kinds have expiry settings: one past the last kind.
inline constexpr int kAutoDeleteKinds = 2;

// An XML document whose load and save can run under a lock file shared with other processes
// of the appliance (`lock_path`; empty: no lock). The lock covers the file operation alone; the
// tree in memory is read without it.
//
// The getters never raise: every failure of the object model, including a bad XPath or
// exhausted memory, reads as the default, so a settings file may leave things out. They work on
// the element they are given and use nothing of the object. GetAutoDelete, SetEnable and
// RemoveNode are the exceptions named at their declarations. One thread at a time.
class XmlData : public Vexil::CDOMXmlDocument {
 public:
  explicit XmlData(const std::string& lock_path);
  XmlData(const Glib::ustring& encoding, const std::string& lock_path);
  ~XmlData() override;

  // Load and Save under a shared, respectively exclusive, lock on `lock_path`. Raise
  // std::runtime_error "Can't open" or "Can't Lock" for the lock, CXMLError for the file.
  void LockedLoad(const Glib::ustring& path);
  void LockedSave(const Glib::ustring& path);
  // LockedLoad that waits at most `lock_wait_seconds` for the shared lock and then raises "Can't
  // Lock"; 0 or less waits without a limit, as LockedLoad does.
  void LockedLoad(const Glib::ustring& path, int lock_wait_seconds);

  // The text of the element at `xpath` below `element`; `default_value` when it is missing or
  // has no text.
  static Glib::ustring GetNodeText(Vexil::CDOMElement element, const Glib::ustring& xpath,
                                   const Glib::ustring& default_value);
  // Attribute `attr` of the element at `xpath`; `default_value` when either is missing.
  static Glib::ustring GetNodeAttribute(Vexil::CDOMElement element, const Glib::ustring& xpath,
                                        const Glib::ustring& attr,
                                        const Glib::ustring& default_value);
  // True exactly when attribute `attr` of the element at `xpath` reads "true".
  static bool GetEnable(Vexil::CDOMElement element, const Glib::ustring& xpath,
                        const Glib::ustring& attr);
  // Sets attribute `attr` of the element at `xpath` from the root to "true" or "false". Raises
  // CXMLError.
  void SetEnable(const Glib::ustring& xpath, const Glib::ustring& attr, bool flag);
  // The elements at `xpath`, in document order; empty on any failure.
  static std::list<Vexil::CDOMElement> SelectElements(Vexil::CDOMElement element,
                                                      const Glib::ustring& xpath);
  // The texts of the elements at `xpath`, in order; an element without text is left out.
  static std::vector<Glib::ustring> GetTextList(Vexil::CDOMElement element,
                                                const Glib::ustring& xpath);
  // The children "hour" and "minute" of the element at `xpath` as numbers, each 0 when
  // missing; 0:00 when the element is missing. No range is checked.
  static HourMinute GetHourMinute(Vexil::CDOMElement element, const Glib::ustring& xpath);
  // The expiry settings of the log of `kind`, an AutoDeleteKind; all zero for any other number.
  // Raises CXMLError when the log's autodelete element is missing; below it, whatever is missing
  // reads as 0, and a missing "expire/days" also leaves the percent 0.
  AutoDelete GetAutoDelete(int kind);
  // Detaches the element at `xpath` from the root and returns it, owned by its handle. Raises
  // CXMLError.
  Vexil::CDOMElement RemoveNode(const Glib::ustring& xpath);
  // Detaches every element at `xpath`, until none is left or a removal fails.
  std::list<Vexil::CDOMElement> RemoveNodes(const Glib::ustring& xpath);

  std::string lock_path;
};

// The leading decimal number of `text`, after white space; 0 when there is none. A number out
// of range gives the nearest limit of int.
int StrToInt(const Glib::ustring& text);

}  // namespace sarvik

#endif  // SARVIK_SETTINGS_XML_DATA_H_
