#include "recast/sheaf/storage/filters.h"

#include <random>

#include <gtest/gtest.h>

#include "recast/sheaf/storage/block_plan.h"
#include "recast/sheaf/storage/link_names.h"

namespace {

using namespace Quilt::Storage;

std::vector<std::byte> randomBytes(std::size_t count, std::mt19937& random) {
  std::vector<std::byte> bytes(count);
  for (std::byte& byte : bytes) byte = static_cast<std::byte>(random() & 15);
  return bytes;
}

TEST(Filters, ShuffleGroupsTheBytesOfEqualWeight) {
  std::mt19937 random(11);
  for (const std::size_t size : {1U, 2U, 3U, 4U, 8U, 16U})
    for (const std::size_t count : {0U, 1U, 2U, 7U, 15U, 16U, 17U, 31U, 100U, 1000U}) {
      SCOPED_TRACE(size * 10000 + count);
      const auto bytes = randomBytes(size * count, random);
      std::vector<std::byte> shuffled(bytes.size());
      std::vector<std::byte> back(bytes.size());
      shuffle(bytes, size, shuffled.data());
      for (std::size_t i = 0; i < count; ++i)
        for (std::size_t b = 0; b < size; ++b)
          ASSERT_EQ(shuffled[b * count + i], bytes[i * size + b]) << i << " " << b;
      unshuffle(shuffled, size, back.data());
      EXPECT_EQ(back, bytes);
    }
}

TEST(Filters, InflateRestoresWhatDeflateMadeAndNothingElse) {
  std::mt19937 random(12);
  const auto bytes = randomBytes(10'000, random);
  for (const int level : {1, 12}) {
    const auto stream = deflated(bytes, level);
    EXPECT_LT(stream.size(), bytes.size());
    std::vector<std::byte> back(bytes.size());
    EXPECT_TRUE(inflate(stream, back) && back == bytes);
    EXPECT_FALSE(inflate(std::span(stream).first(stream.size() / 2), back));
    for (const std::size_t size : {bytes.size() - 1, bytes.size() + 1}) {
      back.resize(size);
      EXPECT_FALSE(inflate(stream, back));
    }
  }
}

TEST(BlockPlan, CoversEveryNumberOnceInPiecesOfMemory) {
  std::mt19937 random(13);
  for (int round = 0; round < 2000; ++round) {
    std::vector<hsize_t> axes(1 + random() % 5);
    hsize_t numbers = 1;
    for (hsize_t& axis : axes) numbers *= axis = 1 + random() % 6;
    const std::size_t blockNumbers = 1 + random() % 40;
    const bool keepLast = random() % 2 == 0;
    const BlockPlan plan(axes, 8, blockNumbers * 8, keepLast);
    std::vector<int> covered(numbers);
    for (std::size_t i = 0; i < plan.blocks(); ++i) {
      const auto block = plan.block(i);
      hsize_t place = 0;
      hsize_t product = 1;
      for (std::size_t axis = 0; axis < axes.size(); ++axis) {
        place = place * axes[axis] + block.start[axis];
        product *= block.size[axis];
        ASSERT_EQ(block.start[axis] % plan.fullSize()[axis], 0U);  // chunks lie on their raster
        ASSERT_LE(block.size[axis], plan.fullSize()[axis]);
      }
      ASSERT_EQ(place, block.firstNumber);
      ASSERT_EQ(product, block.numbers);
      ASSERT_LE(block.numbers, std::max<std::size_t>(blockNumbers, keepLast ? axes.back() : 1));
      for (std::size_t n = 0; n < block.numbers; ++n) ++covered.at(block.firstNumber + n);
    }
    ASSERT_TRUE(std::all_of(covered.begin(), covered.end(), [](int times) { return times == 1; }))
        << "round " << round;
  }
}

TEST(LinkNames, AreReversibleDifferentAndNoneThatHdf5CannotHold) {
  std::mt19937 random(14);
  const std::string letters = "%/.@2F50aE\0Z";
  std::map<std::string, std::string> byLink;
  for (int round = 0; round < 20'000; ++round) {
    std::string name;
    for (std::size_t length = random() % 6; name.size() < length;) name += letters[random() % 12];
    const std::string link = escapedName(name);
    ASSERT_EQ(unescapedName(link), name);
    ASSERT_EQ(byLink.try_emplace(link, name).first->second, name);
    ASSERT_TRUE(!link.empty() && link != "." && link[0] != '@');
    ASSERT_EQ(link.find('/'), std::string::npos);
    ASSERT_EQ(link.find('\0'), std::string::npos);
  }
}

TEST(LinkNames, OfTimesAreThoseOfPrintf) {
  for (const double time : {0.0, -0.0, 1.0, -2.5, 1e300, 1e-300, 0.1, 123456.7890125, 5e-7}) {
    char expected[400];
    std::snprintf(expected, sizeof expected, "%f", time);
    EXPECT_EQ(timeName(time), expected);
  }
}

}  // namespace
