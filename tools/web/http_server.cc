// The HTTP side of the console, on libmicrohttpd.
#include "web/http_server.h"

#include <microhttpd.h>
#include <unistd.h>

#include <thread>

#include "web/api_answer.h"
#include "web/stream_pipe.h"

namespace sarvik::web {

// A body being streamed: the thread that writes it, the pipe it writes to, and the library's
// response that reads from the pipe. Freed by the library's callback when the response is done.
class StreamState {
 public:
  StreamState(HttpServer& server, std::unique_ptr<BodyWriter> body)
      : server(server), pipe(server.limits.stream_buffer), body(std::move(body)) {
    server.add_stream(this);
    writer = std::thread([this] { pipe.finish(this->body->run(pipe)); });
  }
  ~StreamState() {
    end();
    writer.join();
    server.remove_stream(this);
  }

  // The client has gone, or the server stops: the writer ends soon.
  void end() {
    pipe.abandon();
    body->cancel();
  }

  StreamPipe& stream() { return pipe; }

 private:
  HttpServer& server;
  StreamPipe pipe;
  std::unique_ptr<BodyWriter> body;
  std::thread writer;
};

namespace {

// How long one call of the reader waits for text before it looks again; the connection's
// thread is the only one that waits there.
constexpr std::chrono::milliseconds kReadWait{1000};
constexpr size_t kStreamBlock = size_t{64} * 1024;

ssize_t read_stream(void* state, uint64_t /*position*/, char* into, size_t size) {
  StreamPipe& pipe = static_cast<StreamState*>(state)->stream();
  for (;;) {
    ssize_t n = pipe.read(into, size, kReadWait);
    if (n > 0) return n;
    if (n == StreamPipe::kEnd) return MHD_CONTENT_READER_END_OF_STREAM;
    if (n == StreamPipe::kFailed) return MHD_CONTENT_READER_END_WITH_ERROR;
  }
}

void free_stream(void* state) { delete static_cast<StreamState*>(state); }

MHD_Result add_parameter(void* parameters, MHD_ValueKind /*kind*/, const char* key, size_t key_size,
                         const char* value, size_t value_size) {
  static_cast<Parameters*>(parameters)
      ->emplace_back(std::string(key, key_size),
                     value == nullptr ? std::string() : std::string(value, value_size));
  return MHD_YES;
}

std::string header_of(MHD_Connection* connection, const char* name) {
  const char* value = MHD_lookup_connection_value(connection, MHD_HEADER_KIND, name);
  return value == nullptr ? std::string() : std::string(value);
}

MHD_Result send(HttpServer& server, MHD_Connection* connection, const std::string& path,
                Response answer) {
  MHD_Response* response;
  if (answer.stream) {
    auto* state = new StreamState(server, std::move(answer.stream));
    response = MHD_create_response_from_callback(MHD_SIZE_UNKNOWN, kStreamBlock, read_stream, state,
                                                 free_stream);
    if (response == nullptr) {
      delete state;
      return MHD_NO;
    }
  } else {
    response = MHD_create_response_from_buffer(answer.body.size(), answer.body.data(),
                                               MHD_RESPMEM_MUST_COPY);
    if (response == nullptr) return MHD_NO;
  }
  if (!answer.content_type.empty()) {
    MHD_add_response_header(response, MHD_HTTP_HEADER_CONTENT_TYPE, answer.content_type.c_str());
  }
  for (const auto& [name, value] : common_headers(path)) {
    MHD_add_response_header(response, name.c_str(), value.c_str());
  }
  for (const auto& [name, value] : answer.headers) {
    MHD_add_response_header(response, name.c_str(), value.c_str());
  }
  MHD_Result queued =
      MHD_queue_response(connection, static_cast<unsigned>(answer.status), response);
  MHD_destroy_response(response);
  return queued;
}

MHD_Result answer_request(void* server_pointer, MHD_Connection* connection, const char* url,
                          const char* method, const char* /*version*/, const char* /*upload_data*/,
                          size_t* upload_data_size, void** request_state) {
  HttpServer& server = *static_cast<HttpServer*>(server_pointer);
  std::string path = url;
  if (*request_state != nullptr) {
    // The rest of a body that was refused at the headers: dropped.
    *upload_data_size = 0;
    return MHD_YES;
  }
  *request_state = &server;
  std::string length = header_of(connection, MHD_HTTP_HEADER_CONTENT_LENGTH);
  if ((!length.empty() && length != "0") ||
      !header_of(connection, MHD_HTTP_HEADER_TRANSFER_ENCODING).empty()) {
    return send(server, connection, path, error_response(413, "requests here have no body"));
  }
  Request request;
  request.method = method;
  request.path = path;
  MHD_get_connection_values_n(connection, MHD_GET_ARGUMENT_KIND, add_parameter,
                              &request.parameters);
  request.cookie = header_of(connection, MHD_HTTP_HEADER_COOKIE);
  request.authorization = header_of(connection, MHD_HTTP_HEADER_AUTHORIZATION);
  const MHD_ConnectionInfo* info =
      MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD);
  if (info != nullptr) request.client_fd = info->connect_fd;
  return send(server, connection, path, server.console.handle(request));
}

}  // namespace

HttpServer::~HttpServer() { stop(); }

bool HttpServer::start(int fd, std::string* error) {
  daemon =
      MHD_start_daemon(MHD_USE_POLL_INTERNAL_THREAD | MHD_USE_THREAD_PER_CONNECTION | MHD_USE_ITC |
                           MHD_USE_ERROR_LOG,
                       0, nullptr, nullptr, answer_request, this, MHD_OPTION_LISTEN_SOCKET, fd,
                       MHD_OPTION_CONNECTION_LIMIT, limits.most_connections,
                       MHD_OPTION_CONNECTION_TIMEOUT, limits.idle_timeout_seconds,
                       MHD_OPTION_CONNECTION_MEMORY_LIMIT, limits.request_memory, MHD_OPTION_END);
  if (daemon == nullptr) {
    *error = "cannot start the HTTP server";
    close(fd);
    return false;
  }
  return true;
}

void HttpServer::stop() {
  {
    std::lock_guard<std::mutex> hold(mutex);
    stopping = true;
    for (StreamState* stream : streams) stream->end();
  }
  // The library closes the listening socket with the rest.
  if (daemon != nullptr) MHD_stop_daemon(daemon);
  daemon = nullptr;
}

void HttpServer::add_stream(StreamState* stream) {
  std::lock_guard<std::mutex> hold(mutex);
  streams.insert(stream);
  if (stopping) stream->end();
}

void HttpServer::remove_stream(StreamState* stream) {
  std::lock_guard<std::mutex> hold(mutex);
  streams.erase(stream);
}

}  // namespace sarvik::web
