#ifndef VESKARO_PLATFORM_TEAM_H
#define VESKARO_PLATFORM_TEAM_H

namespace veskaro::platform {

// How many threads, the caller included, an OpenMP team may have now: 1 to wanted. The runtime ends the process when it
// cannot create a thread, so the threads are tried out first.
int grantedTeam(int wanted);

// Calls run(argument) on a thread that can start a team: the calling one, except in a forked child. There the runtime
// would wait for threads that the parent's last team left idle and that the child does not have; a fresh thread of the
// child knows of none.
void runWhereTeamsStart(void (*run)(void*), void* argument);

template <typename Body>
void runWhereTeamsStart(Body body) {
  runWhereTeamsStart([](void* argument) { (*static_cast<Body*>(argument))(); }, &body);
}

}  // namespace veskaro::platform

#endif  // VESKARO_PLATFORM_TEAM_H
