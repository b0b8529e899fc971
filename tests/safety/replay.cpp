// Makes the calls of inputs that libFuzzer has found, without libFuzzer: all files of the folders named.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* bytes, std::size_t size);

int main(int argc, char** argv) {
  int inputs = 0;
  for (int k = 1; k < argc; ++k) {
    for (const auto& entry : std::filesystem::directory_iterator(argv[k])) {
      std::ifstream file(entry.path(), std::ios::binary);
      const std::vector<char> bytes(std::istreambuf_iterator<char>(file), {});
      LLVMFuzzerTestOneInput(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
      ++inputs;
    }
  }
  std::fprintf(stderr, "%d inputs\n", inputs);
  return inputs > 0 ? 0 : 1;
}
