// The console's answers: the token's gate, the page, and every endpoint of the API over a real
// volume, held against what the command line's engine gives for the same options.
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <optional>
#include <thread>

#include "console_fixture.h"
#include "query/search.h"
#include "testing/file_text.h"
#include "web/api_answer.h"
#include "web/page_files.h"

namespace sarvik::web {
namespace {

using nlohmann::json;
using ::sarvik::testing::append_file;
using ::sarvik::testing::make_dirs;
using ::sarvik::testing::write_file;
using testing::ConsoleTest;

// What sarvik-log prints on standard output (not a terminal) for `options` over the volume.
std::string command_line_output(const std::string& root, query::QueryOptions options) {
  options.root = root;
  query::QueryPlan plan;
  std::string error;
  EXPECT_TRUE(query::build_query_plan(options, time(nullptr), false, &plan, &error)) << error;
  WarningList warnings;
  query::Problems problems(warnings);
  query::Search search(plan, problems);
  EXPECT_TRUE(search.open(false, &error)) << error;
  StringWriter out;
  search.write_lines(out);
  return out.text;
}

// The JSON objects of sarvik-log --output json, one per line.
std::vector<json> command_line_objects(const std::string& root, query::QueryOptions options) {
  options.output = "json";
  std::vector<json> objects;
  std::string text = command_line_output(root, options);
  for (size_t start = 0, end; (end = text.find('\n', start)) != std::string::npos;
       start = end + 1) {
    objects.push_back(json::parse(text.substr(start, end - start)));
  }
  return objects;
}

// Whether `value` is attachment; filename="sarvik-access-YYYYMMDD-hhmmss.FORM".
bool names_export_file(const std::string& value, const std::string& form) {
  const std::string front = "attachment; filename=\"sarvik-access-";
  const std::string back = "." + form + "\"";
  if (value.size() != front.size() + 15 + back.size() ||
      value.compare(0, front.size(), front) != 0 ||
      value.compare(value.size() - back.size(), back.size(), back) != 0) {
    return false;
  }
  std::string stamp = value.substr(front.size(), 15);
  for (size_t i = 0; i < stamp.size(); ++i) {
    if (i == 8 ? stamp[i] != '-' : (stamp[i] < '0' || stamp[i] > '9')) return false;
  }
  return true;
}

bool has_header(const Response& response, const std::string& name, const std::string& value) {
  for (const auto& [key, text] : response.headers) {
    if (key == name && text == value) return true;
  }
  return false;
}

TEST_F(ConsoleTest, WithoutTheTokenTheApiAnswers401InJson) {
  for (const char* path : {"/api/lines", "/api/count", "/api/follow", "/api/export"}) {
    Response response = get(path, {}, /*signed_in=*/false);
    EXPECT_EQ(response.status, 401) << path;
    EXPECT_EQ(response.content_type, kJsonType);
    EXPECT_NE(json::parse(response.body)["error"].get<std::string>().find("sarvik-web --url"),
              std::string::npos);
    EXPECT_FALSE(response.stream);
  }
}

TEST_F(ConsoleTest, WithoutTheTokenThePageSaysHowToGetInWithoutAScript) {
  Response response = get("/", {}, /*signed_in=*/false);
  EXPECT_EQ(response.status, 401);
  EXPECT_EQ(response.content_type, "text/html; charset=utf-8");
  EXPECT_NE(response.body.find("sarvik-web --url"), std::string::npos);
  EXPECT_EQ(response.body.find("<script"), std::string::npos);
}

TEST_F(ConsoleTest, AWrongTokenIsNoToken) {
  Request request;
  request.method = "GET";
  request.path = "/api/count";
  request.authorization = "Bearer " + token.substr(0, 42) + "x";
  EXPECT_EQ(console->handle(request).status, 401);
  request.authorization.clear();
  request.cookie = "sarvik_web=" + token + "x";
  EXPECT_EQ(console->handle(request).status, 401);
  request.cookie = "other=1; sarvik_web=" + token;
  EXPECT_EQ(console->handle(request).status, 200);
}

TEST_F(ConsoleTest, SigningInSetsTheCookieAndLeavesTheAddressBar) {
  Response response = get("/login", {{"token", token}}, /*signed_in=*/false);
  EXPECT_EQ(response.status, 303);
  EXPECT_TRUE(has_header(response, "Location", "/"));
  EXPECT_TRUE(has_header(response, "Set-Cookie",
                         "sarvik_web=" + token + "; Path=/; HttpOnly; SameSite=Strict"));
  EXPECT_EQ(get("/login", {{"token", "wrong"}}, false).status, 401);
  EXPECT_EQ(get("/login", {}, false).status, 401);
}

TEST_F(ConsoleTest, OnlyGetIsAnswered) {
  Request request;
  request.method = "POST";
  request.path = "/api/lines";
  request.authorization = "Bearer " + token;
  Response response = console->handle(request);
  EXPECT_EQ(response.status, 405);
  EXPECT_TRUE(has_header(response, "Allow", "GET"));
  request.path = "/";
  EXPECT_EQ(console->handle(request).status, 405);
}

TEST_F(ConsoleTest, AnUnknownPathIs404) {
  EXPECT_EQ(get("/api/nothing").status, 404);
  EXPECT_EQ(get("/api/").status, 404);
  EXPECT_EQ(get("/static/nothing.js").status, 404);
  EXPECT_EQ(get("/static/../index.html").status, 404);
  EXPECT_EQ(get("/etc/passwd").status, 404);
}

TEST_F(ConsoleTest, ThePageFilesAreServedWithTheirTypes) {
  Response index = get("/");
  EXPECT_EQ(index.status, 200);
  EXPECT_EQ(index.content_type, "text/html; charset=utf-8");
  const PageFile* file = find_page_file("index.html");
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(index.body, std::string(reinterpret_cast<const char*>(file->data), file->size));
  for (const PageFile* page = page_files_begin(); page != page_files_end(); ++page) {
    Response response = get(std::string("/static/") + page->name);
    EXPECT_EQ(response.status, 200) << page->name;
    EXPECT_EQ(response.content_type, page->content_type);
  }
}

TEST_F(ConsoleTest, EveryAnswerForbidsForeignOriginsAndTheApiIsNotCached) {
  auto headers = common_headers("/api/lines");
  auto has = [&](const std::string& name, const std::string& value) {
    for (const auto& header : headers) {
      if (header.first == name && header.second == value) return true;
    }
    return false;
  };
  EXPECT_TRUE(has("Content-Security-Policy", kContentSecurityPolicy));
  EXPECT_TRUE(has("X-Content-Type-Options", "nosniff"));
  EXPECT_TRUE(has("Referrer-Policy", "no-referrer"));
  EXPECT_TRUE(has("Cache-Control", "no-store"));
  headers = common_headers("/");
  EXPECT_FALSE(has("Cache-Control", "no-store"));
  EXPECT_TRUE(has("Content-Security-Policy", kContentSecurityPolicy));
}

TEST_F(ConsoleTest, APageHoldsTheCommandLinesJsonObjects) {
  json page = get_json("/api/lines", {{"user", "alice"}, {"limit", "5"}});
  ASSERT_TRUE(page.contains("lines") && page.contains("next") && page.contains("warnings"));
  EXPECT_TRUE(page["warnings"].is_array());
  query::QueryOptions options;
  options.filters.users = {"alice"};
  options.limit = 5;
  std::vector<json> expected = command_line_objects(root, options);
  ASSERT_EQ(page["lines"].size(), 5u);
  for (size_t i = 0; i < expected.size(); ++i) EXPECT_EQ(page["lines"][i], expected[i]);
  EXPECT_TRUE(page["next"].is_string());
}

TEST_F(ConsoleTest, APageHasAHundredLinesUnlessAskedOtherwise) {
  json page = get_json("/api/lines", {{"reverse", "1"}});
  EXPECT_EQ(page["lines"].size(), 100u);
  EXPECT_EQ(get_json("/api/lines", {{"limit", "1000"}})["lines"].size(),
            static_cast<size_t>(access_lines));
  json refused = get_json("/api/lines", {{"limit", "1001"}}, 400);
  EXPECT_EQ(refused["error"], "'limit' is at most 1000 lines a page");
}

// Pages of 7, newest first, followed by their cursors, give every matching line once, in the
// order of the whole answer.
TEST_F(ConsoleTest, PagesFollowedByTheirCursorsJoinUpToTheWholeAnswer) {
  for (bool reverse : {true, false}) {
    query::QueryOptions options;
    options.filters.users = {"alice", "bob"};
    options.reverse = reverse;
    std::vector<json> whole = command_line_objects(root, options);
    Parameters asked{{"user", "alice"}, {"user", "bob"}, {"limit", "7"}};
    if (reverse) asked.emplace_back("reverse", "true");
    std::vector<json> paged;
    std::optional<std::string> cursor;
    for (int pages = 0; pages < 100; ++pages) {
      Parameters parameters = asked;
      if (cursor) parameters.emplace_back("cursor", *cursor);
      json page = get_json("/api/lines", parameters);
      for (const json& line : page["lines"]) paged.push_back(line);
      if (page["next"].is_null()) break;
      cursor = page["next"].get<std::string>();
    }
    ASSERT_EQ(paged.size(), whole.size()) << "reverse " << reverse;
    EXPECT_EQ(paged, whole);
  }
}

TEST_F(ConsoleTest, ACursorOfAnotherQueryOrNoneAtAllIs400) {
  json first = get_json("/api/lines", {{"user", "alice"}, {"limit", "5"}});
  std::string cursor = first["next"];
  json other = get_json("/api/lines", {{"user", "bob"}, {"cursor", cursor}}, 400);
  EXPECT_NE(other["error"].get<std::string>().find("another query"), std::string::npos);
  // A different page size is the same query.
  get_json("/api/lines", {{"user", "alice"}, {"limit", "50"}, {"cursor", cursor}});
  get_json("/api/lines", {{"user", "alice"}, {"cursor", "not-a-cursor"}}, 400);
}

TEST_F(ConsoleTest, ABadOptionGivesTheCommandLinesMessage) {
  EXPECT_EQ(get_json("/api/lines", {{"ip", "300.1.1.1"}}, 400)["error"],
            "--ip '300.1.1.1' is neither an address nor ADDRESS/PREFIX");
  EXPECT_EQ(get_json("/api/count", {{"text", "x"}}, 400)["error"],
            "--text applies to system lines (--kind system); use --grep for whole lines");
  EXPECT_EQ(get_json("/api/count", {{"kind", "system"}, {"user", "x"}}, 400)["error"],
            "--user applies to access and alert lines, not to --kind system");
  std::string since = get_json("/api/lines", {{"since", "next tuesday"}}, 400)["error"];
  EXPECT_EQ(since.rfind("--since: ", 0), 0u) << since;
  std::string grep = get_json("/api/count", {{"grep", "(unclosed"}}, 400)["error"];
  EXPECT_EQ(grep.rfind("--grep", 0), 0u) << grep;
  EXPECT_EQ(get_json("/api/count", {{"rule", "no-such-rule"}}, 400)["error"],
            settings_path + ": no alert rule is named 'no-such-rule'");
  EXPECT_EQ(get_json("/api/count", {{"root", "/"}}, 400)["error"],
            "'root' is not a parameter: the log volume and the settings are the server's");
  EXPECT_EQ(get_json("/api/count", {{"limit", "5"}}, 400)["error"], "unknown parameter 'limit'");
}

TEST_F(ConsoleTest, CountStatsAndHistogramAreTheCommandLinesSummaries) {
  json count = get_json("/api/count", {{"user", "alice"}});
  EXPECT_EQ(count["count"], 100);
  EXPECT_TRUE(count["warnings"].empty());

  json stats = get_json("/api/stats", {{"stats", "user,result"}, {"top", "2"}});
  ASSERT_EQ(stats["stats"].size(), 2u);
  EXPECT_EQ(stats["stats"][0].size(), 3u);
  EXPECT_TRUE(stats["stats"][0]["count"].is_number());
  EXPECT_GE(stats["stats"][0]["count"], stats["stats"][1]["count"]);
  EXPECT_TRUE(stats["stats"][0]["user"].is_string());
  EXPECT_EQ(get_json("/api/stats", {}, 400)["error"],
            "'stats' names the fields to count by: stats=FIELD[,FIELD]");
  std::string field = get_json("/api/stats", {{"stats", "colour"}}, 400)["error"];
  EXPECT_EQ(field.rfind("--stats: 'colour' is no field", 0), 0u) << field;

  json days = get_json("/api/histogram", {{"histogram", "day"}});
  EXPECT_EQ(days["interval"], "day");
  ASSERT_EQ(days["histogram"].size(), 31u);  // 2024-02-01 to 2024-03-02, empty days included
  EXPECT_EQ(days["histogram"][0], json({{"day", "2024-02-01"}, {"count", 120}}));
  EXPECT_EQ(days["histogram"][1]["count"], 0);
  EXPECT_EQ(days["histogram"][29], json({{"day", "2024-03-01"}, {"count", 150}}));
  EXPECT_EQ(days["histogram"][30], json({{"day", "2024-03-02"}, {"count", 30}}));
}

TEST_F(ConsoleTest, TheHistogramsIntervalFollowsTheRange) {
  EXPECT_EQ(get_json("/api/histogram")["interval"], "day");
  json three_days =
      get_json("/api/histogram", {{"since", "2024-03-01"}, {"until", "2024-03-03 23:59:59"}});
  EXPECT_EQ(three_days["interval"], "hour");
  EXPECT_EQ(three_days["histogram"][0], json({{"hour", "2024-03-01 00:00"}, {"count", 60}}));
  EXPECT_EQ(
      get_json("/api/histogram", {{"since", "2024-03-01"}, {"until", "2024-03-05"}})["interval"],
      "day");
  EXPECT_EQ(get_json("/api/histogram", {{"since", "2024-03-01"}})["interval"], "day");
  EXPECT_EQ(get_json("/api/histogram", {{"histogram", "hour"}})["interval"], "hour");
  // A range without an end runs up to now, as the page's presets give it.
  EXPECT_EQ(get_json("/api/histogram", {{"since", "-24h"}})["interval"], "hour");
  EXPECT_EQ(get_json("/api/histogram", {{"since", "-2d"}})["interval"], "hour");
  EXPECT_EQ(get_json("/api/histogram", {{"since", "-4d"}})["interval"], "day");
}

TEST_F(ConsoleTest, AQuestionWhoseClientHungUpIsGivenUp) {
  for (const char* endpoint : {"/api/lines", "/api/count", "/api/stats", "/api/histogram"}) {
    int pair[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair), 0);
    close(pair[1]);  // the client's end: gone before its question is answered
    Request request;
    request.method = "GET";
    request.path = endpoint;
    request.authorization = "Bearer " + token;
    request.client_fd = pair[0];
    if (std::string(endpoint) == "/api/stats") request.parameters = {{"stats", "user"}};
    Response response = console->handle(request);
    close(pair[0]);
    EXPECT_EQ(response.status, 503) << endpoint << ": " << response.body;
    EXPECT_EQ(nlohmann::json::parse(response.body)["error"],
              "the connection closed while the question was answered: given up");
  }
}

TEST_F(ConsoleTest, AClientThatStaysIsAnswered) {
  int pair[2];
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair), 0);
  Request request;
  request.method = "GET";
  request.path = "/api/count";
  request.authorization = "Bearer " + token;
  request.client_fd = pair[0];
  Response response = console->handle(request);
  close(pair[0]);
  close(pair[1]);
  ASSERT_EQ(response.status, 200) << response.body;
  EXPECT_EQ(nlohmann::json::parse(response.body)["count"], access_lines);
}

