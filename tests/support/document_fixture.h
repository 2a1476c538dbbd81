#ifndef MARL_TESTS_SUPPORT_DOCUMENT_FIXTURE_H
#define MARL_TESTS_SUPPORT_DOCUMENT_FIXTURE_H

#include <gtest/gtest.h>

#include "marl/marl.h"
#include "support/library_state.h"

// A fresh library and an empty document, both let go before the library ends.
class DocumentTest : public FreshLibrary {
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

  // True when the node's object serves interface `id`.
  static bool answers(MarlNode const& node, unsigned int id) {
    return node._impl()->_queryInterface(id) != nullptr;
  }

  Marl marl;
  MarlDocument document;
};

#endif
