// The console: every request from its method and path to its answer, behind the token.
#include "web/console.h"

#include "web/api_answer.h"
#include "web/page_files.h"
#include "web/token.h"

namespace sarvik::web {

namespace {

constexpr char kApiPrefix[] = "/api/";
constexpr char kStaticPrefix[] = "/static/";
constexpr char kHtmlType[] = "text/html; charset=utf-8";

// Without a script, so that it shows under the policy that forbids inline ones.
constexpr char kLoginPage[] =
    "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
    "<title>sarvik log console: sign in</title>\n</head>\n<body>\n"
    "<h1>sarvik log console</h1>\n"
    "<p>This console needs its access token. As root on the appliance, run</p>\n"
    "<pre>sarvik-web --url</pre>\n"
    "<p>and open the address it prints (with the same <code>--listen</code> and "
    "<code>--state-dir</code> as the running server). The address signs this browser in and "
    "keeps the token in a cookie.</p>\n</body>\n</html>\n";

using Endpoint = Response (*)(ApiContext&, const Request&);

struct Route {
  const char* name;
  Endpoint answer;
};

constexpr Route kRoutes[] = {
    {"lines", answer_lines},         {"count", answer_count},   {"stats", answer_stats},
    {"histogram", answer_histogram}, {"export", answer_export}, {"follow", answer_follow},
    {"rules", answer_rules},         {"files", answer_files},
};

bool starts_with(const std::string& text, const char* prefix) {
  return text.compare(0, strlen(prefix), prefix) == 0;
}

Response page_response(int status, const std::string& html) {
  Response response;
  response.status = status;
  response.content_type = kHtmlType;
  response.body = html;
  return response;
}

Response not_found(const Request& request) {
  if (starts_with(request.path, kApiPrefix)) {
    return error_response(404, "no such endpoint: " + request.path);
  }
  return page_response(404, "<!DOCTYPE html>\n<title>Not found</title>\n<p>Not found.</p>\n");
}

Response file_response(const PageFile& file) {
  Response response;
  response.content_type = file.content_type;
  response.body.assign(reinterpret_cast<const char*>(file.data), file.size);
  return response;
}

}  // namespace

const PageFile* find_page_file(const std::string& name) {
  for (const PageFile* file = page_files_begin(); file != page_files_end(); ++file) {
    if (name == file->name) return file;
  }
  return nullptr;
}

std::vector<std::pair<std::string, std::string>> common_headers(const std::string& path) {
  std::vector<std::pair<std::string, std::string>> headers{
      {"Content-Security-Policy", kContentSecurityPolicy},
      {"X-Content-Type-Options", "nosniff"},
      {"Referrer-Policy", "no-referrer"},
  };
  if (starts_with(path, kApiPrefix) || path == "/login") {
    headers.emplace_back("Cache-Control", "no-store");
  }
  return headers;
}

Console::Console(ConsoleSettings settings)
    : settings(std::move(settings)),
      queries(this->settings.most_queries, this->settings.most_waiting),
      followers(this->settings.most_followers, 0),
      context{this->settings, queries, followers, file_facts} {}

void Console::shut_down() {
  queries.close();
  followers.close();
}

Response Console::handle(const Request& request) {
  if (request.method != "GET") {
    Response response = starts_with(request.path, kApiPrefix)
                            ? error_response(405, "only GET is answered here")
                            : page_response(405,
                                            "<!DOCTYPE html>\n<title>Method not allowed"
                                            "</title>\n<p>Only GET is answered here.</p>\n");
    response.headers.emplace_back("Allow", "GET");
    return response;
  }
  if (request.path == "/login") return login(request);
  if (!same_token(token_of(request.cookie, request.authorization), settings.token)) {
    if (starts_with(request.path, kApiPrefix)) {
      return error_response(401,
                            "no valid token: run sarvik-web --url as root on the appliance "
                            "and open the address it prints");
    }
    return page_response(401, kLoginPage);
  }
  if (starts_with(request.path, kApiPrefix)) return api(request);
  if (request.path == "/" || request.path == "/index.html") {
    const PageFile* index = find_page_file("index.html");
    if (index != nullptr) return file_response(*index);
  }
  if (starts_with(request.path, kStaticPrefix)) {
    const PageFile* file = find_page_file(request.path.substr(strlen(kStaticPrefix)));
    if (file != nullptr) return file_response(*file);
  }
  return not_found(request);
}

Response Console::api(const Request& request) {
  std::string name = request.path.substr(strlen(kApiPrefix));
  for (const Route& route : kRoutes) {
    if (name == route.name) return route.answer(context, request);
  }
  return not_found(request);
}

Response Console::login(const Request& request) {
  std::string given;
  for (const auto& [name, value] : request.parameters) {
    if (name == "token") given = value;
  }
  if (!same_token(given, settings.token)) return page_response(401, kLoginPage);
  Response response;
  response.status = 303;
  response.content_type = kHtmlType;
  response.headers.emplace_back("Location", "/");
  response.headers.emplace_back("Set-Cookie", std::string(kCookieName) + "=" + settings.token +
                                                  "; Path=/; HttpOnly; SameSite=Strict");
  response.body =
      "<!DOCTYPE html>\n<title>Signed in</title>\n<p><a href=\"/\">The console</a></p>\n";
  return response;
}

}  // namespace sarvik::web