TEST_F(ConsoleTest, TheExportIsTheCommandLinesOutputByteForByte) {
  for (const char* form : {"csv", "tsv", "json"}) {
    Response response = get("/api/export", {{"output", form}, {"user", "alice"}});
    ASSERT_EQ(response.status, 200) << response.body;
    std::string body = drain(response);
    query::QueryOptions options;
    options.output = form;
    options.filters.users = {"alice"};
    EXPECT_EQ(body, command_line_output(root, options)) << form;
    bool named = false;
    for (const auto& [name, value] : response.headers) {
      named = named || (name == "Content-Disposition" && names_export_file(value, form));
    }
    EXPECT_TRUE(named) << form;
  }
  Response csv = get("/api/export", {{"reverse", "1"}, {"limit", "3"}});
  query::QueryOptions options;
  options.reverse = true;
  options.limit = 3;
  EXPECT_EQ(drain(csv), command_line_output(root, options));
  EXPECT_EQ(csv.content_type, "text/csv; charset=utf-8");
}

TEST_F(ConsoleTest, TheRulesAreListedWithTheirLines) {
  json rules = get_json("/api/rules");
  EXPECT_EQ(rules["settings"], settings_path);
  EXPECT_EQ(rules["rules"], json::array({json({{"name", "docs-reads"}, {"line", 10}})}));
}

