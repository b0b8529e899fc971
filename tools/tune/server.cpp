#include "tune/server.h"

#include <charconv>
#include <thread>

#include "base/failure.h"
#include "find/naming.h"
#include "pictures/file_io.h"
#include "run/recipe.h"
#include "tune/assets.h"
#include "tune/connections.h"

namespace tool::tune {
namespace {

using httplib::Request;
using httplib::Response;

constexpr std::size_t kMostBody = 1 << 16, kMostRequestsEach = 1000;
constexpr int kSeconds = 10;  // to send a request, or to take a response

constexpr char kPolicy[] =
    "default-src 'none'; script-src 'self'; style-src 'self'; worker-src 'self'; connect-src 'self'; "
    "img-src 'self' data:; base-uri 'none'; form-action 'none'; frame-ancestors 'none'";

// The cookie is sent to a page of this server's own only, which this one becomes; the token leaves the address.
constexpr char kOpened[] =
    "<!doctype html><meta charset=utf-8><meta name=referrer content=no-referrer>"
    "<link rel=icon href=\"data:,\"><meta http-equiv=refresh content=\"0; url=/\"><title>veskaro-nr</title>";

int number(const Request& request, const char* name) {
  const std::string text = request.get_param_value(name);
  int value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) throw Failure(std::string(name) + " is missing");
  return value;
}

vnr_rectangle rectangle(const Request& request) {
  return {number(request, "x0"), number(request, "x1"), number(request, "y0"), number(request, "y1")};
}

vnr_settings settings(const Request& request) {
  return run::settingsOfRecipe(request.body);
}

void answer(Response& response, const std::string& text, const char* type = "application/json") {
  response.set_content(text, type);
}

void answer(Response& response, pictures::Bytes bytes) {
  response.set_content(std::string(bytes.begin(), bytes.end()), "application/octet-stream");
}

void refuse(Response& response, int status, const char* text) {
  response.status = status;
  response.set_header("Connection", "close");
  response.set_content(text, "text/plain; charset=utf-8");
}

void addHeaders(Response& response) {
  response.set_header("Content-Security-Policy", kPolicy);
  response.set_header("Referrer-Policy", "no-referrer");
  response.set_header("X-Content-Type-Options", "nosniff");
  response.set_header("Cross-Origin-Opener-Policy", "same-origin");
  response.set_header("Cross-Origin-Resource-Policy", "same-origin");
  response.set_header("Cache-Control", "no-store");
}

}  // namespace

Server::Server(const Session& session, const Saving& saving) : session_(session), saving_(saving) {
  limit();
  const int port = server_.bind_to_any_port("127.0.0.1");
  if (port <= 0) throw Failure("no port of this computer is free");
  guard_.emplace(port);
  route();
}

void Server::limit() {
  server_.new_task_queue = [] { return new Connections; };
  server_.set_payload_max_length(kMostBody);
  server_.set_read_timeout(kSeconds);
  server_.set_write_timeout(kSeconds);
  // What is idle makes room soon, also for the end.
  server_.set_keep_alive_timeout(1);
  server_.set_keep_alive_max_count(kMostRequestsEach);
  server_.set_tcp_nodelay(true);
  // No other process shares the port.
  server_.set_socket_options([](auto) {});
}

bool Server::admit(const Request& request, Response& response) {
  addHeaders(response);
  if (!guard_->isForUs(request)) {
    refuse(response, 403, "This is another site's request.");
  } else if (request.path != "/open" && !guard_->isKnown(request)) {
    refuse(response, 403, "Only the browser that veskaro-nr tune opened may see this page.");
  } else {
    return true;
  }
  return false;
}

void Server::open(const Request& request, Response& response) {
  const std::string cookie = guard_->exchange(request.get_param_value("token"));
  if (cookie.empty()) return refuse(response, 403, "The address has been used, or is none of this page.");
  wasOpened_ = true;
  lastSeen_ = Clock::now();
  response.set_header("Set-Cookie", cookie);
  answer(response, kOpened, "text/html; charset=utf-8");
}

// Failures are the user's to read; what the library does not take is the page's fault, and shows there.
void Server::post(const std::string& path, const Handler& handler) {
  server_.Post(path, [this, handler](const Request& request, Response& response) {
    lastSeen_ = Clock::now();
    try {
      handler(request, response);
    } catch (const std::exception& failure) {
      refuse(response, 400, failure.what());
    }
  });
}

void Server::routeAssets() {
  for (const Asset* asset = kAssets; asset->path != nullptr; ++asset) {
    server_.Get(asset->path,
                [asset](const Request&, Response& response) { answer(response, asset->text, asset->type); });
  }
}

void Server::route() {
  server_.set_pre_routing_handler([this](const Request& request, Response& response) {
    return admit(request, response) ? httplib::Server::HandlerResponse::Unhandled
                                    : httplib::Server::HandlerResponse::Handled;
  });
  server_.Get("/open", [this](const Request& request, Response& response) { open(request, response); });
  routeAssets();
  post("/alive", [](const Request&, Response& r) { answer(r, "{}"); });
  post("/picture", [this](const Request&, Response& r) { answer(r, about()); });
  post("/noise", [this](const Request&, Response& r) { answer(r, session_.noise().dump()); });
  post("/choose", [this](const Request& q, Response& r) {
    answer(r, session_.chosen(number(q, "rule"), static_cast<float>(number(q, "strength")) / 100.0f));
  });
  post("/grid", [this](const Request& q, Response& r) { answer(r, session_.grid(settings(q)).dump()); });
  post("/before", [this](const Request& q, Response& r) { answer(r, session_.before(rectangle(q))); });
  post("/after", [this](const Request& q, Response& r) { answer(r, session_.after(settings(q), rectangle(q))); });
  post("/result",
       [this](const Request& q, Response& r) { answer(r, session_.result(settings(q), saving_.inputFormat)); });
  post("/save", [this](const Request& q, Response& r) { answer(r, save(settings(q)), "text/plain"); });
  post("/save-recipe", [this](const Request& q, Response& r) { answer(r, saveRecipe(q.body), "text/plain"); });
}

std::string Server::about() const {
  Json about = session_.about();
  about["name"] = saving_.name;
  about["input"] = saving_.input;
  about["cores"] = kConnections / 4;
  about["output"] = saving_.output.value_or("");
  about["recipe"] = saving_.recipe.value_or("");
  return about.dump(-1, ' ', false, Json::error_handler_t::replace);
}

pictures::Writing Server::writing() const {
  return {saving_.force, {saving_.input}};
}

std::string Server::save(const vnr_settings& settings) const {
  if (!saving_.output) throw Failure("no --output was given");
  find::Naming naming;
  naming.force = saving_.force;
  find::requireWritable(*saving_.output, naming);
  pictures::writeWhole(*saving_.output, session_.result(settings, saving_.outputFormat), writing());
  return *saving_.output + " is written.";
}

std::string Server::saveRecipe(const std::string& recipe) const {
  if (!saving_.recipe) throw Failure("no --save-recipe was given");
  pictures::writeWhole(*saving_.recipe, run::recipeOf(run::settingsOfRecipe(recipe)), writing());
  return *saving_.recipe + " is written.";
}

void Server::run(const std::function<bool()>& goesOn) {
  std::thread serving([this] { server_.listen_after_bind(); });
  while (goesOn()) std::this_thread::sleep_for(std::chrono::milliseconds(100));
  server_.stop();
  serving.join();
}

}  // namespace tool::tune
