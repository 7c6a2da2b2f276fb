// sarvik-web end to end: the real server on the volume that the real service writes, over its
// sockets, with the token, the command line's bytes, live follow, and hostile clients.
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <fstream>
#include <nlohmann/json.hpp>
#include <thread>

#include "harness/alert_rules.h"
#include "harness/command.h"
#include "harness/http_client.h"
#include "harness/log_tool.h"
#include "harness/records.h"
#include "harness/service_test.h"
#include "testing/file_text.h"
#include "testing/fresh_volumes.h"
#include "testing/time_zone.h"

namespace sarvik::testing {
namespace {

using nlohmann::json;

constexpr char kSocket[] = "/tmp/sarvik-web.socket";
constexpr char kStateDir[] = "/tmp/sarvik-web-state";

class SarvikWeb : public ServiceTest {
 protected:
  void SetUp() override {
    ServiceTest::SetUp();
    std::string why;
    ASSERT_TRUE(bring_loopback_up(&why)) << why;
    Settings settings;
    settings.alerts = alert_rule("docs-reads", "<sharename>docs</sharename>");
    write_settings(settings);
    start_service();
    web = start_web({"--listen", kSocket});
    token = read_file(std::string(kStateDir) + "/token");
    token.pop_back();  // its line feed
    address.socket_path = kSocket;
  }

  void TearDown() override {
    if (web) {
      std::string errors = web->stderr_text();
      EXPECT_EQ(errors.find("Sanitizer"), std::string::npos) << errors;
      EXPECT_EQ(errors.find("runtime error:"), std::string::npos) << errors;
      web->send_signal(SIGTERM);
      EXPECT_EQ(web->wait_exit(10s), 0) << web->stderr_text();
    }
    ServiceTest::TearDown();
  }

  // Starts sarvik-web with the test's state directory and `args`; it is ready once it says so.
  std::unique_ptr<DaemonProcess> start_web(std::vector<std::string> args) {
    args.insert(args.end(), {"--state-dir", kStateDir});
    auto process = std::make_unique<DaemonProcess>(SARVIK_WEB_PATH, args);
    EXPECT_TRUE(process->wait_for_stdout("sarvik-web: listening on")) << process->stderr_text();
    return process;
  }

  HttpAnswer get(const std::string& target, std::chrono::milliseconds timeout = 10s) {
    return http_get(address, target, {"Authorization: Bearer " + token}, timeout);
  }

  json get_json(const std::string& target, int status = 200) {
    HttpAnswer answer = get(target);
    EXPECT_EQ(answer.status, status) << target << ": " << answer.body;
    EXPECT_TRUE(answer.complete) << target;
    return json::parse(answer.body);
  }

  // Sends access records of `users` in turn, `count` in all, with awkward paths among them.
  void send_access(int count, const std::vector<std::string>& users) {
    std::vector<std::string> records;
    const char* paths[] = {
        "r|plain.txt",     "w|reports/q1,q2.txt", "r|<img src=x onerror=alert(1)>",
        "r|esc\x1b[2Jape", "r|quote\"d",          "r|caf\xc3\xa9"};
    for (int i = 0; i < count; ++i) {
      records.push_back("access\t" + users[i % users.size()] + "\tpc" + std::to_string(i % 3) +
                        "\t192.0.2." + std::to_string(i % 7) + "\topen\t" +
                        std::to_string(i % 4 == 0 ? 0 : 1) + "\t13\tdocs\t" + paths[i % 6]);
    }
    ASSERT_EQ(send_records(records).status, 0);
  }

