// Who is let in: the browser that was handed the one-time token, and nobody else on this computer.
#pragma once

#include <httplib.h>

#include <mutex>
#include <string>

namespace tool::tune {

class Guard {
 public:
  explicit Guard(int port);

  // For the first visit; holds once.
  std::string token() const { return token_; }
  std::string origin() const { return "http://" + host_; }

  // Whether a request comes to this server by its own name, from no other page.
  bool isForUs(const httplib::Request& request) const;
  // Whether it brings the cookie.
  bool isKnown(const httplib::Request& request) const;
  // The cookie to set in exchange for the token; empty when it is not, or no longer, the right one.
  std::string exchange(const std::string& token);

 private:
  std::string cookie() const { return name_ + "=" + secret_; }

  const std::string host_, name_, secret_;
  std::mutex lock_;
  std::string token_;
};

}  // namespace tool::tune
