#include "run/pool.h"

#include <algorithm>
#include <system_error>
#include <thread>
#include <vector>

#include "base/machine.h"
#include "pictures/libvips.h"

namespace tool::run {
namespace {

// Half of what is free, so that the machine stays usable and the estimates may be wrong.
std::size_t halfOfFree() {
  const std::size_t free = freeMemory();
  return free == 0 ? std::size_t{1} << 30 : free / 2;
}

}  // namespace

Pool::Pool(const Limits& limits, std::size_t items)
    : items_(items), threads_(limits.threads.value_or(processors())), memory_(limits.memory.value_or(halfOfFree())) {
  if (!limits.threads) threads_ = std::max(threads_, limits.jobs.value_or(1));
  const std::size_t most = static_cast<std::size_t>(std::min(limits.jobs.value_or(threads_), threads_));
  jobs_ = static_cast<int>(std::max<std::size_t>(1, std::min(most, items)));
}

void Pool::forEachItem(const Work& work) {
  atWork_ = jobs_;
  std::vector<std::thread> others;
  for (int worker = 1; worker < threads_; ++worker) {
    try {
      others.emplace_back([this, &work, worker] {
        workOnItems(worker, work);
        pictures::leaveThread();
      });
    } catch (const std::system_error&) {
      // Those that there are do it all.
      const Lock lock(mutex_);
      atWork_ -= std::max(0, jobs_ - worker);
      break;
    }
  }
  workOnItems(0, work);
  for (std::thread& other : others) other.join();
  if (thrown_) std::rethrow_exception(thrown_);
}

void Pool::run(std::int32_t count, Job job, void* argument) {
  Call call = {job, argument, count};
  if (count > 1) {
    const Lock lock(mutex_);
    calls_.push_back(&call);
    changed_.notify_all();
  }
  job(argument, 0);
  if (count == 1) return;
  Lock lock(mutex_);
  while (call.next < call.count) runOne(call, lock);
  calls_.remove(&call);
  changed_.wait(lock, [&] { return call.running == 0; });
}

void Pool::runOne(Call& call, Lock& lock) {
  const std::int32_t index = call.next++;
  ++call.running;
  lock.unlock();
  call.job(call.argument, index);
  lock.lock();
  if (--call.running == 0) changed_.notify_all();
}

Pool::Call* Pool::unfinishedCall() {
  const auto found =
      std::find_if(calls_.begin(), calls_.end(), [](const Call* call) { return call->next < call->count; });
  return found == calls_.end() ? nullptr : *found;
}

template <typename Condition>
void Pool::helpUntil(Lock& lock, Condition condition) {
  while (!condition()) {
    if (Call* const call = unfinishedCall())
      runOne(*call, lock);
    else
      changed_.wait(lock);
  }
}

void Pool::workOnItems(int worker, const Work& work) {
  if (worker < jobs_) {
    try {
      for (std::size_t item; takeItem(item);) {
        if (!work(worker, item)) stop(nullptr);
      }
    } catch (...) {
      stop(std::current_exception());
    }
  }
  Lock lock(mutex_);
  if (worker < jobs_) --atWork_;
  changed_.notify_all();
  helpUntil(lock, [this] { return atWork_ == 0; });
}

bool Pool::takeItem(std::size_t& item) {
  const Lock lock(mutex_);
  item = nextItem_;
  return !stops_ && nextItem_++ < items_;
}

void Pool::stop(std::exception_ptr thrown) {
  const Lock lock(mutex_);
  stops_ = true;
  if (!thrown_) thrown_ = thrown;
}

Pool::Part::Part(Pool& pool, std::size_t bytes) : pool_(pool), bytes_(std::min(bytes, pool.memory_)) {
  Lock lock(pool.mutex_);
  const std::uint64_t ticket = pool.nextTicket_++;
  pool.helpUntil(lock, [&] { return ticket == pool_.nextServed_ && bytes_ <= pool_.memory_ - pool_.taken_; });
  ++pool.nextServed_;
  pool.taken_ += bytes_;
  pool.changed_.notify_all();
}

Pool::Part::~Part() {
  const Lock lock(pool_.mutex_);
  pool_.taken_ -= bytes_;
  pool_.changed_.notify_all();
}

}  // namespace tool::run
