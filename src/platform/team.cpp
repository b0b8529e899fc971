#include "platform/team.h"

#include <pthread.h>

#include "platform/system.h"

namespace veskaro::platform {
namespace {

// A call that has seats for more workers, or waits for those that sit.
struct Team {
  void (*body)(void*, int);
  void* argument;
  int seats;      // workers that may still join
  int nextIndex;  // of the next one
  int running = 0;
  pthread_cond_t isDone = PTHREAD_COND_INITIALIZER;
  Team* next = nullptr;
};

// Everything below is read and written under the lock.
pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
pthread_cond_t hasSeats = PTHREAD_COND_INITIALIZER;
Team* teams = nullptr;  // those with seats
int threads = 0;
int sleeping = 0;

class Locked {
 public:
  Locked() { pthread_mutex_lock(&lock); }
  ~Locked() { pthread_mutex_unlock(&lock); }
  Locked(const Locked&) = delete;
  Locked& operator=(const Locked&) = delete;
};

void removeFromList(Team* team) {
  for (Team** at = &teams; *at != nullptr; at = &(*at)->next) {
    if (*at != team) continue;
    *at = team->next;
    return;
  }
}

void serve(Team* team) {
  const int worker = team->nextIndex++;
  ++team->running;
  if (--team->seats == 0) removeFromList(team);
  pthread_mutex_unlock(&lock);
  team->body(team->argument, worker);
  pthread_mutex_lock(&lock);
  if (--team->running == 0) pthread_cond_signal(&team->isDone);
}

void* live(void*) {
  const Locked locked;
  for (;;) {
    ++sleeping;
    while (teams == nullptr) pthread_cond_wait(&hasSeats, &lock);
    --sleeping;
    serve(teams);
  }
}

// A child of a fork has none of its parent's threads.
void beginAnew() {
  lock = PTHREAD_MUTEX_INITIALIZER;
  hasSeats = PTHREAD_COND_INITIALIZER;
  teams = nullptr;
  threads = sleeping = 0;
}

bool createThread() {
  static const bool prepared = callInForkedChildren(beginAnew);
  return prepared && startThread(live);
}

// Wakes sleepers for the seats of all teams, and creates what is missing.
void callWorkers(int seats) {
  int open = 0;
  for (const Team* team = teams; team != nullptr; team = team->next) open += team->seats;
  for (int missing = open - sleeping; missing > 0 && threads < kMostThreads; --missing) {
    if (!createThread()) break;
    ++threads;
  }
  for (int k = 0; k < seats; ++k) pthread_cond_signal(&hasSeats);
}

}  // namespace

void runTeam(int workers, void (*body)(void* argument, int worker), void* argument) {
  if (workers <= 1) return body(argument, 0);
  Team team = {body, argument, (workers < kMostThreads ? workers : kMostThreads) - 1, 1};
  {
    const Locked locked;
    team.next = teams;
    teams = &team;
    callWorkers(team.seats);
  }
  body(argument, 0);
  const Locked locked;
  removeFromList(&team);
  while (team.running > 0) pthread_cond_wait(&team.isDone, &lock);
  pthread_cond_destroy(&team.isDone);
}

}  // namespace veskaro::platform
