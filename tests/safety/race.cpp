// Two threads of a team write one variable: ThreadSanitizer has to say so, else its silence elsewhere means nothing.
#include <cstdio>

int main() {
  int shared = 0;
#pragma omp parallel for num_threads(2)
  for (int k = 0; k < 1000; ++k) shared += k;
  std::printf("%d\n", shared);
  return 0;
}
