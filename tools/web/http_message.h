// A request to the console and its answer, apart from the HTTP library that carries them.
#ifndef SARVIK_TOOLS_WEB_HTTP_MESSAGE_H_
#define SARVIK_TOOLS_WEB_HTTP_MESSAGE_H_

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "query/text_writer.h"

namespace sarvik::web {

// The query parameters in the order given, percent-decoded; a parameter without "=" has an
// empty value.
using Parameters = std::vector<std::pair<std::string, std::string>>;

struct Request {
  std::string method;
  std::string path;  // without the query
  Parameters parameters;
  std::string cookie;         // the Cookie header, empty when none
  std::string authorization;  // the Authorization header, empty when none
  int client_fd = -1;         // the client's connection, to watch whether it is still there
};

// A body written while it is sent. The HTTP layer calls run on a thread of its own and cancel
// from any thread when the client has gone; the object lives until run has returned.
class BodyWriter {
 public:
  virtual ~BodyWriter() = default;
  // Writes the body to `out`. False when it could not be written whole: the client then sees
  // an incomplete body.
  virtual bool run(query::TextWriter& out) = 0;
  // Makes run return soon.
  virtual void cancel() = 0;
};

struct Response {
  int status = 200;
  std::string content_type;
  std::vector<std::pair<std::string, std::string>> headers;  // beside the common ones
  std::string body;
  std::unique_ptr<BodyWriter> stream;  // set: the body is streamed (chunked), `body` unused
};

}  // namespace sarvik::web

#endif  // SARVIK_TOOLS_WEB_HTTP_MESSAGE_H_
