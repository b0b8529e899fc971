#include "platform/team.h"

#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace veskaro::platform {
namespace {

constexpr int kMostThreads = 256;

const pid_t loadedIn = getpid();

// The one thread that a child inherits from its parent has the child's process id; all others began in the child.
bool isInheritedByFork() {
  const pid_t process = getpid();
  return process != loadedIn && static_cast<pid_t>(syscall(SYS_gettid)) == process;
}

void* passGate(void* gate) {
  pthread_mutex_lock(static_cast<pthread_mutex_t*>(gate));
  pthread_mutex_unlock(static_cast<pthread_mutex_t*>(gate));
  return nullptr;
}

// Creates up to count threads that live at the same time and ends them again.
int threadsToBeHad(int count) {
  pthread_t threads[kMostThreads];
  pthread_mutex_t gate = PTHREAD_MUTEX_INITIALIZER;
  pthread_mutex_lock(&gate);
  int created = 0;
  while (created < count && pthread_create(&threads[created], nullptr, passGate, &gate) == 0) ++created;
  pthread_mutex_unlock(&gate);
  for (int k = 0; k < created; ++k) pthread_join(threads[k], nullptr);
  pthread_mutex_destroy(&gate);
  return created;
}

struct Work {
  void (*run)(void*);
  void* argument;
};

void* runWork(void* work) {
  const auto* w = static_cast<const Work*>(work);
  w->run(w->argument);
  return nullptr;
}

}  // namespace

int grantedTeam(int wanted) {
  if (wanted <= 1 || isInheritedByFork()) return 1;
  return 1 + threadsToBeHad((wanted < kMostThreads ? wanted : kMostThreads) - 1);
}

void runWhereTeamsStart(void (*run)(void*), void* argument) {
  Work work = {run, argument};
  pthread_t thread;
  if (isInheritedByFork() && pthread_create(&thread, nullptr, runWork, &work) == 0) {
    pthread_join(thread, nullptr);
    return;
  }
  run(argument);
}

}  // namespace veskaro::platform