TEST_F(ConsoleTest, ALoggedLineIsTriedAgainstEveryRule) {
  std::string file = "accesslog/202402/access_20240201000000.csv";
  json fires = get_json("/api/rules", {{"file", file}, {"line", "1"}});
  EXPECT_EQ(fires["file"], file);
  EXPECT_EQ(fires["line"], 1);
  EXPECT_EQ(fires["event"]["user"], "alice");
  EXPECT_EQ(fires["event"]["op"], "open_read");
  EXPECT_EQ(fires["event"]["result"], "fail");  // the brief form the rules see
  EXPECT_EQ(fires["event"]["time"], "2024-02-01T00:00:00+00:00");
  EXPECT_EQ(fires["rules"],
            json::array({json({{"name", "docs-reads"}, {"line", 10}, {"fires", true}})}));
  json stops = get_json("/api/rules", {{"file", file}, {"line", "2"}});
  EXPECT_EQ(stops["rules"][0]["fires"], false);
  EXPECT_EQ(stops["rules"][0]["reason"], "user: \"bob\" is not in 'usernamelist'");
  // The record with a line feed in its path takes two lines: the third record is on line 10.
  json after = get_json("/api/rules", {{"file", file}, {"line", "11"}});
  EXPECT_EQ(after["event"]["path"], "<img src=x onerror=alert(1)>\x1b[31m");
  get_json("/api/rules", {{"file", file}, {"line", "10"}}, 404);
  get_json("/api/rules", {{"file", file}, {"line", "122"}}, 404);
  json alert =
      get_json("/api/rules", {{"file", "alertlog/202403/alert_20240301000000.csv"}, {"line", "1"}});
  EXPECT_EQ(alert["rules"][0]["fires"], true);
}

