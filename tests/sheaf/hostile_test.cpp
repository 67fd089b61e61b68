#include <csignal>

#include "sheaf/sample_data.h"
#include "sheaf/tool_runs.h"
#include "support/console_capture.h"
#include "support/program_run.h"
#include <sys/mman.h>
#include <sys/resource.h>

#include "recast/patchbase/bounding_boxes.h"
#include "recast/patchops/data_range.h"
#include "recast/trelliskinds/grid_kinds.h"

// Whatever a file holds: no crash, no endless loop, no allocation larger than the file justifies.

#if defined(__SANITIZE_ADDRESS__)
// The sanitizer needs too much address space for a limit on it; it has one of its own.
extern "C" const char* __asan_default_options() {
  return "allocator_may_return_null=1:max_allocation_size_mb=512";
}
constexpr bool kLimitAddresses = false;
#else
constexpr bool kLimitAddresses = true;
#endif

namespace {

using namespace TestSupport;

/// Looks at everything that a bundle tells and reads all of its data.
std::size_t walk(const Quilt::Bundle& bundle) {
  std::size_t elements = bundle.attributes().size();
  struct Reader : Quilt::FragmentIterator {
    bool apply(const Larder::StrongPtr<Quilt::FragmentID>&,
               const Quilt::CreatorHandle& creator) override {
      elements += creator->attributes().size();
      if (const auto array = creator->get()) elements += array->nElements();
      return true;
    }
    std::size_t elements = 0;
  } reader;
  for (const auto& [time, slice] : bundle)
    for (const auto& [id, grid] : *slice) {
      elements += grid->xml().size();
      for (const auto& [skeletonID, skeleton] : grid->skeletons())
        for (const auto& representation : skeleton->representations())
          representation->iterate([&](const Quilt::FieldID&, const Quilt::Field& field) {
            Quilt::BoxHandle box;
            Quilt::expandBoundingBox(field, box);
            Quilt::getRange(field, "", false, false);
            field.iterate(reader, nullptr);
            return true;
          });
    }
  return elements + reader.elements;
}

bool loadsAndWalks(const std::string& file) {
  const auto bundle = loadBundle(file);
  if (!bundle) return false;
  walk(*bundle);
  // Nothing of one case may help the next one.
  bundle->sync();
  return true;
}

struct Progress {
  long next = 0;  // the case that is under way
  long loaded = 0;
};

/// Runs cases 0 to `cases` - 1, in a process of their own so that a crash or a hang costs one case.
/// \param write makes the file of a case. \return what went wrong, empty if nothing did.
template <class Write>
std::string runCases(long cases, const std::string& file, long& loaded, Write write) {
  auto* progress = static_cast<Progress*>(
      mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
  *progress = Progress{};
  std::string wrong;
  int failures = 0;
  while (progress->next < cases && failures < 20) {
    const pid_t child = fork();
    if (child == 0) {
      const ConsoleCapture console;
      const rlimit addresses{std::size_t{1} << 30, std::size_t{1} << 30};
      if (kLimitAddresses) setrlimit(RLIMIT_AS, &addresses);
      for (; progress->next < cases; ++progress->next) {
        alarm(20);
        write(progress->next);
        progress->loaded += loadsAndWalks(file) ? 1 : 0;
      }
      _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0) break;
    wrong += "case " + std::to_string(progress->next) +
             (WIFSIGNALED(status) ? " ended by signal " + std::to_string(WTERMSIG(status))
                                  : " ended with code " + std::to_string(WEXITSTATUS(status))) +
             "\n";
    ++failures;
    ++progress->next;
  }
  loaded = progress->loaded;
  munmap(progress, sizeof(Progress));
  return wrong;
}

void overwrite(const std::string& file, const std::string& bytes) {
  std::filesystem::remove(file);  // some file systems flush a file that was cut and written anew
  std::ofstream(file, std::ios::binary | std::ios::trunc) << bytes;
}

/// A small file with one of each that the format knows.
std::string variedFile(const TempFolder& folder) {
  struct Varied : PositionRules {
    using PositionRules::PositionRules;
    bool setFieldPacking(const std::string& field, std::size_t) const override {
      return field == "packed";
    }
    std::size_t computeChunkSize(const std::string&) const override { return 4096; }
  };
  const auto rules = Larder::makeStrong<Varied>(1);
  rules->singlePrecision = rules->numericalShift = true;
  const std::string file = folder / "varied.q8";
  const auto bundle = boundBundle(file, rules);
  const auto target = vertices(*bundle);
  const auto lattice = Larder::makeStrong<Quilt::FragmentIDCollection>();
  lattice->setFragmentNames<3>({2, 1, 1}, "");
  target->makeField(target->makeFieldID("Positions"), lattice, nullptr);
  put(*target, "Positions", "[1x0x0]", sampleArray<1, Point>({9}))
      ->setAttribute("unit", Larder::singleValue(std::string("m")));
  put(*target, "packed", "[0x0x0]", sampleArray<1, float>({5}))
      ->setAttribute("CellSize", Larder::singleValue(2.0));
  put(*target, "packed", "[1x0x0]", sampleArray<1, float>({3}));
  put(*target, "lists", "", sampleArray<1, Lists>({3}));
  const auto other = vertices(*bundle, "U");
  put(*other, "Positions", "named",
      Quilt::UniformCartesianArray::overBox({0, 0, 0}, {3, 4, 1}, {1, 1, 0}));
  put(*other, "Elevation", "named", sampleArray<3, double>({3, 4, 1}));
  bundle->setAttribute("EPSG", Larder::singleValue(25832));
  return file;
}

using HostileFiles = FileTest;

TEST_F(HostileFiles, CutOffAnywhereAreRefusedOrRead) {
  const std::string bytes = textOf(variedFile(folder_));
  ASSERT_GT(bytes.size(), 1000U);
  constexpr long kStep = 7;
  long loaded = 0;
  EXPECT_EQ(runCases(static_cast<long>(bytes.size()) / kStep, file_, loaded,
                     [&](long i) {
                       overwrite(file_, bytes.substr(0, static_cast<std::size_t>(i * kStep)));
                     }),
            "");
  EXPECT_EQ(loaded, 0);
}

/// What happens to a file of which a line of Python makes something else. `f` is the open file, `t`
/// the table of the field "v", `row` its first row, `g` the group of the field, `np` and `h5py` are
/// there.
struct Tampering {
  const char* what;
  const char* python;
};

const Tampering kTampering[] = {
    {"shape larger than the data", "row['shape'] = (2**40, 1, 1, 1)[:len(row['shape'])]"},
    {"shape smaller than the data", "row['shape'][0] = 3"},
    {"shape that overflows", "row['rank'] = 4; widen('shape', (2**32, 2**32, 2**32, 2**32))"},
    {"shape that wraps to the data", "row['rank'] = 2; widen('shape', (2**63, 8))"},
    {"rank of nothing", "row['rank'] = 200"},
    {"rank 0", "row['rank'] = 0"},
    {"unknown kind", "row['kind'] = 77"},
    {"packed without a dataset", "row['kind'] = 2"},
    {"lists without any", "row['kind'] = 3"},
    {"uniform without parameters", "row['kind'] = 4"},
    {"negative number", "row['number'] = -2"},
    {"number of no row", "row['number'] = 2**40"},
    {"every number one", "t[:] = np.repeat(t[:1], len(t))"},
    {"type of another size", "g.attrs['@type'] = np.bytes_('double')"},
    {"compound type", "g.attrs['@type'] = np.bytes_('Heron::PhysicalSpace::point')"},
    {"list type",
     "g.attrs['@type'] = np.bytes_('std::vector<unsigned int, std::allocator<unsigned int> >')"},
    {"unknown type", "g.attrs['@type'] = np.bytes_('char[]')"},
    {"no type", "del g.attrs['@type']"},
    {"numbers for a type", "g.attrs['@type'] = np.arange(9)"},
    {"itself for a donor", "g.attrs['@identifiers'] = np.bytes_('v')"},
    {"a missing donor", "g.attrs['@identifiers'] = np.bytes_('w')"},
    {"a huge lattice", "g.attrs['@lattice'] = np.array([2**21, 2**21, 2**21], 'u8')"},
    {"a lattice that wraps", "g.attrs['@lattice'] = np.array([2**63, 2, 2], 'u8')"},
    {"a table of numbers", "replace(np.arange(100))"},
    {"a table of texts", "replace(np.zeros(9, [('name', 'S3'), ('kind', 'S3')]))"},
    {"a table of two axes", "replace(np.zeros((3, 3), t.dtype))"},
    {"a table without rows", "replace(t[:0])"},
    {"a table without names", "replace(np.zeros(9, [('number', 'i8'), ('kind', 'u1')]))"},
    {"a table of very many rows",
     "del g['@fragments']; g.create_dataset('@fragments', (2**40,), t.dtype, chunks=(1024,))"},
    {"a table for a group", "del g['@fragments']; g.create_group('@fragments')"},
    {"a table in another file", "replace(h5py.ExternalLink('other.q8', '/t'))"},
    {"a table that leads to itself", "replace(h5py.SoftLink('@fragments'))"},
    {"very many elements", "remake(shape=(2**50,), dtype='i4', chunks=(2**20,))"},
    {"huge chunks", "remake(shape=(4,), maxshape=(None,), dtype='i4', chunks=(2**29,))"},
    {"unwritten chunks",
     "remake(shape=(4,), dtype='i4', chunks=(2,), compression=1, shuffle=True)"},
    {"texts for numbers", "remake(data=np.array([b'a', b'b', b'c', b'd']))"},
    {"numbers of no standard", "remake(data=np.zeros(4, 'f2'))"},
    {"one number without axes", "remake(data=np.int32(4))"},
    {"no numbers at all", "remake(data=h5py.Empty('i4'))"},
    {"data in another file", "remake(shape=(4,), dtype='i4', external=[('pipe', 0, 16)])"},
    {"data gathered from other files",
     "layout = h5py.VirtualLayout((4,), 'i4');"
     "layout[:] = h5py.VirtualSource('pipe', 'x', (4,)); del g['f'];"
     "g.create_virtual_dataset('f', layout)"},
    {"unknown filter", "remake(data=np.arange(4, dtype='i4'), chunks=(4,), compression='lzf')"},
    {"a group for data", "del g['f']; g.create_group('f')"},
    {"data that isn't there", "del g['f']"},
    {"data that leads to itself", "del g['f']; g['f'] = h5py.SoftLink('f')"},
    {"data that is the root", "del g['f']; g['f'] = h5py.SoftLink('/')"},
    {"no time", "del f['0.000000'].attrs['@time']; f.move('0.000000', 'noon')"},
    {"a time that is none", "f['0.000000'].attrs['@time'] = np.array([np.nan])"},
    {"a grid within itself", "f['0.000000/G/x'] = f['0.000000/G']"},
    {"a field in a pipe", "relink('pipe')"},
    {"a field in a text", "relink('script.py')"},
    {"a field in a folder", "relink('.')"},
    {"a field in an endless file", "relink('/dev/zero')"},
    {"a field in its own file", "relink('a.q8')"},
    {"a newer version", "f.attrs['@version'] = np.array([99], 'u8')"},
    {"a version of text", "f.attrs['@version'] = np.bytes_('one')"},
    {"another format", "f.attrs['@format'] = np.bytes_('something else')"},
    {"endless attributes", "f.attrs.create('huge', np.zeros(8000, 'S1'))"},
};

constexpr const char* kTamperScript = R"(
import shutil
def tamper(number, line):
    name = f'{number}.q8'
    shutil.copy('a.q8', name)
    with h5py.File(name, 'r+', libver=('v110', 'v110')) as f:
        g = f['0.000000/G/Skeleton_3_0/Cartesian/v']
        t = g['@fragments'][...]
        def remake(**how):
            del g['f']
            g.create_dataset('f', **how)
        def relink(target):
            v = f['0.000000/G/Skeleton_3_0/Cartesian']
            del v['v']
            v['v'] = h5py.ExternalLink(target, '/0.000000/G')
        def replace(table):
            del g['@fragments']
            g['@fragments'] = table
        def widen(column, values):
            kinds = [(n, t.dtype[n]) if n != column else (n, 'u8', (len(values),))
                     for n in t.dtype.names]
            wide = np.zeros(len(t), kinds)
            for n in t.dtype.names:
                if n != column: wide[n] = t[n]
            wide[column][:] = values
            replace(wide)
        before = t.copy()
        exec(line, dict(f=f, g=g, t=t, row=t[0], np=np, h5py=h5py, remake=remake, widen=widen,
                        replace=replace, relink=relink))
        if t.tobytes() != before.tobytes() and 'widen' not in line: replace(t)
)";

TEST_F(HostileFiles, WithNonsenseInTheirTablesAreRefusedOrRead) {
  if (!hasH5py()) GTEST_SKIP() << "there is no Python with h5py";
  {
    const auto bundle = boundBundle(file_);
    for (const char* fragment : {"f", "g"})
      put(*vertices(*bundle), "v", fragment, sampleArray<1, int>({4}));
  }
  mkfifo((folder_ / "pipe").c_str(), 0600);
  std::string script = kTamperScript;
  long cases = 0;
  for (const Tampering& tampering : kTampering)
    script += "tamper(" + std::to_string(cases++) + ", \"\"\"" + tampering.python + "\"\"\")\n";
  const auto [status, output] = runPython(folder_, script);
  ASSERT_EQ(status, 0) << output;
  const auto fileOf = [this](long i) { return folder_ / (std::to_string(i) + ".q8"); };
  long loaded = 0;
  EXPECT_EQ(runCases(cases, file_, loaded, [&](long i) { overwrite(file_, textOf(fileOf(i))); }),
            "");
  // Many concern one array, which is null then; whatever else the file holds is there.
  for (long i = 0; i < cases; ++i) {
    SCOPED_TRACE(kTampering[i].what);
    const ConsoleCapture console;
    const auto bundle = loadBundle(fileOf(i));
    if (!bundle) continue;
    const auto array = get(*bundle, "v", "f");
    EXPECT_TRUE(!array || array->nElements() == 4);
  }
}

TEST_F(HostileFiles, OfOtherKindsAreRefused) {
  folder_.write("empty.q8", "");
  folder_.write("text.q8", std::string(5000, 'x'));
  folder_.write("signature.q8", std::string("\x89HDF\r\n\x1a\n", 8));
  folder_.write("zeros.q8", std::string("\x89HDF\r\n\x1a\n\x03", 9) + std::string(5000, '\0'));
  std::vector<std::string> names = {"empty.q8", "text.q8", "signature.q8", "zeros.q8",
                                    "missing.q8"};
  if (hasH5py()) {
    const auto [status, output] =
        runPython(folder_,
                  "old = h5py.File('old.q8', 'w').attrs\n"
                  "old['@format'], old['@version'] = np.bytes_('recast q8'), [1]\n"
                  "h5py.File('other.q8', 'w', libver='v110')['x'] = 5\n"
                  "h5py.File('block.q8', 'w', userblock_size=512)\n");
    ASSERT_EQ(status, 0) << output;
    names.insert(names.end(), {"old.q8", "other.q8", "block.q8"});
  }
  const ConsoleCapture console;
  for (const std::string& name : names) {
    EXPECT_FALSE(loadBundle(folder_ / name)) << name;
    EXPECT_TRUE(console.contains(name)) << name;
  }
  EXPECT_EQ(console.contains("HDF5's older form without checksums"), hasH5py());
  for (const std::string& name : {folder_.path().string(), std::string(), std::string("/dev/zero")})
    EXPECT_FALSE(loadBundle(name)) << name;
}

TEST_F(HostileFiles, ThatGetShorterWhileTheyAreReadTellWhatTheyLost) {
  put(*vertices(*boundBundle(file_)), "v", "f", sampleArray<1, double>({100'000}));
  const auto loaded = loadBundle(file_);
  ASSERT_TRUE(loaded);
  std::filesystem::resize_file(file_, 500'000);
  const ConsoleCapture console;
  EXPECT_FALSE(get(*loaded, "v", "f"));
  EXPECT_TRUE(console.contains("a.q8: read: the file ends before the data does"));
}

TEST_F(HostileFiles, OfFewBytesCannotMakeManyVisits) {
  if (!hasH5py()) GTEST_SKIP() << "there is no Python with h5py";
  // Ten links at each of five levels to the same group below: 100,000 ways to ten fields.
  const auto [status, output] = runPython(folder_, R"(
f = h5py.File('a.q8', 'w', libver='v110')
f.attrs['@format'] = np.bytes_('recast q8')
f.attrs['@version'] = np.array([1], 'u8')
levels = [f] + [f.create_group(f'@{i}') for i in range(5)]
for upper, lower in zip(levels, levels[1:]):
    for i in range(10):
        upper[f'Skeleton_{i}_0' if upper is levels[2] else f'{i}.0'] = lower
)");
  ASSERT_EQ(status, 0) << output;
  const ConsoleCapture console;
  EXPECT_FALSE(loadBundle(file_));
  EXPECT_TRUE(console.contains("the group has two places in the file"));
}

}  // namespace
