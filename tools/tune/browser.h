// Shows the user's browser the way to the page without telling it to others on this computer.
#pragma once

#include <functional>
#include <string>

namespace tool::tune {

// A file that only its owner may read and that leads to an address; it goes with this object, or before.
class Signpost {
 public:
  // Throws Failure.
  explicit Signpost(const std::string& address);
  ~Signpost() { remove(); }
  Signpost(const Signpost&) = delete;
  Signpost& operator=(const Signpost&) = delete;

  const std::string& path() const { return path_; }
  void remove();

 private:
  std::string path_;
};

// Returns at once; onFailure is called, perhaps on another thread and later, when there is no browser to be started.
void startBrowser(const std::string& path, const std::function<void()>& onFailure);

}  // namespace tool::tune
