#include "base/machine.h"

#include <sched.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <limits>
#include <optional>
#include <string>
#include <thread>

namespace tool {
namespace {

constexpr char kGroups[] = "/sys/fs/cgroup";

// The first number in a file; nothing when it begins with a word ("max") or cannot be read.
std::optional<double> numberIn(const std::string& path) {
  std::ifstream file(path);
  double number;
  if (file >> number) return number;
  return std::nullopt;
}

// The number after a word, in a file of a word and a number a line.
std::optional<double> numberAfter(const std::string& path, const std::string& word) {
  std::ifstream file(path);
  std::string key, rest;
  double number;
  while (file >> key >> number && key != word) std::getline(file, rest);
  return file ? std::optional<double>(number) : std::nullopt;
}

bool isAmong(const std::string& controllers, const std::string& one) {
  return ("," + controllers + ",").find("," + one + ",") != std::string::npos;
}

// Calls visit(folder) for the group of the process and for those around it, all of which hold: of the version that
// names its controllers, and of the other. A container may see its own group as the outermost.
template <typename Visit>
void forEachGroup(const std::string& controller, Visit visit) {
  std::ifstream file("/proc/self/cgroup");
  std::string number, controllers, path;
  while (std::getline(file, number, ':') && std::getline(file, controllers, ':') && std::getline(file, path)) {
    if (!controllers.empty() && !isAmong(controllers, controller)) continue;
    const std::string top = controllers.empty() ? kGroups : std::string(kGroups) + "/" + controller;
    for (;;) {
      visit(path == "/" ? top : top + path);
      if (path.size() <= 1) break;
      path = path.substr(0, std::max<std::size_t>(1, path.rfind('/')));
    }
  }
}

// Processors' worth of time in the second version, or the first.
std::optional<double> quotaOf(const std::string& group) {
  std::ifstream file(group + "/cpu.max");
  double quota, period;
  if (file >> quota >> period) return quota / period;
  const std::optional<double> first = numberIn(group + "/cpu.cfs_quota_us");
  if (!first || *first <= 0) return std::nullopt;
  return *first / numberIn(group + "/cpu.cfs_period_us").value_or(100000);
}

// Files that were read and can be dropped count as used and are free.
std::optional<double> roomOf(const std::string& group, const char* most, const char* used, const char* droppable) {
  const std::optional<double> limit = numberIn(group + "/" + most), now = numberIn(group + "/" + used);
  if (!limit || !now) return std::nullopt;
  return std::max(1.0, *limit - *now + numberAfter(group + "/memory.stat", droppable).value_or(0));
}

int allowedProcessors() {
  cpu_set_t set;
  if (sched_getaffinity(0, sizeof set, &set) == 0) return CPU_COUNT(&set);
  return static_cast<int>(std::thread::hardware_concurrency());
}

}  // namespace

int processors() {
  double count = allowedProcessors();
  forEachGroup("cpu",
               [&](const std::string& group) { count = std::min(count, std::ceil(quotaOf(group).value_or(count))); });
  return std::max(1, static_cast<int>(count));
}

std::size_t freeMemory() {
  double bytes = numberAfter("/proc/meminfo", "MemAvailable:").value_or(0) * 1024;
  forEachGroup("memory", [&](const std::string& group) {
    for (const std::optional<double> room :
         {roomOf(group, "memory.max", "memory.current", "inactive_file"),
          roomOf(group, "memory.limit_in_bytes", "memory.usage_in_bytes", "total_inactive_file")}) {
      if (room && (bytes == 0 || *room < bytes)) bytes = *room;
    }
  });
  return static_cast<std::size_t>(bytes);
}

}  // namespace tool
