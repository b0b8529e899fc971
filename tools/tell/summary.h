// What a run came to.
#pragma once

#include <map>
#include <mutex>

#include "base/timer.h"
#include "run/outcome.h"
#include "run/pool.h"
#include "tell/describe.h"

namespace tool::tell {

class Summary {
 public:
  // From any thread.
  void add(const run::FileResult& file);

  std::size_t failed() const { return failed_; }
  std::size_t ended() const { return done_ + skipped_ + planned_ + failed_; }

  // "98 done, 2 failed, 0.3 MP in 1.0 s"; files is how many there were.
  std::string line(std::size_t files) const;
  Json json(std::size_t files, const run::Pool& pool) const;

 private:
  std::mutex mutex_;
  std::size_t done_ = 0, skipped_ = 0, planned_ = 0, failed_ = 0;
  std::map<Kind, std::size_t> failures_;
  double megapixels_ = 0;
  const Timer timer_;
};

}  // namespace tool::tell
