// The optional "hardening" element of the service's settings.
#include "settings/hardening.h"

#include "settings/settings_keys.h"
#include "settings/xml_data.h"

namespace sarvik {

namespace {

// The number at `xpath` below `root` when it is above 0, otherwise 0 (the limit off).
int positive_number(const Vexil::CDOMElement& root, const char* xpath) {
  const int value = StrToInt(XmlData::GetNodeText(root, xpath, "0"));
  return value > 0 ? value : 0;
}

}  // namespace

Hardening read_hardening(Vexil::CDOMElement root) {
  Hardening limits;
  limits.client_seconds = positive_number(root, keys::kClientTimeout);
  limits.notice.script_seconds = positive_number(root, keys::kScriptTimeout);
  limits.notice.reply_bytes = static_cast<size_t>(positive_number(root, keys::kScriptReplyLimit));
  limits.notice.lock_seconds = positive_number(root, keys::kLockTimeout);
  limits.notice.safe_text = XmlData::GetEnable(root, keys::kSafeText, keys::kEnable);
  limits.seal = XmlData::GetEnable(root, keys::kSeal, keys::kEnable);
  return limits;
}

}  // namespace sarvik
