// The page and what it asks for, on a port of this computer that nobody else is let in by.
#pragma once

#include <httplib.h>

#include <atomic>
#include <chrono>
#include <optional>
#include <string>

#include "pictures/file_io.h"
#include "tune/guard.h"
#include "tune/session.h"

namespace tool::tune {

// Where results may go beside the browser's downloads: to names given on the command line.
struct Saving {
  std::string name;  // of the picture, as the page shows it
  std::string input;
  std::optional<std::string> output, recipe;
  pictures::Format inputFormat, outputFormat;
  bool force = false;
};

class Server {
 public:
  // Throws Failure when there is no port.
  Server(const Session& session, const Saving& saving);

  // What opens the page, once.
  std::string firstAddress() const { return guard_->origin() + "/open?token=" + guard_->token(); }

  // Serves on threads of its own until goesOn says no, asked often.
  void run(const std::function<bool()>& goesOn);

  bool wasOpened() const { return wasOpened_; }
  std::chrono::duration<double> idle() const { return Clock::now() - lastSeen_.load(); }

 private:
  using Clock = std::chrono::steady_clock;
  using Handler = std::function<void(const httplib::Request&, httplib::Response&)>;

  void limit();
  void route();
  void routeAssets();
  void post(const std::string& path, const Handler& answer);
  bool admit(const httplib::Request& request, httplib::Response& response);
  void open(const httplib::Request& request, httplib::Response& response);
  pictures::Writing writing() const;
  std::string save(const vnr_settings& settings) const;
  std::string saveRecipe(const std::string& recipe) const;
  std::string about() const;

  const Session& session_;
  const Saving& saving_;
  httplib::Server server_;
  std::optional<Guard> guard_;
  std::atomic<bool> wasOpened_{false};
  std::atomic<Clock::time_point> lastSeen_{Clock::now()};
};

}  // namespace tool::tune
