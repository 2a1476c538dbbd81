#include "kernel/xmxxu_hash.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "support/host_memory.h"

namespace {

// A map from numbers to text, hashed by the number itself, as the library's tables of node
// numbers are.
struct NumberTraits {
  using Key = unsigned int;
  static Key const& key(std::pair<unsigned int, std::string> const& value) { return value.first; }
  static std::uint32_t hash(Key key) { return key; }
  static bool equal(Key a, Key b) { return a == b; }
};

using NumberTable = CHashTable<std::pair<unsigned int, std::string>, NumberTraits>;

}  // namespace

TEST(PrimeBucketCount, TakesTheFirstPrimeNotBelowTheWantedSize) {
  EXPECT_EQ(primeBucketCount(0), 53u);
  EXPECT_EQ(primeBucketCount(11), 53u);
  EXPECT_EQ(primeBucketCount(53), 53u);
  EXPECT_EQ(primeBucketCount(54), 97u);
  EXPECT_EQ(primeBucketCount(256), 389u);
  EXPECT_EQ(primeBucketCount(1023), 1543u);
  EXPECT_EQ(primeBucketCount(10007), 12289u);
}

TEST(PrimeBucketCount, StopsAtTheLastPrime) {
  EXPECT_EQ(primeBucketCount(4294967291u), 4294967291u);
  EXPECT_EQ(primeBucketCount(static_cast<std::size_t>(4294967292u)), 4294967291u);
}

TEST(HashTable, StartsWithThePrimeBucketCountOfItsWantedSize) {
  NumberTable table(256);
  EXPECT_EQ(table.bucketCount(), 389u);
  EXPECT_TRUE(table.empty());
}

TEST(HashTable, AKeyAlreadyPresentIsFoundInsteadOfInserted) {
  NumberTable table(7);
  auto& first = table.emplace(5, 5u, "five");
  auto& again = table.emplace(5, 5u, "other");
  EXPECT_EQ(&first, &again);
  EXPECT_EQ(again.second, "five");
  EXPECT_EQ(table.size(), 1u);
}

TEST(HashTable, FindGivesNullForAnUnknownKey) {
  NumberTable table(7);
  table.emplace(1, 1u, "one");
  EXPECT_EQ(table.find(2), nullptr);
  ASSERT_NE(table.find(1), nullptr);
  EXPECT_EQ(table.find(1)->second, "one");
}

TEST(HashTable, GrowsOnlyWhenTheWantedSizeExceedsTheBuckets) {
  NumberTable table(7);
  for (unsigned int i = 0; i < 52; ++i) table.emplace(i, i, "");
  EXPECT_EQ(table.bucketCount(), 53u);
  table.emplace(52, 52u, "");
  EXPECT_EQ(table.bucketCount(), 53u);
  table.emplace(53, 53u, "");
  EXPECT_EQ(table.bucketCount(), 97u);
}

TEST(HashTable, EntriesKeepTheirPlaceWhenTheTableGrows) {
  NumberTable table(7);
  auto* first = &table.emplace(0, 0u, "zero");
  for (unsigned int i = 1; i < 1000; ++i) table.emplace(i, i, "");
  EXPECT_GT(table.bucketCount(), 53u);
  EXPECT_EQ(table.find(0), first);
  for (unsigned int i = 0; i < 1000; ++i) EXPECT_NE(table.find(i), nullptr);
}

TEST(HashTable, ClearFreesEntriesAndKeepsTheBuckets) {
  long before = testhost::outstandingBlocks();
  {
    NumberTable table(7);
    for (unsigned int i = 0; i < 100; ++i) table.emplace(i, i, "x");
    std::size_t buckets = table.bucketCount();
    table.clear();
    EXPECT_TRUE(table.empty());
    EXPECT_EQ(table.bucketCount(), buckets);
    EXPECT_EQ(table.find(3), nullptr);
  }
  EXPECT_EQ(testhost::outstandingBlocks(), before);
}

TEST(HashTable, ForEachVisitsEveryEntry) {
  NumberTable table(7);
  for (unsigned int i = 1; i <= 10; ++i) table.emplace(i, i, "");
  unsigned int sum = 0;
  table.forEach([&sum](std::pair<unsigned int, std::string> const& entry) { sum += entry.first; });
  EXPECT_EQ(sum, 55u);
}

TEST(HashTable, AFailedInsertionLeavesTheTableAsItWas) {
  NumberTable table(7);
  table.emplace(1, 1u, "one");
  {
    testhost::AllocationFailure failure;
    EXPECT_THROW(table.emplace(2, 2u, "two"), std::bad_alloc);
  }
  EXPECT_EQ(table.size(), 1u);
  EXPECT_EQ(table.find(2), nullptr);
}
