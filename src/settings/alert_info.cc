// The alert rule record: construction and the stored period.
#include "settings/alert_info.h"

namespace sarvik {

void AlertInfo::AlertPattern::set_flag(uint32_t& flags, bool on, uint32_t bits) {
  if (on) {
    flags |= bits;
  } else {
    flags &= ~bits;
  }
}

AlertInfo::AlertInfo(const std::string& name) : name(name) {}

AlertInfo::~AlertInfo() = default;

void AlertInfo::set_period(bool period_not, HourMinute from, HourMinute to) {
  this->period_not = period_not;
  from_hour = from.hour;
  from_minute = from.minute;
  if (to.hour == 0 && to.minute == 0) {
    to_hour = 24;
    to_minute = 0;
  } else {
    to_hour = to.hour;
    to_minute = to.minute;
  }
}

}  // namespace sarvik
