// Building a query's plan with the settings read by the service's own code.
#include "query/query_plan.h"

namespace sarvik::query {

// Apart from the plan itself, so that a program that reads the settings through another reader
// does not link the XML code.
bool build_query_plan(const QueryOptions& options, time_t now, bool terminal, QueryPlan* plan,
                      std::string* error) {
  std::unique_ptr<SettingsReader> settings = make_xml_settings_reader();
  return build_query_plan(options, now, terminal, *settings, plan, error);
}

}  // namespace sarvik::query
