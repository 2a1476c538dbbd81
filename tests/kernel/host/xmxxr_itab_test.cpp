#include <gtest/gtest.h>

#include "marl/host.h"

TEST(DefaultInternalTables, ReportTypeOneHundredTwentyAndNoLines) {
  int table = 0;
  TOVAPreprocITAB(&table);
  EXPECT_EQ(TOVAItType(&table), 120);
  EXPECT_EQ(TOVAItLeng(&table), 0u);
  EXPECT_EQ(TOVAItGetLine(&table, 1), nullptr);
  EXPECT_EQ(TOVAItAppLine(&table), nullptr);
  EXPECT_EQ(TOVAItAccess(&table, 1), nullptr);
  EXPECT_EQ(TOVAItGetRecord(&table), 0u);
  TOVAItFree(&table);
}
