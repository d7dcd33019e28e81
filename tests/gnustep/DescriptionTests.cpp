// SPDX-License-Identifier: MIT
#include "Uninstaller/appkit/Description.h"

#include <gtest/gtest.h>

#include "Uninstaller/Language.h"

namespace qm::appkit {
namespace {

/// A language whose words are the English ones in angle brackets.
class Bracketed final : public uninstaller::Language {
 public:
  std::string translated(std::string_view english) const override { return "<" + std::string(english) + ">"; }
  std::string translatedFor(std::size_t, std::string_view, std::string_view many) const override {
    return translated(many);
  }
  std::string systemMessage(std::string_view english) const override { return std::string(english); }
  std::string decimalPoint() const override { return "."; }
};

class DescriptionOfAControl : public ::testing::Test {
 protected:
  DescriptionOfAControl() { uninstaller::useLanguage(language); }
  ~DescriptionOfAControl() override { uninstaller::useLanguage(uninstaller::english()); }

 private:
  const Bracketed language{};
};

TEST_F(DescriptionOfAControl, IsTranslated) {
  const auto description = translatedDescription({"Cancel", "Closes this window."});
  ASSERT_TRUE(description);
  EXPECT_EQ(description->label, "<Cancel>");
  EXPECT_EQ(description->help, "<Closes this window.>");
}

TEST_F(DescriptionOfAControl, HasNoHelpWhereTheInterfaceFileHasNone) {
  const auto description = translatedDescription({"Cancel", std::nullopt});
  ASSERT_TRUE(description);
  EXPECT_EQ(description->label, "<Cancel>");
  EXPECT_EQ(description->help, std::nullopt);
  EXPECT_EQ(translatedDescription({"Cancel", ""})->help, "");
}

TEST_F(DescriptionOfAControl, StaysTheToolkitsWithoutALabel) {
  EXPECT_FALSE(translatedDescription({std::nullopt, "Closes this window."}));
  EXPECT_FALSE(translatedDescription({"", "Closes this window."}));
}

}  // namespace
}  // namespace qm::appkit
