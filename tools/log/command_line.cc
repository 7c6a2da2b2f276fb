// The command line of sarvik-log.
#include "log/command_line.h"

#include <CLI/CLI.hpp>

#include <iostream>

#include "query/display_text.h"
#include "support/fixed_paths.h"

namespace sarvik::log_tool {

using query::FilterValues;
using query::kTrouble;
using query::QueryOptions;

namespace {

const char kDescription[] =
    "Finds lines in the log keeper's logs by time, user, host, address, share, operation,\n"
    "result, path, text or regular expression, and replays the alert rules over them.\n"
    "Values of one option are alternatives; different options must all hold.";

const char kFooter[] =
    "Times are local: YYYY-MM-DD, 'YYYY-MM-DD hh:mm[:ss]', 'YYYY/MM/DD hh:mm:ss', today,\n"
    "yesterday, -30m, -2h, -7d. Exit status: 0 a line matched, 1 none, 2 an error; with\n"
    "--verify: 0 all verified, 1 a finding, 2 an error. See sarvik-log(1).";

}  // namespace

int parse_query_options(int argc, char** argv, QueryOptions* o, verify::VerifyCommand* command) {
  CLI::App app(kDescription, "sarvik-log");
  app.footer(kFooter);
  o->settings = paths::kSettings;
  FilterValues& f = o->filters;
  // Each option takes one value per occurrence; repeating it gives alternatives.
  auto repeatable = [&](const char* name, std::vector<std::string>& values, const char* help) {
    app.add_option(name, values, help)->allow_extra_args(false);
  };
  app.add_option("--root", o->root,
                 "the log volume, which holds systemlog/, accesslog/, alertlog/ "
                 "(default: share/path of the settings)");
  app.add_option("--settings", o->settings, "the service's settings file")
      ->default_str(paths::kSettings);
  app.add_option("--kind", o->kind, "the log: access (default), system or alert")
      ->check(CLI::IsMember({"access", "system", "alert"}));
  app.add_option("--since", o->since, "lines from this time on");
  app.add_option("--until", o->until, "lines up to this time, inclusive");
  repeatable("--user", f.users, "user name, without regard to ASCII case");
  repeatable("--host", f.hosts, "client host, exact");
  repeatable("--share", f.shares, "share, exact");
  repeatable("--ip", f.addresses, "client address or CIDR network");
  repeatable("--op", f.operations, "operation as logged, '*' for any run: open_*");
  repeatable("--result", f.results, "ok or fail (any reason)");
  repeatable("--path", f.paths,
             "path pattern with '*' and '?', ASCII case ignored; without them a substring");
  repeatable("--text", f.texts, "system lines: pattern against each of the three texts");
  repeatable("--grep", f.greps, "regular expression (RE2) against the whole line");
  repeatable("--rule", o->rule_names, "keep lines this alert rule fires on");
  app.add_flag("--rules", o->all_rules, "keep lines that any alert rule fires on");
  app.add_option("--output", o->output, "table, csv, tsv or json")
      ->check(CLI::IsMember({"table", "csv", "tsv", "json"}));
  app.add_flag("--count", o->count, "print the number of matching lines");
  app.add_option("--stats", o->stats,
                 "count lines by FIELD[,FIELD]: user, host, ip, op, result, share, day, hour "
                 "(system: text1, text2, text3, day, hour)");
  app.add_option("--top", o->top, "with --stats: the N largest counts")->check(CLI::PositiveNumber);
  app.add_option("--histogram", o->histogram, "a bar per day or hour")
      ->check(CLI::IsMember({"day", "hour"}));
  app.add_flag("--reverse", o->reverse, "newest first");
  app.add_option("--limit", o->limit, "at most N lines")->check(CLI::PositiveNumber);
  app.add_flag("--follow", o->follow, "then print new matching lines as they come, until Ctrl-C");
  app.add_flag("--index", o->build_index,
               "build the block indexes of the closed files of every log, then exit");
  app.add_flag("--no-index", o->no_index, "answer by scanning the files alone, without indexes");
  verify::add_verify_options(app, command);
  std::string error;
  try {
    app.parse(argc, argv);
    if (verify::check_verify_options(app, *o, command, &error)) return -1;
  } catch (const CLI::CallForHelp&) {
    std::cout << app.help();
    return 0;
  } catch (const CLI::ParseError& parse_error) {
    error = parse_error.what();
  }
  std::cerr << "sarvik-log: " << query::display_text(error)
            << "\nsarvik-log: see sarvik-log --help\n";
  return kTrouble;
}

}  // namespace sarvik::log_tool
