// Opens, uses and closes the library a hundred times. Nothing of it is linked here, so a close is a close.
#include <VeskaroNRLib.h>

#include <chrono>
#include <cstdio>
#include <thread>
#include <vector>

#include "support/shared_object.h"

using namespace veskaro::test;

int main(int argc, char** argv) {
  constexpr int kSide = 200;
  std::vector<unsigned char> in(3 * kSide * kSide), out(in.size());
  for (std::size_t k = 0; k < in.size(); ++k) in[k] = static_cast<unsigned char>(60 + k % 97);
  for (int round = 0; round < 100; ++round) {
    SharedObject library = argc == 2 ? openSharedObject(argv[1]) : nullptr;
    if (library == nullptr) {
      std::printf("cannot open the library\n");
      return 1;
    }
    const auto defaults = reinterpret_cast<decltype(&nr_def)>(symbolOf(library, "nr_def"));
    const auto run = reinterpret_cast<decltype(&denoise2)>(symbolOf(library, "denoise2"));
    float params[NR_PARAM_COUNT];
    defaults(params);
    if (run(kSide, kSide, 3, 3 * kSide, 8, 64, 4, params, nullptr, in.data(), out.data()) != NR_OK) return 2;
    if (!closeSharedObject(library)) return 3;
    // Time for the team's idle threads to miss their code.
    std::this_thread::sleep_for(std::chrono::microseconds(round < 10 ? 20000 : 200));
  }
  return 0;
}