TEST_F(ConsoleTest, RulesReadNoFileOutsideTheLogs) {
  write_file(dir / "secret.csv", "2024/03/01 00:00:00,alice,pc,ip,open_read,ok,docs,x.txt\r\n");
  ASSERT_EQ(symlink((dir / "secret.csv").c_str(),
                    (root + "/accesslog/202403/access_20240303000000.csv").c_str()),
            0);
  make_dirs(dir / "elsewhere");
  ASSERT_EQ(symlink((dir / "elsewhere").c_str(), (root + "/accesslog/202404").c_str()), 0);
  write_file(dir / "elsewhere/access_20240401000000.csv", "2024/04/01 00:00:00,a\r\n");
  for (const char* file :
       {"../secret.csv", "/etc/passwd", "accesslog/202403/../../../secret.csv",
        "accesslog/../../secret.csv", "accesslog/202403/access_20240303000000.csv",
        "accesslog/202404/access_20240401000000.csv", "systemlog/202403/system_20240301000000.csv",
        "accesslog/202403/notes.txt", "accesslog/202403", "accesslog/2024/access_1.csv"}) {
    Response response = get("/api/rules", {{"file", file}, {"line", "1"}});
    EXPECT_EQ(response.status, 400) << file << ": " << response.body;
  }
  get_json("/api/rules", {{"file", "accesslog/202403/access_20990101000000.csv"}, {"line", "1"}},
           404);
  get_json("/api/rules", {{"file", "accesslog/202402/access_20240201000000.csv"}}, 400);
  get_json("/api/rules", {{"line", "1"}}, 400);
  get_json("/api/rules", {{"user", "alice"}}, 400);
}

