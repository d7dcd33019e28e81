// SPDX-License-Identifier: MIT
#include "Uninstaller/appkit/FreshKeys.h"

#include <gtest/gtest.h>

namespace qm::appkit {
namespace {

constexpr std::size_t kReturn = 36;
constexpr std::size_t kSpace = 49;

KeyPress pressOf(std::size_t key, double time) { return {.key = key, .time = time, .isRepeat = false, .walks = false}; }

HeldKeys held(std::size_t key, double time) {
  HeldKeys keys{.keys = {}, .time = time};
  keys.keys.set(key);
  return keys;
}

TEST(AppKitFreshKeys, ReachAWindow) {
  const FreshKeys keys;
  EXPECT_TRUE(keys.takes(pressOf(kReturn, 1)));
  EXPECT_TRUE(keys.takes(pressOf(kReturn, 2)));
}

TEST(AppKitFreshKeys, AreNotThoseThatTheSystemRepeats) {
  const FreshKeys keys;
  EXPECT_FALSE(keys.takes({.key = kReturn, .time = 1, .isRepeat = true, .walks = false}));
}

TEST(AppKitFreshKeys, AreNotThoseHeldWhenTheWindowGotTheKeyboard) {
  FreshKeys keys;
  keys.hold(held(kReturn, 1));
  EXPECT_FALSE(keys.takes(pressOf(kReturn, 2)));
  EXPECT_TRUE(keys.takes(pressOf(kSpace, 2)));
  keys.release(kReturn, 3);
  EXPECT_TRUE(keys.takes(pressOf(kReturn, 4)));
}

TEST(AppKitFreshKeys, AreThoseThatWereMadeBeforeTheLookAtTheKeyboardAndWaited) {
  FreshKeys keys;
  keys.hold(held(kReturn, 2));
  EXPECT_TRUE(keys.takes(pressOf(kReturn, 1)));
}

TEST(AppKitFreshKeys, AreHeldStillWhenTheReleaseIsOlderThanTheLookAtTheKeyboard) {
  FreshKeys keys;
  keys.hold(held(kReturn, 2));
  keys.release(kReturn, 1);
  EXPECT_FALSE(keys.takes(pressOf(kReturn, 3)));
}

TEST(AppKitFreshKeys, AreForgottenWithTheNextWindow) {
  FreshKeys keys;
  keys.hold(held(kReturn, 1));
  keys.hold(held(kSpace, 2));
  EXPECT_TRUE(keys.takes(pressOf(kReturn, 3)));
  EXPECT_FALSE(keys.takes(pressOf(kSpace, 3)));
}

TEST(AppKitFreshKeys, MayRepeatWhereTheyWalkFromControlToControl) {
  FreshKeys keys;
  keys.hold(held(kReturn, 1));
  EXPECT_TRUE(keys.takes({.key = kReturn, .time = 2, .isRepeat = true, .walks = true}));
}

TEST(AppKitFreshKeys, KnowNothingOfCodesThatNoKeyboardHas) {
  FreshKeys keys;
  keys.release(kKeyCodes, 1);
  EXPECT_TRUE(keys.takes(pressOf(kKeyCodes + 1, 2)));
}

TEST(AppKitFreshKeys, WalkFromControlToControlIfTheyAreTabsOrArrows) {
  for (const char16_t key : {kTab, kBackTab, kUpArrow, kDownArrow, kLeftArrow, kRightArrow}) {
    EXPECT_TRUE(walksFromControlToControl(key)) << static_cast<int>(key);
  }
  for (const char16_t key : {u'\0', u' ', u'\r', u'a', char16_t{kUpArrow - 1}, char16_t{kRightArrow + 1}}) {
    EXPECT_FALSE(walksFromControlToControl(key)) << static_cast<int>(key);
  }
}

}  // namespace
}  // namespace qm::appkit
