// The settings reads of one access record, as the handler makes them, on the benchmark's
// settings: the switch, the share filter, the volume, the expiry settings and the rule list.
#include <benchmark/benchmark.h>

#include <sstream>
#include <string>

#include "settings/config_xml.h"
#include "settings/settings_keys.h"

namespace sarvik {
namespace {

// `alerts` rules that never fire, to show what a larger document costs the reads.
std::string BenchSettings(int alerts) {
  std::string xml =
      "<config><share><path>/mnt/data/logs</path></share><eventlogconf enable=\"true\">"
      "<autodelete enable=\"false\"><expire><days>30</days><percent>5</percent></expire>"
      "</autodelete></eventlogconf><accesslogconf enable=\"true\"><sharelist all=\"true\">"
      "<share><name>docs</name></share></sharelist><autodelete enable=\"false\"><expire><days>30"
      "</days><percent>5</percent></expire></autodelete></accesslogconf><alertlist>";
  for (int i = 0; i < alerts; ++i) {
    xml += "<alert><name>r" + std::to_string(i) +
           "</name><period><weekdays/></period><usernamelist all=\"true\"/><operationlist>"
           "<operation type=\"open_read\" enable=\"true\"/></operationlist></alert>";
  }
  return xml + "</alertlist></config>";
}

void BM_SettingsReadsOfOneRequest(benchmark::State& state) {
  ConfigXml config;
  std::istringstream text(BenchSettings(static_cast<int>(state.range(0))));
  config.Load(text);
  for (auto _ : state) {
    benchmark::DoNotOptimize(config.GetRootEnable(keys::kAccessLogConf, keys::kEnable));
    benchmark::DoNotOptimize(is_logged_share("docs", config));
    benchmark::DoNotOptimize(config.get_share_path());
    benchmark::DoNotOptimize(config.GetAutoDelete(kAccessLogExpiry));
    benchmark::DoNotOptimize(config.get_alert_list().size());
  }
}
BENCHMARK(BM_SettingsReadsOfOneRequest)->Arg(0)->Arg(100);

}  // namespace
}  // namespace sarvik