TEST_F(ConsoleTest, TheFilesAreListedOldestFirstWithTheirLinesAndTimes) {
  json files = get_json("/api/files");
  ASSERT_EQ(files["files"].size(), 5u);
  EXPECT_EQ(files["files"][0], json({{"file", "accesslog/202402/access_20240201000000.csv"},
                                     {"kind", "access"},
                                     {"bytes", files["files"][0]["bytes"]},
                                     {"lines", 120},
                                     {"first", "2024-02-01T00:00:00+00:00"},
                                     {"last", "2024-02-01T01:59:00+00:00"}}));
  EXPECT_GT(files["files"][0]["bytes"], 0);
  json systems = get_json("/api/files", {{"kind", "system"}});
  ASSERT_EQ(systems["files"].size(), 1u);
  EXPECT_EQ(systems["files"][0]["lines"], 3);
  EXPECT_EQ(systems["files"][0]["kind"], "system");
  get_json("/api/files", {{"user", "alice"}}, 400);
}

TEST_F(ConsoleTest, ALinkAmongTheFilesIsNotFollowed) {
  write_file(dir / "secret.csv", "2024/03/01 00:00:00,secret\r\n");
  ASSERT_EQ(symlink((dir / "secret.csv").c_str(),
                    (root + "/accesslog/202403/access_20240303000000.csv").c_str()),
            0);
  json files = get_json("/api/files", {{"kind", "access"}});
  EXPECT_EQ(files["files"].size(), 3u);
  ASSERT_EQ(files["warnings"].size(), 1u);
  EXPECT_NE(files["warnings"][0].get<std::string>().find("not a regular file"), std::string::npos);
  json lines = get_json("/api/lines", {{"grep", "secret"}});
  EXPECT_TRUE(lines["lines"].empty());
  EXPECT_FALSE(lines["warnings"].empty());
}

