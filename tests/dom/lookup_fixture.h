#ifndef MARL_TESTS_DOM_LOOKUP_FIXTURE_H
#define MARL_TESTS_DOM_LOOKUP_FIXTURE_H

#include <gtest/gtest.h>

#include <string>

#include "dom/xmxxo_doc.h"
#include "dom/xmxxo_elem.h"
#include "marl/marl.h"
#include "support/host_memory.h"
#include "support/library_state.h"

// A fresh library and an empty document, with what the tests of the lookups by path and by
// name build their trees and check their answers with.
class LookupTest : public FreshLibrary {
 protected:
  void SetUp() override {
    FreshLibrary::SetUp();
    marl = Marl::create();
    document = marl.createDocument();
  }
  void TearDown() override {
    document = static_cast<CMarlDocument const*>(nullptr);
    marl = static_cast<CMarl const*>(nullptr);
    FreshLibrary::TearDown();
  }

  // A new element appended to `parent`.
  MarlElement add(std::wstring const& name, MarlNode parent, std::wstring const& prefix = L"") {
    MarlElement made = document.createElement(name, prefix);
    parent.appendChild(made, 0);
    return made;
  }

  MarlElement addNS(std::wstring const& name, std::wstring const& uri, MarlNode parent) {
    MarlElement made = document.createElementNS(name, L"", uri);
    parent.appendChild(made, 0);
    return made;
  }

  static bool same(MarlNode const& a, MarlNode const& b) {
    return static_cast<CUnknown*>(a) == static_cast<CUnknown*>(b);
  }

  // The name of a found element, or "-" for none.
  static std::wstring nameOf(MarlElement const& found) { return found ? found.getName() : L"-"; }

  // The names of a collection's items, separated by commas.
  static std::wstring namesOf(MarlNodeCollection const& found) {
    std::wstring names;
    for (unsigned int i = 0; i < found.getLength(); ++i) {
      if (!names.empty()) names += L",";
      names += found.getItem(i).getName();
    }
    return names;
  }

  // `count` copies of `step`, one after the other.
  static std::wstring repeated(std::wstring const& step, int count) {
    std::wstring path;
    for (int i = 0; i < count; ++i) path += step;
    return path;
  }

  // Runs `lookUp` once to put its names into the string cache, then again with the first,
  // second, ... allocation failing until it succeeds. Each run must find `answer` or nothing,
  // and leave no block behind.
  template <class LookUp>
  static void expectAnswerOrNothingWithoutMemory(LookUp lookUp, MarlNode const& answer) {
    ASSERT_TRUE(same(lookUp(), answer));
    for (long failAt = 0; failAt < 256; ++failAt) {
      long before = testhost::outstandingBlocks();
      CUnknown* found;
      {
        testhost::AllocationFailure failure(failAt);
        found = static_cast<CUnknown*>(lookUp());
      }
      EXPECT_EQ(testhost::outstandingBlocks(), before) << "allocation " << failAt;
      if (found) {
        EXPECT_EQ(found, static_cast<CUnknown*>(answer)) << "allocation " << failAt;
        return;
      }
    }
    ADD_FAILURE() << "never succeeded";
  }

  // The same for a collection: each run gives all `length` items or no collection at all.
  template <class Collect>
  static void expectAllOrNothingWithoutMemory(Collect collect, unsigned int length) {
    ASSERT_EQ(collect().getLength(), length);
    for (long failAt = 0; failAt < 256; ++failAt) {
      long before = testhost::outstandingBlocks();
      bool made;
      {
        testhost::AllocationFailure failure(failAt);
        MarlNodeCollection found = collect();
        made = static_cast<CUnknown*>(found) != nullptr;
        if (made) {
          EXPECT_EQ(found.getLength(), length) << "allocation " << failAt;
        }
      }
      EXPECT_EQ(testhost::outstandingBlocks(), before) << "allocation " << failAt;
      if (made) return;
    }
    ADD_FAILURE() << "never succeeded";
  }

  Marl marl;
  MarlDocument document;
};

#endif
