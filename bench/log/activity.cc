// When the office works: the moments of the corpus's access lines, in time order.
#include "activity.h"

#include <algorithm>

namespace sarvik::corpus {

namespace {

// Share of the peak office load by hour on a working day.
constexpr float kWorkingHours[24] = {0.02f, 0.01f, 0.01f, 0.01f, 0.01f, 0.02f, 0.08f, 0.45f,
                                     0.95f, 1.00f, 1.00f, 0.90f, 0.55f, 0.85f, 1.00f, 0.95f,
                                     0.80f, 0.50f, 0.22f, 0.12f, 0.08f, 0.05f, 0.04f, 0.03f};
constexpr float kWeekendShare = 0.04f;
// The backup reads the shares between 1:00 and 3:00 every night.
constexpr float kBackupLoad = 0.6f;
// About one burst in 800 minutes, lasting 1 to 15 minutes at 10 to 40 times the peak load.
constexpr double kBurstChance = 1.0 / 800;

}  // namespace

Activity::Activity(time_t start, time_t end, uint64_t lines, Random& random)
    : random(random), first_minute(start - start % 60), lines(lines) {
  size_t count = end > first_minute ? static_cast<size_t>((end - first_minute) / 60) : 0;
  minutes.resize(std::max<size_t>(count, 1));
  double total = 0;
  double day_factor = 1;
  int last_day = -1;
  for (size_t i = 0; i < minutes.size(); ++i) {
    time_t when = first_minute + static_cast<time_t>(i) * 60;
    struct tm local = {};
    localtime_r(&when, &local);
    if (local.tm_yday != last_day) {
      last_day = local.tm_yday;
      // Some days are busier than others; about one working day in 30 is a holiday.
      day_factor = random.chance(1.0 / 30) ? 0.05 : 0.6 + 0.8 * random.unit();
    }
    bool working_day = local.tm_wday != 0 && local.tm_wday != 6;
    Minute& m = minutes[i];
    m.office = static_cast<float>(kWorkingHours[local.tm_hour] * day_factor) *
               (working_day ? 1.0f : kWeekendShare);
    m.backup = local.tm_hour >= 1 && local.tm_hour < 3 ? kBackupLoad : 0;
    m.burst = 0;
    m.burst_id = -1;
    total += m.office + m.backup;
  }
  // Bursts happen while people work; each belongs to one person.
  for (size_t i = 0; i < minutes.size(); ++i) {
    if (minutes[i].office < 0.3f || !random.chance(kBurstChance)) continue;
    size_t length = 1 + random.below(15);
    float load = 10.0f + 30.0f * static_cast<float>(random.unit());
    for (size_t j = i; j < std::min(minutes.size(), i + length); ++j) {
      minutes[j].burst = load;
      minutes[j].burst_id = static_cast<int32_t>(bursts);
      total += load;
    }
    ++bursts;
    i += length;
  }
  scale = total > 0 ? static_cast<double>(lines) / total : 0;
  start_minute();
}

void Activity::start_minute() {
  const Minute& m = minutes[minute];
  owed += (m.office + m.backup + m.burst) * scale;
  uint64_t due = minute + 1 == minutes.size() ? lines : std::min<uint64_t>(lines, owed);
  of_minute = due > made ? static_cast<uint32_t>(due - made) : 0;
  in_minute = 0;
}

bool Activity::next(Moment* moment) {
  while (in_minute == of_minute) {
    if (minute + 1 >= minutes.size()) return false;
    made += of_minute;
    ++minute;
    start_minute();
  }
  const Minute& m = minutes[minute];
  // Evenly over the minute with some jitter; the seconds of one minute never decrease.
  double place = (in_minute + random.unit()) / of_minute;
  moment->when = first_minute + static_cast<time_t>(minute) * 60 + static_cast<time_t>(place * 60);
  double draw = random.unit() * (m.office + m.backup + m.burst);
  moment->driver = draw < m.burst              ? Driver::kBurst
                   : draw < m.burst + m.backup ? Driver::kBackup
                                               : Driver::kOffice;
  moment->burst = m.burst_id < 0 ? 0 : static_cast<uint32_t>(m.burst_id);
  ++in_minute;
  return true;
}

}  // namespace sarvik::corpus