TEST_F(ConsoleTest, SettingsThatCannotBeReadAnswer500) {
  settings.root.clear();
  settings.settings = dir / "missing.xml";
  console = std::make_unique<Console>(settings);
  json answer = get_json("/api/lines", {}, 500);
  EXPECT_EQ(answer["error"].get<std::string>().rfind(dir / "missing.xml", 0), 0u);
  get_json("/api/files", {}, 500);
  get_json("/api/rules", {}, 500);
}

TEST_F(ConsoleTest, WithoutARootTheSettingsNameTheVolume) {
  settings.root.clear();
  console = std::make_unique<Console>(settings);
  EXPECT_EQ(get_json("/api/count")["count"], access_lines);
}

TEST_F(ConsoleTest, AVolumeThatCannotBeReadAnswers500) {
  settings.root = dir / "no-volume";
  console = std::make_unique<Console>(settings);
  for (const char* path : {"/api/lines", "/api/count", "/api/export", "/api/follow"}) {
    EXPECT_EQ(get(path).status, 500) << path;
  }
}

TEST_F(ConsoleTest, AnExponentialExpressionElsewhereIsLinearHere) {
  json answer = get_json("/api/count", {{"grep", "(a*)*(b|c)*(a|aa)*$x"}});
  EXPECT_EQ(answer["count"], 0);
  // An expression larger than the compiler's memory bound is refused, not compiled.
  std::string huge = "((((((((((a{1000}){1000}){1000}){1000}){1000})))))";
  EXPECT_EQ(get(("/api/count"), {{"grep", huge}}).status, 400);
}

