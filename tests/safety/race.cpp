// Two threads write one variable: ThreadSanitizer has to say so, else its silence elsewhere means nothing.
#include <cstdio>
#include <thread>

int main() {
  int shared = 0;
  const auto count = [&shared] {
    for (int k = 0; k < 1000; ++k) shared += k;
  };
  std::thread other(count);
  count();
  other.join();
  std::printf("%d\n", shared);
  return 0;
}
