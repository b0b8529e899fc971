// What hosts do around a call: their own teams and threads, forks, small stacks, ten thousand calls. The library is the
// shared object itself.
#include <VeskaroNRLib.h>
#include <fenv.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "command/selftest.h"
#include "support/fp_control.h"

namespace veskaro::test {
namespace {

constexpr int kWidth = 220, kHeight = 180, kTile = 64;

std::vector<unsigned char> noisyPicture(std::size_t bytes) {
  std::vector<unsigned char> picture(bytes);
  std::uint32_t state = 7;
  for (std::size_t k = 0; k < bytes; ++k) {
    state = state * 1664525u + 1013904223u;
    picture[k] = static_cast<unsigned char>(60 + k / 3 % kWidth / 2 + (state >> 28));
  }
  return picture;
}

std::vector<unsigned char> denoised(int threads, float strength = 1.0f) {
  auto in = noisyPicture(3 * kWidth * kHeight);
  std::vector<unsigned char> out(in.size());
  float params[NR_PARAM_COUNT];
  nr_def(params);
  params[NR_NOISE_LEVEL] = strength;
  const int code = denoise2(kWidth, kHeight, 3, 3 * kWidth, 8, kTile, threads, params, nullptr, in.data(), out.data());
  EXPECT_EQ(code, NR_OK);
  return out;
}

std::vector<unsigned char> hdrDenoised() {
  constexpr int kSide = 64;
  auto in = noisyPicture(4 * kSide * kSide);
  for (int k = 0; k < 4 * kSide * kSide; ++k) {
    if (k / kSide % 4 == 3) in[static_cast<std::size_t>(k)] = static_cast<unsigned char>(126 + k % 5);
  }
  std::vector<unsigned char> out(in.size());
  EXPECT_EQ(denoise1(110, kSide, kSide, 0, 0, 32, in.data(), out.data()), kSide);
  return out;
}

// A child that has the time of the parent's patience and exits with what the body returns. A hang shows as a signal.
int statusOfChild(const std::function<int()>& body) {
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    alarm(60);
    _exit(body());
  }
  int status = -1;
  waitpid(child, &status, 0);
  return status;
}

// Runs one of the scenarios below in a process of its own, with nothing of this one but the file.
int statusOfScenario(const std::string& scenario, const std::vector<std::string>& environment = {}) {
  return statusOfChild([&] {
    for (const std::string& setting : environment) putenv(const_cast<char*>(setting.c_str()));
    execl("/proc/self/exe", "safety_host_tests", "--scenario", scenario.c_str(), nullptr);
    return 99;
  });
}

int scenarioDigest() {
  return tool::command::selfTestDigest() == tool::command::kSelfTestExpected ? 0 : 1;
}

// The library's own threads begin in the host's floating-point environment.
int scenarioEnvironment() {
  fesetround(FE_UPWARD);
  setFpControl(fpControl() | kFlushed);
  return scenarioDigest();
}

// Threads cannot be created any more.
int scenarioNoThreads() {
  if (geteuid() == 0 && setuid(65534) != 0) return 2;
  const rlimit none = {1, 1};
  if (setrlimit(RLIMIT_NPROC, &none) != 0) return 3;
  pthread_t thread;
  if (pthread_create(
          &thread, nullptr, [](void*) -> void* { return nullptr; }, nullptr) == 0)
    return 4;
  return scenarioDigest();
}

int scenarioFork() {
  const auto expected = denoised(4);
  const auto inChild = [&] { return denoised(4) == expected ? 0 : 1; };
  for (int round = 0; round < 3; ++round) {
    if (statusOfChild([&] { return inChild() != 0 || statusOfChild(inChild) != 0; }) != 0) return 1;
  }
  return denoised(4) == expected ? 0 : 1;
}

TEST(Host, CallsFromSeveralThreads) {
  const auto expected = hdrDenoised();
  std::vector<int> wrong(6, 0);
  std::vector<std::thread> threads;
  for (int& w : wrong) {
    threads.emplace_back([&w, &expected] {
      for (int k = 0; k < 10; ++k) w += hdrDenoised() != expected;
    });
  }
  for (auto& t : threads) t.join();
  for (const int w : wrong) EXPECT_EQ(w, 0);

  const auto faint = denoised(2, 0.6f), strong = denoised(2, 1.4f);
  EXPECT_NE(faint, strong);
  for (int k = 0; k < 4; ++k) {
    std::thread([&] { EXPECT_EQ(denoised(2, k % 2 == 0 ? 0.6f : 1.4f), k % 2 == 0 ? faint : strong); }).join();
  }
}

TEST(Host, Forks) {
  EXPECT_EQ(statusOfScenario("fork"), 0);
}

TEST(Host, StartsItsThreadsInAnotherEnvironment) {
  EXPECT_EQ(statusOfScenario("environment"), 0);
}

TEST(Host, HasNoThreadsLeft) {
  const int status = statusOfScenario("no-threads");
  if (WIFEXITED(status) && WEXITSTATUS(status) == 2) GTEST_SKIP() << "root cannot become a user whose threads end";
  EXPECT_EQ(status, 0);
}

TEST(Host, HasSmallStacks) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, 256 * 1024), 0);
  pthread_t thread;
  int wrong = 1;
  ASSERT_EQ(pthread_create(
                &thread, &attributes,
                [](void* result) -> void* {
                  *static_cast<int*>(result) = scenarioDigest();
                  return nullptr;
                },
                &wrong),
            0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
  EXPECT_EQ(wrong, 0);
}