TEST_F(ConsoleTest, APageOfOverlongRecordsIsRefusedNotHeld) {
  // Anyone may write below the volume: records of megabytes of control bytes, each six times
  // as long in JSON.
  std::string record =
      "2024/03/05 00:00:00,mallory,pc,ip,open_read,ok,docs," + std::string(3 * 1024 * 1024, '\x01');
  make_dirs(root + "/accesslog/202403");
  write_file(root + "/accesslog/202403/access_20240305000000.csv",
             record + "\r\n" + record + "\r\n" + record + "\r\n");
  json refused = get_json("/api/lines", {{"user", "mallory"}}, 413);
  EXPECT_NE(refused["error"].get<std::string>().find("ask fewer"), std::string::npos);
  EXPECT_EQ(get_json("/api/lines", {{"user", "mallory"}, {"limit", "1"}})["lines"].size(), 1u);
}

TEST_F(ConsoleTest, FollowSendsOnlyLinesWrittenAfterTheRequest) {
  std::string file = root + "/accesslog/202403/access_20240302000000.csv";
  append_file(file, "2024/03/02 09:00:00,dave,pc1,192.0.2.1,open_read,ok,docs,old.txt\r\n");
  Response response = get("/api/follow", {{"user", "dave"}});
  ASSERT_EQ(response.status, 200) << response.body;
  EXPECT_EQ(response.content_type, "text/event-stream; charset=utf-8");
  // The stream is read while it runs: a writer that keeps what it gets and stops the body once
  // the new line is in.
  class Reader : public query::TextWriter {
   public:
    explicit Reader(BodyWriter& body) : body(body) {}
    bool write(std::string_view piece) override {
      std::lock_guard<std::mutex> hold(mutex);
      text.append(piece);
      if (text.find("new.txt") != std::string::npos) body.cancel();
      return true;
    }
    bool flush() override { return true; }
    std::string result() {
      std::lock_guard<std::mutex> hold(mutex);
      return text;
    }

   private:
    BodyWriter& body;
    std::mutex mutex;
    std::string text;
  } reader(*response.stream);
  std::thread following([&] { response.stream->run(reader); });
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  append_file(file, "2024/03/02 09:01:00,dave,pc1,192.0.2.1,open_read,ok,docs,new.txt\r\n");
  following.join();
  std::string text = reader.result();
  EXPECT_EQ(text.find("old.txt"), std::string::npos) << text;
  size_t event = text.find("data: {\"kind\":\"access\",\"time\":\"2024-03-02T09:01:00+00:00\"");
  ASSERT_NE(event, std::string::npos) << text;
  EXPECT_NE(text.find("\"path\":\"new.txt\"}\n\n", event), std::string::npos) << text;
  EXPECT_NE(text.find(": keep-alive\n\n"), std::string::npos) << text;  // 200 ms here
}

TEST_F(ConsoleTest, FollowRefusesWhatFollowingCannotDo) {
  EXPECT_EQ(get("/api/follow", {{"limit", "5"}}).status, 400);
  EXPECT_EQ(get("/api/follow", {{"reverse", "1"}}).status, 400);
}

}  // namespace
}  // namespace sarvik::web
