// Gives files, and all files in folders, to a fuzz target, in builds without libFuzzer. A fault
// ends the program; the name of the file is the last that it has written then.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> filesOf(const fs::path& place) {
  std::vector<fs::path> files;
  if (!fs::is_directory(place)) return {place};
  for (const auto& entry : fs::recursive_directory_iterator(place))
    if (entry.is_regular_file()) files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  return files;
}

bool replay(const fs::path& path) {
  std::fprintf(stderr, "%s\n", path.c_str());
  std::ifstream file(path, std::ios::binary);
  if (!file) return false;
  const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
  LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
  return true;
}

}  // namespace

int main(int count, char** places) {
  int replayed = 0;
  for (int i = 1; i < count; ++i)
    for (const fs::path& path : filesOf(places[i])) {
      if (!replay(path)) return 1;
      ++replayed;
    }
  std::fprintf(stderr, "replayed %d inputs\n", replayed);
  return replayed > 0 ? 0 : 1;
}