  std::unique_ptr<DaemonProcess> web;
  std::unique_ptr<DaemonProcess> other_web;
  std::string token;
  WebAddress address;
  ScopedTimeZone zone{kBerlin};
};

TEST_F(SarvikWeb, WithoutTheTokenAnswers401AndTheUrlSignsIn) {
  HttpAnswer refused = http_get(address, "/api/count");
  EXPECT_EQ(refused.status, 401);
  EXPECT_EQ(refused.header("content-type"), "application/json; charset=utf-8");
  EXPECT_EQ(http_get(address, "/").status, 401);
  EXPECT_EQ(file_mode(kStateDir), 0700);
  EXPECT_EQ(file_mode(std::string(kStateDir) + "/token"), 0600);

  CommandResult url = run_command(
      {SARVIK_WEB_PATH, "--url", "--listen", "127.0.0.1:8514", "--state-dir", kStateDir});
  EXPECT_EQ(url.status, 0) << url.err;
  EXPECT_EQ(url.out, "http://127.0.0.1:8514/login?token=" + token + "\n");

  HttpAnswer login = http_get(address, "/login?token=" + token);
  EXPECT_EQ(login.status, 303);
  EXPECT_EQ(login.header("location"), "/");
  std::string cookie = login.header("set-cookie");
  EXPECT_EQ(cookie, "sarvik_web=" + token + "; Path=/; HttpOnly; SameSite=Strict");
  HttpAnswer page = http_get(address, "/", {"Cookie: sarvik_web=" + token});
  EXPECT_EQ(page.status, 200);
  EXPECT_EQ(page.header("content-type"), "text/html; charset=utf-8");
  EXPECT_EQ(http_get(address, "/api/count", {"Cookie: sarvik_web=" + token}).status, 200);
  EXPECT_EQ(http_get(address, "/login?token=x" + token.substr(1)).status, 401);
}

TEST_F(SarvikWeb, EveryAnswerCarriesThePolicy) {
  for (const char* target : {"/", "/api/count", "/api/nothing", "/static/index.html"}) {
    for (bool signed_in : {true, false}) {
      HttpAnswer answer = signed_in ? get(target) : http_get(address, target);
      EXPECT_EQ(answer.header("content-security-policy"),
                "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data:; "
                "connect-src 'self'; base-uri 'none'; form-action 'self'; frame-ancestors 'none'")
          << target;
      EXPECT_EQ(answer.header("x-content-type-options"), "nosniff");
      EXPECT_EQ(answer.header("referrer-policy"), "no-referrer");
    }
  }
  EXPECT_EQ(get("/api/count").header("cache-control"), "no-store");
}

TEST_F(SarvikWeb, TheExportIsSarvikLogsOutputByteForByte) {
  send_access(60, {"alice", "bob", "ALICE"});
  for (const char* form : {"csv", "tsv", "json"}) {
    for (const std::string& filter : {std::string(""), std::string("&user=alice&result=fail")}) {
      HttpAnswer exported = get(std::string("/api/export?output=") + form + filter);
      EXPECT_EQ(exported.status, 200);
      EXPECT_EQ(exported.header("transfer-encoding"), "chunked");
      EXPECT_TRUE(exported.complete);
      std::vector<std::string> args{"--output", form};
      if (!filter.empty()) args.insert(args.end(), {"--user", "alice", "--result", "fail"});
      CommandResult reference = sarvik_log(args);
      ASSERT_EQ(reference.status, 0) << reference.err;
      EXPECT_EQ(exported.body, reference.out) << form << filter;
    }
  }
  // The lines' objects are the command line's too, newest first.
  json page = get_json("/api/lines?reverse=1&limit=5");
  CommandResult newest = sarvik_log({"--output", "json", "--reverse", "--limit", "5"});
  std::string objects;
  for (const json& line : page["lines"]) objects += line.dump() + "\n";
  json reference_first = json::parse(newest.out.substr(0, newest.out.find('\n')));
  EXPECT_EQ(page["lines"][0], reference_first);
  EXPECT_EQ(page["lines"].size(), 5u);
}

TEST_F(SarvikWeb, FollowShowsARecordSentWithSarvikSendWithinThreeSeconds) {
  send_access(3, {"alice"});
  HttpStream following(address, "/api/follow?user=zoe", {"Authorization: Bearer " + token});
  ASSERT_TRUE(following.wait_for("text/event-stream", 5s)) << following.received();
  auto sent = std::chrono::steady_clock::now();
  ASSERT_EQ(send_records({"access\tzoe\tpc9\t192.0.2.99\topen\t1\t0\tdocs\tr|live.txt"}).status, 0);
  EXPECT_TRUE(following.wait_for("\"path\":\"live.txt\"}\n\n", 3s)) << following.received();
  EXPECT_LT(std::chrono::steady_clock::now() - sent, 3s);
  std::string text = following.received();
  EXPECT_NE(text.find("data: {\"kind\":\"access\""), std::string::npos);
  EXPECT_EQ(text.find("\"user\":\"alice\""), std::string::npos);
}

TEST_F(SarvikWeb, FollowGoesOnIntoANewMonthDirectory) {
  HttpStream following(address, "/api/follow?kind=system", {"Authorization: Bearer " + token});
  ASSERT_TRUE(following.wait_for("text/event-stream", 5s)) << following.received();
  // A client's time in a month that has no directory yet, then one of now.
  std::string may_2031 = std::to_string(1935396000);  // 2031-05-01 12:00:00 in Berlin
  ASSERT_EQ(send_records({"system\t" + may_2031 + "\tfuture\tmonth\tx",
                          "system\t" + std::to_string(time(nullptr)) + "\tpresent\tmonth\ty"})
                .status,
            0);
  EXPECT_TRUE(exists(std::string(kLogVolume) + "/systemlog/203105"));
  EXPECT_TRUE(following.wait_for("\"time\":\"2031-05-01T12:00:00+02:00\"", 3s))
      << following.received();
  EXPECT_TRUE(following.wait_for("\"text1\":\"present\"", 3s)) << following.received();
}

TEST_F(SarvikWeb, PagesAreAnsweredWhileTheServiceWrites) {
  send_access(40, {"alice", "bob"});
  std::atomic<bool> writing{true};
  std::thread writer([&] {
    for (int round = 0; round < 20 && writing; ++round) send_access(10, {"alice", "bob"});
  });
  for (int i = 0; i < 20; ++i) {
    json page = get_json("/api/lines?reverse=1&limit=20&user=alice");
    EXPECT_EQ(page["lines"].size(), 20u);
    EXPECT_TRUE(page["warnings"].empty()) << page["warnings"];
  }
  writing = false;
  writer.join();
  CommandResult count = sarvik_log({"--count"});
  EXPECT_EQ(std::to_string(get_json("/api/count")["count"].get<int>()) + "\n", count.out);
}

TEST_F(SarvikWeb, ListensOnTcpAndTakesTheSettingsVolume) {
  send_access(6, {"alice"});
  // Kept by the fixture: a process object's end kills every child of the test, the other
  // server's too.
  other_web = start_web({"--listen", "127.0.0.1:18514"});
  WebAddress port;
  port.port = 18514;
  HttpAnswer answer = http_get(port, "/api/files?kind=access", {"Authorization: Bearer " + token});
  ASSERT_EQ(answer.status, 200) << other_web->stderr_text();
  json files = json::parse(answer.body);
  ASSERT_EQ(files["files"].size(), 1u);
  EXPECT_EQ(files["files"][0]["lines"], 6);
  EXPECT_EQ(files["files"][0]["kind"], "access");
  other_web->send_signal(SIGTERM);
  EXPECT_EQ(other_web->wait_exit(10s), 0);
}

TEST_F(SarvikWeb, RulesReplayALoggedLine) {
  send_access(2, {"alice"});
  json files = get_json("/api/files?kind=access");
  std::string file = files["files"][0]["file"];
  json line = get_json("/api/rules?file=" + file + "&line=2");
  EXPECT_EQ(line["rules"][0]["name"], "docs-reads");
  EXPECT_EQ(line["rules"][0]["fires"], false);
  EXPECT_EQ(line["rules"][0]["reason"], "operation: \"open_write\" is not in 'operationlist'");
  EXPECT_EQ(get_json("/api/rules?file=" + file + "&line=1")["rules"][0]["fires"], true);
}

TEST_F(SarvikWeb, APathOutsideTheVolumeInAnyParameterIsRefusedOrFindsNothing) {
  send_access(3, {"alice"});
  write_file("/tmp/secret.csv", "2024/03/04 09:30:00,secret,pc,ip,open_read,ok,docs,x\r\n");
  for (const char* target :
       {"/api/rules?file=../../tmp/secret.csv&line=1", "/api/rules?file=/tmp/secret.csv&line=1",
        "/api/rules?file=accesslog/..%2F..%2F..%2Ftmp%2Fsecret.csv&line=1", "/api/lines?root=/tmp",
        "/api/lines?settings=/tmp/secret.csv", "/api/files?root=/tmp",
        "/api/"
        "lines?cursor=MS8yMDI0MDMvLi4vLi4vLi4vdG1wL3NlY3JldC5jc3YvMC8xLzAwMDAwMDAwMDAwMDAwMDA"}) {
    HttpAnswer answer = get(target);
    EXPECT_EQ(answer.status, 400) << target << ": " << answer.body;
  }
  for (const char* target : {"/api/lines?path=../../tmp/secret.csv", "/api/lines?grep=secret",
                             "/api/export?path=/tmp/secret.csv"}) {
    HttpAnswer answer = get(target);
    EXPECT_EQ(answer.status, 200) << target;
    EXPECT_EQ(answer.body.find("secret,pc"), std::string::npos) << target;
  }
  EXPECT_EQ(get("/static/../../tmp/secret.csv").status, 404);
}

TEST_F(SarvikWeb, HugeMalformedAndCostlyQueriesAreBounded) {
  send_access(3, {"alice"});
  HttpAnswer huge = get("/api/lines?grep=" + std::string(100000, 'a'));
  EXPECT_TRUE(huge.status == 414 || huge.status == 413 || huge.status == 431 || huge.status == 0)
      << huge.status;
  for (const char* target : {"/api/lines?user=%zz", "/api/lines?=x", "/api/lines?&&&",
                             "/api/lines?user", "/api/count?grep=%00", "/api/lines?limit=-1"}) {
    HttpAnswer answer = get(target);
    EXPECT_TRUE(answer.status == 200 || answer.status == 400) << target << ": " << answer.status;
  }
  HttpAnswer costly = get("/api/count?grep=(a*)*(a|aa)*(b|c)*$x", 5s);
  EXPECT_EQ(costly.status, 200);
  EXPECT_EQ(get("/api/count?grep=((((a{1000}){1000}){1000}){1000})").status, 400);
  EXPECT_EQ(get("/api/count").status, 200);  // still up
}

TEST_F(SarvikWeb, TwoHundredConnectionsAndAClientThatNeverReadsLeaveOthersServed) {
  // Enough lines that an export fills the socket's buffers long before it ends.
  std::string month = month_dir(time(nullptr) - 86400 * 40);
  std::string dir = std::string(kLogVolume) + "/accesslog/" + month;
  make_dirs(dir);
  {
    std::ofstream file(dir + "/access_" + month + "01000000.csv", std::ios::binary);
    std::string line = month.substr(0, 4) + "/" + month.substr(4) +
                       "/01 00:00:00,filler,pc1,192.0.2.7,open_read,ok,docs," +
                       std::string(200, 'x') + "\r\n";
    for (int i = 0; i < 100000; ++i) file << line;
  }
  std::this_thread::sleep_for(200ms);
  int baseline = web->descriptor_count();

  std::vector<int> idle;
  for (int i = 0; i < 200; ++i) {
    int fd = connect_web(address);
    ASSERT_GE(fd, 0) << i;
    idle.push_back(fd);
  }
  int never_reads = connect_web(address);
  int receive_buffer = 4096;
  setsockopt(never_reads, SOL_SOCKET, SO_RCVBUF, &receive_buffer, sizeof receive_buffer);
  std::string request =
      "GET /api/export HTTP/1.1\r\nHost: x\r\nAuthorization: Bearer " + token + "\r\n\r\n";
  ASSERT_EQ(send(never_reads, request.data(), request.size(), MSG_NOSIGNAL),
            static_cast<ssize_t>(request.size()));
  std::this_thread::sleep_for(500ms);

  HttpAnswer answer = get("/api/count?user=filler", 10s);
  EXPECT_EQ(answer.status, 200);
  EXPECT_EQ(json::parse(answer.body)["count"], 100000);
  EXPECT_GT(web->resident_kib(), 0);
  EXPECT_LT(web->resident_kib(), 200 * 1024);

  for (int fd : idle) close(fd);
  close(never_reads);
  // Every connection's descriptor, and the export's files, are given back.
  int now = -1;
  for (int i = 0; i < 100 && (now = web->descriptor_count()) != baseline; ++i) {
    std::this_thread::sleep_for(100ms);
  }
  EXPECT_EQ(now, baseline);
  EXPECT_EQ(get("/api/count?user=filler").status, 200);
}

}  // namespace
}  // namespace sarvik::testing
