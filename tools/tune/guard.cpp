#include "tune/guard.h"

#include <fmt/format.h>

#include <random>

namespace tool::tune {
namespace {

// 256 bits from the system.
std::string secret() {
  std::random_device random("/dev/urandom");
  std::string text;
  for (int k = 0; k < 8; ++k) text += fmt::format("{:08x}", random());
  return text;
}

// In a time that does not tell where they differ.
bool areEqual(const std::string& a, const std::string& b) {
  if (a.size() != b.size() || a.empty()) return false;
  unsigned difference = 0;
  for (std::size_t k = 0; k < a.size(); ++k) difference |= static_cast<unsigned char>(a[k] ^ b[k]);
  return difference == 0;
}

}  // namespace

Guard::Guard(int port)
    : host_(fmt::format("127.0.0.1:{}", port)),
      name_(fmt::format("veskaro-nr-{}", port)),
      secret_(secret()),
      token_(secret()) {}

// A name that only resolves to this computer is another site's. A browser tells the origin of what a page posts.
bool Guard::isForUs(const httplib::Request& request) const {
  if (request.get_header_value_count("Host") != 1 || request.get_header_value("Host") != host_) return false;
  if (request.has_header("Origin")) return request.get_header_value("Origin") == origin();
  return request.method == "GET";
}

bool Guard::isKnown(const httplib::Request& request) const {
  const std::string cookies = request.get_header_value("Cookie");
  for (std::size_t from = 0; from < cookies.size();) {
    const std::size_t end = std::min(cookies.find(';', from), cookies.size());
    if (areEqual(cookies.substr(from, end - from), cookie())) return true;
    from = cookies.find_first_not_of(' ', end + 1);
  }
  return false;
}

std::string Guard::exchange(const std::string& token) {
  const std::lock_guard<std::mutex> locked(lock_);
  if (!areEqual(token, token_)) return "";
  token_.clear();
  return cookie() + "; Path=/; HttpOnly; SameSite=Strict";
}

}  // namespace tool::tune
