#ifndef MARL_TESTS_SUPPORT_LIBRARY_STATE_H
#define MARL_TESTS_SUPPORT_LIBRARY_STATE_H

#include <gtest/gtest.h>

// Ends the library state a test left behind, so that the next test starts on a fresh one.
void endLibrary();

// A fixture whose tests begin and end without a library.
class FreshLibrary : public ::testing::Test {
 protected:
  void SetUp() override { endLibrary(); }
  void TearDown() override { endLibrary(); }
};

#endif
