#include "column_files.h"
#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using TestSupport::ColumnConversion;

constexpr std::size_t kBlock = 10'000'000;

std::size_t sizeOf(const ColumnConversion& run, const std::string& fragment) {
  const auto creator = run.field("N")->getCreatorByName(fragment);
  return creator ? creator->size()[0] : 0;
}

TEST(BlockEdge, AFullBlockIsSavedWhenALineFollows) {
  ColumnConversion run;
  run.converter.addColumn("uchar", "N", {0});
  std::string lines(2 * kBlock, '\n');
  for (std::size_t i = 0; i < lines.size(); i += 2) lines[i] = '1';

  ASSERT_EQ(run.convertText(lines), 0);
  EXPECT_THAT(run.fragments("N"), ElementsAre("in_0"));
  EXPECT_EQ(sizeOf(run, "in_0"), kBlock);

  ASSERT_EQ(run.convertText(lines + "2\n"), 0);
  EXPECT_THAT(run.fragments("N"), ElementsAre("in_0", "in_1"));
  EXPECT_EQ(sizeOf(run, "in_0"), kBlock);
  EXPECT_THAT(run.values<unsigned char>("N", "in_1"), ElementsAre(2));
  const auto first = run.values<unsigned char>("N", "in_0");
  EXPECT_EQ(std::count(first.begin(), first.end(), 1), std::ptrdiff_t{kBlock});

  run.folder.write("bad.txt", lines + "x\n");
  EXPECT_EQ(run.convert({"bad.txt"}), 4);
  EXPECT_EQ(run.console.messages().back(), "Bad line is: x at nr: 10000000");
  EXPECT_EQ(sizeOf(run, "bad_0"), kBlock) << "saved before the line behind it was parsed";

  run.manipulate = [&run](Quilt::MemBase& array, std::string&, Quilt::Field&,
                          std::string) -> Quilt::MemBaseHandle {
    run.converter.UIntColumns[0].Data->clear();
    return Quilt::MemBaseHandle(&array);
  };
  run.converter.addColumn("uint", "Lost", {0});
  EXPECT_EQ(run.convert({"bad.txt"}), 3) << "a full block can't be saved";
  EXPECT_EQ(sizeOf(run, "bad_0"), kBlock);
}

}  // namespace