struct Resources {
  long residentPages = 0, descriptors = 0, threads = 0;
};

Resources resourcesNow() {
  Resources r;
  long size = 0;
  std::ifstream("/proc/self/statm") >> size >> r.residentPages;
  std::ifstream status("/proc/self/status");
  for (std::string word; status >> word;) {
    if (word == "Threads:") status >> r.threads;
  }
  for (int fd = 0; fd < 1024; ++fd)
    r.descriptors += ::access(("/proc/self/fd/" + std::to_string(fd)).c_str(), F_OK) == 0;
  return r;
}

// Only what the first calls needed stays.
void expectNothingGrows(int calls, const std::function<void(int)>& call) {
  Resources early;
  for (int k = 0; k < calls; ++k) {
    if (k == calls / 100) early = resourcesNow();
    call(k);
  }
  Resources late = resourcesNow();
  // A thread that has been joined may take a moment to leave the count.
  for (int k = 0; k < 200 && late.threads > early.threads; ++k) {
    usleep(50000);
    late = resourcesNow();
  }
  EXPECT_LE(late.residentPages, early.residentPages + 64) << "pages";
  EXPECT_EQ(late.descriptors, early.descriptors);
  EXPECT_LE(late.threads, early.threads);
}

TEST(Host, CallsTenThousandTimes) {
  constexpr int kSide = 40;
  auto in = noisyPicture(3 * 60 * 60);
  std::vector<unsigned char> out(in.size());
  auto hdr = noisyPicture(4 * kSide * kSide);
  std::vector<unsigned char> hdrOut(hdr.size());
  float params[NR_PARAM_COUNT];
  expectNothingGrows(10000, [&](int k) {
    nr_def(params);
    params[NR_NOISE_LEVEL] = 1.0f;
    denoise2(60, 60, 3, 180, 8, 56, k % 3 + 1, params, nullptr, in.data(), out.data());
    if (k % 4 == 0) denoise1(100, kSide, kSide, 0, 0, 32, hdr.data(), hdrOut.data());
  });
}

}  // namespace

int runScenario(const std::string& name) {
  if (name == "digest") return scenarioDigest();
  if (name == "environment") return scenarioEnvironment();
  if (name == "fork") return scenarioFork();
  if (name == "no-threads") return scenarioNoThreads();
  return 98;
}

}  // namespace veskaro::test

int main(int argc, char** argv) {
  if (argc == 3 && std::string(argv[1]) == "--scenario") _exit(veskaro::test::runScenario(argv[2]));
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
