// A time of day as the settings write it: hour and minute.
#ifndef SARVIK_SETTINGS_HOUR_MINUTE_H_
#define SARVIK_SETTINGS_HOUR_MINUTE_H_

namespace sarvik {

// A plain value; no range is checked, so an hour of 25 stays 25.
struct HourMinute {
  int hour;
  int minute;
};

}  // namespace sarvik

#endif  // SARVIK_SETTINGS_HOUR_MINUTE_H_
