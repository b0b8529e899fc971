#ifndef VESKARO_PLATFORM_FP_ENVIRONMENT_H
#define VESKARO_PLATFORM_FP_ENVIRONMENT_H

#include <cfenv>

namespace veskaro::platform {

// Runs a scope in the default floating-point environment (round to nearest, subnormals kept, traps masked) and gives
// the host's back. Each thread has its own environment, so every thread of a team needs one of these.
class DefaultFpEnvironment {
 public:
  DefaultFpEnvironment();
  ~DefaultFpEnvironment();
  DefaultFpEnvironment(const DefaultFpEnvironment&) = delete;
  DefaultFpEnvironment& operator=(const DefaultFpEnvironment&) = delete;

 private:
  std::fenv_t host_;
  unsigned hostsControl_;
};

}  // namespace veskaro::platform

#endif  // VESKARO_PLATFORM_FP_ENVIRONMENT_H
