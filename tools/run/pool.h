// Several pictures at once: how many, on how many threads, in how much memory.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <list>
#include <mutex>
#include <optional>

namespace tool::run {

// What the user asks for; what is not said follows from the machine.
struct Limits {
  std::optional<int> jobs, threads;
  std::optional<std::size_t> memory;
};

// A number of threads, of which some work on a picture each. The others, and those that have none any more or wait for
// memory, help with the pictures of the rest.
class Pool {
 public:
  Pool(const Limits& limits, std::size_t items);

  // Pictures at once, at most; the threads of all together; the memory that they may take together.
  int jobs() const { return jobs_; }
  int threads() const { return threads_; }
  std::size_t memory() const { return memory_; }

  // Calls work(worker, item) for items 0, 1, ... in this order, with worker below jobs(), until all are done or work
  // returns false; an exception ends the work and is thrown here.
  using Work = std::function<bool(int worker, std::size_t item)>;
  void forEachItem(const Work& work);

  // Runs job(argument, 0) here and the others wherever there is time; returns when all have returned.
  using Job = void (*)(void* argument, std::int32_t index);
  void run(std::int32_t count, Job job, void* argument);

  // A part of the memory, as long as it lives. Waits until there is room; who came first goes first, and what is more
  // than the whole waits until it is alone.
  class Part {
   public:
    Part(Pool& pool, std::size_t bytes);
    ~Part();
    Part(const Part&) = delete;
    Part& operator=(const Part&) = delete;

   private:
    Pool& pool_;
    const std::size_t bytes_;
  };

 private:
  using Lock = std::unique_lock<std::mutex>;
  struct Call {
    Job job;
    void* argument;
    std::int32_t count, next = 1, running = 0;
  };

  void runOne(Call& call, Lock& lock);
  Call* unfinishedCall();
  template <typename Condition>
  void helpUntil(Lock& lock, Condition condition);
  void workOnItems(int worker, const Work& work);
  bool takeItem(std::size_t& item);
  void stop(std::exception_ptr thrown);

  const std::size_t items_;
  int jobs_, threads_;
  const std::size_t memory_;

  std::mutex mutex_;  // of all that follows
  std::condition_variable changed_;
  std::size_t nextItem_ = 0;
  int atWork_ = 0;  // threads that still take items
  bool stops_ = false;
  std::exception_ptr thrown_;
  std::list<Call*> calls_;
  std::size_t taken_ = 0;
  std::uint64_t nextTicket_ = 0, nextServed_ = 0;
};

}  // namespace tool::run
