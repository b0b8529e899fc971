#include <benchmark/benchmark.h>
#include <vips/vips.h>

#include <cstdio>
#include <cstring>

#include "benchmarks.h"

// Options of Google Benchmark, and --quick: smaller pictures.
int main(int argc, char** argv) {
  using veskaro::bench::Size;
  bool isQuick = false;
  int kept = 1;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--quick") == 0) {
      isQuick = true;
    } else {
      argv[kept++] = argv[i];
    }
  }
  argc = kept;
  if (VIPS_INIT(argv[0]) != 0) return 1;
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  const Size large = isQuick ? Size{2000, 1500} : Size{4000, 3000};
  const Size small = isQuick ? Size{1024, 768} : Size{2048, 1536};
  veskaro::bench::registerRowSteps();
  if (!veskaro::bench::registerKernels() || !veskaro::bench::registerCalls(large, small) ||
      !veskaro::bench::registerHdr(large)) {
    std::fputs("the sample pictures cannot be read\n", stderr);
    return 1;
  }
  veskaro::bench::registerStages(large);
  benchmark::RunSpecifiedBenchmarks();
  vips_shutdown();
  return 0;
}
