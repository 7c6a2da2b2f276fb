// Test helper: a console over a small volume of generated logs, with settings and one rule.
#include "console_fixture.h"

#include <cstdio>

#include "testing/file_text.h"
#include "web/api_answer.h"

namespace sarvik::web::testing {

using ::sarvik::testing::make_dirs;
using ::sarvik::testing::write_file;

namespace {

constexpr char kSettings[] = R"(<?xml version="1.0" encoding="UTF-8"?>
<config>
  <share><path>VOLUME</path></share>
  <eventlogconf enable="true"><autodelete enable="false"/></eventlogconf>
  <accesslogconf enable="true">
    <sharelist all="true"/>
    <autodelete enable="false"/>
  </accesslogconf>
  <alertlist>
    <alert>
      <name>docs-reads</name>
      <period><weekdays sun="true" mon="true" tue="true" wed="true" thu="true" fri="true" sat="true"/></period>
      <usernamelist><username>alice</username></usernamelist>
      <operationlist><operation type="open_read" enable="true"/></operationlist>
      <sharename>docs</sharename>
      <path>*.txt</path>
    </alert>
  </alertlist>
</config>
)";

}  // namespace

ConsoleTest::ConsoleTest() {
  root = dir / "volume";
  settings_path = dir / "config-sarvik.xml";
  std::string xml = kSettings;
  xml.replace(xml.find("VOLUME"), 6, root);
  write_file(settings_path, xml);

  struct File {
    const char* month;
    const char* name;
    int day;
    int lines;
  };
  const File files[] = {{"202402", "access_20240201000000.csv", 1, 120},
                        {"202403", "access_20240301000000.csv", 1, 150},
                        {"202403", "access_20240302000000.csv", 2, 30}};
  for (const File& file : files) {
    std::string content = "\xEF\xBB\xBF";
    for (int line = 0; line < file.lines; ++line, ++access_lines) {
      const char* user = access_lines % 3 == 0 ? "alice" : access_lines % 3 == 1 ? "bob" : "carol";
      std::string path = "f" + std::to_string(access_lines) + ".txt";
      if (access_lines == 7) path = "reports/q1,q2.txt";
      if (access_lines == 8) path = "two\nlines.txt";
      if (access_lines == 9) path = "<img src=x onerror=alert(1)>\x1b[31m";
      char text[256];
      std::snprintf(text, sizeof text, "%s/%s/%02d %02d:%02d:%02d,%s,pc%d,192.0.2.%d,%s,%s,docs,",
                    std::string(file.month).substr(0, 4).c_str(),
                    std::string(file.month).substr(4).c_str(), file.day, line / 60 % 24, line % 60,
                    line % 7, user, line % 4, line % 5, line % 2 == 0 ? "open_read" : "delete",
                    line % 5 == 0 ? "fail (Permission denied)" : "ok");
      content += text + path + "\r\n";
    }
    make_dirs(root + "/accesslog/" + file.month);
    write_file(root + "/accesslog/" + file.month + "/" + file.name, content);
  }
  make_dirs(root + "/systemlog/202403");
  write_file(root + "/systemlog/202403/system_20240301000000.csv",
             "\xEF\xBB\xBF"
             "2024/03/01 00:00:00,boot,ok,one\r\n2024/03/01 00:01:00,disk,warn,two\r\n"
             "2024/03/01 00:02:00,net,ok,three\r\n");
  make_dirs(root + "/alertlog/202403");
  write_file(root + "/alertlog/202403/alert_20240301000000.csv",
             "\xEF\xBB\xBF"
             "2024/03/01 00:00:00,alice,pc0,192.0.2.0,open_read,ok,docs,f120.txt\r\n");

  settings.root = root;
  settings.settings = settings_path;
  settings.token = token;
  settings.keep_alive_ms = 200;
  console = std::make_unique<Console>(settings);
}

Response ConsoleTest::get(const std::string& path, const Parameters& parameters, bool signed_in) {
  Request request;
  request.method = "GET";
  request.path = path;
  request.parameters = parameters;
  if (signed_in) request.authorization = "Bearer " + token;
  return console->handle(request);
}

nlohmann::json ConsoleTest::get_json(const std::string& path, const Parameters& parameters,
                                     int status) {
  Response response = get(path, parameters);
  EXPECT_EQ(response.status, status) << path << ": " << response.body;
  EXPECT_EQ(response.content_type, kJsonType);
  return nlohmann::json::parse(response.body);
}

std::string ConsoleTest::drain(Response& response) {
  EXPECT_TRUE(response.stream) << response.body;
  if (!response.stream) return "";
  StringWriter out;
  EXPECT_TRUE(response.stream->run(out));
  return out.text;
}

}  // namespace sarvik::web::testing
