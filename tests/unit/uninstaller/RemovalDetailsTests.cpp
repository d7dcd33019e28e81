// SPDX-License-Identifier: MIT
#include "Uninstaller/RemovalDetails.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace qm::testing {
namespace {

ItemResult stayed(const std::string& path, const std::string& reason, int error = 0, bool notAuthorized = false) {
  ItemResult result;
  result.planned.path = path;
  result.outcome = ItemOutcome::Stayed;
  result.reason = reason;
  result.error = error;
  result.notAuthorized = notAuthorized;
  return result;
}

TEST(DetailsOfARemoval, AreEachItemWithItsReasonBelow) {
  EXPECT_EQ(removalDetails({stayed("/a", "It is busy."), stayed("/b", "The disk is full.")}),
            "/a\nIt is busy.\n\n/b\nThe disk is full.\n");
}

TEST(DetailsOfARemoval, AreNoneWhereNothingStayed) { EXPECT_EQ(removalDetails({}), ""); }

TEST(DetailsOfARemoval, SayWhereRightsWereNotGranted) {
  EXPECT_EQ(reasonToStay(stayed("/a", "It may not be moved.", EACCES, true)), "Not authorized: It may not be moved.");
  EXPECT_EQ(reasonToStay(stayed("/a", "It may not be moved.", EPERM, true)), "Not authorized: It may not be moved.");
  EXPECT_EQ(reasonToStay(stayed("/a", "", EACCES, true)), "Not authorized.");
}

TEST(DetailsOfARemoval, NameNoRightsWhereTheSystemWantedSomethingElse) {
  EXPECT_EQ(reasonToStay(stayed("/a", "The volume is read only.", EROFS, true)), "The volume is read only.");
}

TEST(DetailsOfARemoval, SayThatThereIsNoReason) {
  EXPECT_EQ(reasonToStay(stayed("/a", "")), "The system gives no reason.");
}

TEST(DetailsOfARemoval, AreInLinesWhateverIsInAName) {
  EXPECT_EQ(removalDetails({stayed("/a\nb", "“a\nb” is busy.")}), "/a?b\n“a?b” is busy.\n");
}

}  // namespace
}  // namespace qm::testing
