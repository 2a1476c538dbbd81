#include <gtest/gtest.h>

#include "marl/host.h"

TEST(DefaultDataSets, OpenFailsWithMinusOne) {
  void* dataset = &dataset;
  EXPECT_EQ(TOVA_DsetOpen("anything", 0, &dataset), -1);
  EXPECT_EQ(dataset, nullptr);
}

TEST(DefaultDataSets, CloseReadAndWriteFail) {
  char buffer[4] = {};
  EXPECT_EQ(TOVA_DsetClose(nullptr), -1);
  EXPECT_EQ(TOVA_DsetRead(nullptr, buffer, sizeof buffer), -1);
  EXPECT_EQ(TOVA_DsetWrite(nullptr, buffer, sizeof buffer), -1);
}
