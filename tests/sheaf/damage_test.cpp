#include <cstdlib>
#include <iostream>
#include <random>
#include <sstream>

#include "sheaf/sample_data.h"
#include "sheaf/tool_runs.h"
#include "support/bundle_text.h"
#include "support/console_capture.h"
#include "support/program_run.h"
#include "support/q8_samples.h"

// Damage to a file is found: what is read is what was written, or its loss is reported.
namespace {

using namespace TestSupport;
using FuzzSupport::BundleText;

/// A small file, with those that belong to it.
struct SoundFile {
  std::string main;
  std::vector<std::string> all;
  BundleText text;
};

SoundFile soundFile(const std::string& main, std::vector<std::string> all) {
  const auto bundle = loadBundle(main);
  SoundFile file{main, std::move(all), FuzzSupport::describe(*bundle)};
  bundle->sync();
  return file;
}

std::vector<SoundFile> soundFiles(const TempFolder& folder) {
  std::vector<SoundFile> files;
  for (const std::string& main : FuzzSupport::writeQ8Samples(folder / "samples"))
    files.push_back(soundFile(main, {main}));
  const std::string main = folder / "main.q8";
  {
    const auto bundle = boundBundle(main, Larder::makeStrong<OwnFiles>("ext"));
    put(*vertices(*bundle), "Positions", "f", sampleArray<1, Point>({3}));
    put(*vertices(*bundle), "height", "f", sampleArray<1, float>({3}))
        ->setAttribute("unit", Larder::singleValue(std::string("m")));
  }
  files.push_back(soundFile(main, {main, folder / "ext/height.q8"}));
  return files;
}

/// A description without the attributes of fragments, which may be lost with their data.
std::string withoutFragmentAttributes(const std::string& structure) {
  std::istringstream lines(structure);
  std::string kept;
  for (std::string line; std::getline(lines, line);) {
    const std::size_t attribute = line.find('(');
    if ((line.starts_with("fragment") || line.starts_with("undivided")) &&
        attribute != std::string::npos)
      line.resize(line.rfind(' ', attribute));
    kept += line + "\n";
  }
  return kept;
}

void overwrite(const std::string& file, const std::string& bytes) {
  std::filesystem::remove(file);  // some file systems flush a file that was cut and written anew
  std::ofstream(file, std::ios::binary) << bytes;
}

enum Outcome { Unchanged, Refused, Reported, Silent };

/// What becomes of loading and reading a file.
Outcome outcomeOf(const SoundFile& file) {
  const ConsoleCapture console;
  const std::uint64_t before = Quilt::failedReads();
  const auto bundle = loadBundle(file.main);
  if (!bundle) return console.messages().empty() ? Silent : Refused;
  const BundleText text = FuzzSupport::describe(*bundle);
  bundle->sync();  // nothing of one case may help the next one
  if (text.complete)
    return text.structure == file.text.structure && text.data == file.text.data ? Unchanged
                                                                                : Silent;
  if (withoutFragmentAttributes(text.structure) != withoutFragmentAttributes(file.text.structure))
    return Silent;
  return Quilt::failedReads() > before && !console.messages().empty() ? Reported : Silent;
}

using Damage = FileTest;

// RECAST_FLIPS in the environment sets how many flips are tried.
TEST_F(Damage, OfOneBitIsNeverSilent) {
  const char* wanted = std::getenv("RECAST_FLIPS");
  const int flips = wanted != nullptr ? std::atoi(wanted) : 1000;
  constexpr unsigned kSeed = 15;
  std::mt19937 random(kSeed);
  const std::vector<SoundFile> files = soundFiles(folder_);
  int outcomes[4] = {};
  for (int i = 0; i < flips; ++i) {
    const SoundFile& file = files[static_cast<std::size_t>(i) % files.size()];
    const std::string& name = file.all[random() % file.all.size()];
    const std::string bytes = textOf(name);
    std::string flipped = bytes;
    const std::size_t byte = random() % bytes.size();
    const unsigned bit = random() % 8;
    flipped[byte] = static_cast<char>(flipped[byte] ^ (1 << bit));
    overwrite(name, flipped);
    const Outcome outcome = outcomeOf(file);
    overwrite(name, bytes);
    ++outcomes[outcome];
    EXPECT_NE(outcome, Silent) << name << ", bit " << bit << " of byte " << byte << ", seed "
                               << kSeed;
  }
  EXPECT_GT(outcomes[Refused], flips / 10);
  EXPECT_GT(outcomes[Reported], 0);
  std::cout << flips << " flips: " << outcomes[Unchanged] << " without effect, "
            << outcomes[Refused] << " refused, " << outcomes[Reported] << " reported, "
            << outcomes[Silent] << " silent\n";
}

/// A field "v" with a fragment "f" whose numbers fill most of its file.
struct Stored {
  const char* what;
  Quilt::MemBaseHandle array;
  int level;
  bool single;
  bool packed;
};

TEST_F(Damage, OfAnArrayIsFoundHoweverItLies) {
  struct Rules : Quilt::StorageTransformations {
    bool WriteAsSinglePrecision(const std::string&,
                                const Larder::StrongPtr<Larder::ChunkBase>&) const override {
      return singlePrecision;
    }
    bool EnableNumericalShift(const std::string&,
                              const Larder::StrongPtr<Larder::ChunkBase>&) const override {
      return singlePrecision;
    }
    bool setFieldPacking(const std::string&, std::size_t) const override { return packed; }
    bool packed = false;
  };
  const auto small = sampleArray<1, Point>({100});
  const auto middle = sampleArray<1, Point>({30'000});
  const auto large = sampleArray<1, Point>({500'000});  // is read in several pieces
  for (const Stored& stored : {Stored{"small", small, 0, false, false},
                               {"plain", large, 0, false, false},
                               {"compressed", large, 1, false, false},
                               {"shifted floats", large, 0, true, false},
                               {"compressed floats", large, 1, true, false},
                               {"packed", middle, 0, false, true},
                               {"packed floats", middle, 0, true, true},
                               {"compressed packed floats", middle, 1, true, true},
                               {"lists", sampleArray<1, Lists>({20'000}), 0, false, false}}) {
    SCOPED_TRACE(stored.what);
    const auto rules = Larder::makeStrong<Rules>();
    rules->compressionLevel = stored.level;
    rules->singlePrecision = stored.single;
    rules->packed = stored.packed;
    put(*vertices(*boundBundle(file_, rules)), "v", "f", stored.array);
    const auto sound = loadBundle(file_);
    const auto array = get(*sound, "v", "f");
    ASSERT_TRUE(array);
    EXPECT_TRUE(stored.single || sameArrays(array, stored.array));
    sound->sync();
    std::string bytes = textOf(file_);
    bytes[bytes.size() / (stored.packed ? 4 : 2)] ^= 4;  // a chunk may be half empty
    overwrite(file_, bytes);
    const ConsoleCapture console;
    const auto damaged = loadBundle(file_);
    ASSERT_TRUE(damaged);
    const std::uint64_t before = Quilt::failedReads();
    const auto creator = findField(*damaged, "G", "v")->getCreatorByName("f");
    EXPECT_FALSE(creator->stored()->openPieces());
    EXPECT_FALSE(creator->get());
    EXPECT_TRUE(console.contains("a.q8: read") && console.contains("is damaged"));
    EXPECT_GT(Quilt::failedReads(), before);
  }
}

}  // namespace
