// SPDX-License-Identifier: MIT
#include "Uninstaller/appkit/PluralRule.h"

#include <gtest/gtest.h>

namespace qm::appkit {
namespace {

TEST(PluralRule, TakesTheSingularForOne) {
  for (const char* const language : {"en", "de", "fr", "es", "ja", ""}) {
    EXPECT_TRUE(takesSingular(1, language)) << language;
    EXPECT_FALSE(takesSingular(2, language)) << language;
  }
}

TEST(PluralRule, TakesTheSingularForNoneInFrenchAlone) {
  EXPECT_TRUE(takesSingular(0, "fr"));
  EXPECT_TRUE(takesSingular(0, "fr-CA"));
  for (const char* const language : {"en", "de", "es", "ja", ""}) EXPECT_FALSE(takesSingular(0, language)) << language;
}

}  // namespace
}  // namespace qm::appkit
