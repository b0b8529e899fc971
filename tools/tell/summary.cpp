#include "tell/summary.h"

#include <fmt/format.h>

#include <cmath>

#include "base/interruption.h"

namespace tool::tell {

void Summary::add(const run::FileResult& file) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (const Failure* failure = file.failure()) {
    ++failed_;
    ++failures_[failure->kind];
  } else if (const run::Outcome* outcome = file.outcome()) {
    ++done_;
    megapixels_ += outcome->decoded.layout.megapixels();
  } else {
    ++(std::holds_alternative<run::Skipped>(file.end) ? skipped_ : planned_);
  }
}

std::string Summary::line(std::size_t files) const {
  const auto some = [](std::size_t count, const char* what) {
    return count > 0 ? fmt::format("{} {}, ", count, what) : "";
  };
  const std::string first = planned_ > 0 ? some(planned_, "to do") : fmt::format("{} done, ", done_);
  return first + some(skipped_, "skipped") + some(files - ended(), "not tried") +
         fmt::format("{} failed, {:.1f} MP in {:.1f} s", failed_, megapixels_, timer_.seconds());
}

Json Summary::json(std::size_t files, const run::Pool& pool) const {
  Json failures = Json::object();
  for (const auto& [kind, count] : failures_) failures[nameOf(kind)] = count;
  Json json = {{"files", files}, {"done", done_}, {"skipped", skipped_}, {"failed", failed_}, {"failures", failures}};
  if (planned_ > 0) json["to_do"] = planned_;
  json["not_tried"] = files - ended();
  json["interrupted"] = isInterrupted();
  json["jobs"] = pool.jobs();
  json["threads"] = pool.threads();
  json["memory"] = pool.memory();
  json["megapixels"] = std::round(megapixels_ * 1e6) / 1e6;
  json["seconds"] = std::round(timer_.seconds() * 1e6) / 1e6;
  return {{"summary", json}};
}

}  // namespace tool::tell
