// SPDX-License-Identifier: MIT
#include <memory>

#include "tests/contract/files/BackgroundCopy.h"
#include "tests/contract/files/FileCases.h"

namespace qm::testing {
namespace {

using platform::FileOperationReport;

class CopyingInTheBackground : public FileContract {};
INSTANTIATE_TEST_SUITE_P(On, CopyingInTheBackground, bothWorlds(), nameOfKind);

/// An operation that no service has made.
class ForeignOperation : public platform::FileOperation {};

TEST_P(CopyingInTheBackground, CopiesAFileUnderTheNewName) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a"), "text");
    world.setModificationDate(world.home("a"), 1'000'000'000);
    BackgroundCopy copy(world.operations(), world.mainThread());
    EXPECT_EQ(copy.run(world.home("a"), world.volume(), "new name"), 0);
    EXPECT_EQ(world.contents(world.volume("new name")), "text");
    EXPECT_EQ(world.contents(world.home("a")), "text");
    EXPECT_EQ(world.files().attributesOfItem(world.volume("new name"))->modificationDate.time_since_epoch(),
              std::chrono::seconds(1'000'000'000));
  });
}

TEST_P(CopyingInTheBackground, CopiesATreeWithLinksAsLinks) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a/deep/file"), "text");
    world.addFolder(world.home("a/empty"));
    world.addLink(world.home("a/link"), "nowhere");
    BackgroundCopy copy(world.operations(), world.mainThread());
    EXPECT_EQ(copy.run(world.home("a"), world.volume(), "b"), 0);
    EXPECT_EQ(world.tree(world.volume()), (Lines{"b/", "b/deep/", "b/deep/file", "b/empty/", "b/link -> nowhere"}));
    EXPECT_EQ(world.contents(world.volume("b/deep/file")), "text");
  });
}

TEST_P(CopyingInTheBackground, ReportsTheStagesInTheirOrder) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a/one"), "12345");
    world.addFile(world.home("a/folder/two"), "678");
    BackgroundCopy copy(world.operations(), world.mainThread());
    ASSERT_EQ(copy.run(world.home("a"), world.volume(), "b"), 0);
    const auto& reports = copy.reports();
    ASSERT_GE(reports.size(), 3U);
    EXPECT_EQ(reports.front().stage, FileOperationStage::Preflighting);
    EXPECT_EQ(reports.front().currentItem, world.home("a"));
    EXPECT_EQ(reports[reports.size() - 2].stage, FileOperationStage::Running);
    EXPECT_EQ(reports.back().currentItem, world.volume("b"));
    for (std::size_t i = 1; i < reports.size(); ++i) EXPECT_GE(reports[i].stage, reports[i - 1].stage);
    for (const auto& report : reports) {
      EXPECT_EQ(report.statusDictionary.has_value(), report.stage == FileOperationStage::Running);
      EXPECT_EQ(report.error, 0);
    }
  });
}

TEST_P(CopyingInTheBackground, CarriesTheNumbersUnderThePlatformsKeys) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a/one"), "12345");
    world.addFile(world.home("a/folder/two"), "678");
    world.addLink(world.home("a/link"), "one");
    BackgroundCopy copy(world.operations(), world.mainThread());
    ASSERT_EQ(copy.run(world.home("a"), world.volume(), "b"), 0);
    for (const auto& report : copy.reports()) {
      if (!report.statusDictionary) continue;
      auto status = *report.statusDictionary;
      EXPECT_EQ(status.size(), 10U);
      EXPECT_EQ(status.count("kFSOperationThroughputKey"), 1U);
      EXPECT_EQ(status["kFSOperationTotalBytesKey"], 8U);
      EXPECT_EQ(status["kFSOperationTotalObjectsKey"], 5U);
      EXPECT_EQ(status["kFSOperationTotalUserVisibleObjectsKey"], 5U);
      EXPECT_EQ(status["kFSOperationBytesCompleteKey"] + status["kFSOperationBytesRemainingKey"], 8U);
      EXPECT_EQ(status["kFSOperationObjectsCompleteKey"] + status["kFSOperationObjectsRemainingKey"], 5U);
      EXPECT_EQ(
          status["kFSOperationUserVisibleObjectsCompleteKey"] + status["kFSOperationUserVisibleObjectsRemainingKey"],
          5U);
    }
  });
}

TEST_P(CopyingInTheBackground, DoesNotReplaceAnything) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a"), "first");
    world.addFile(world.home("file"), "second");
    world.addFolder(world.home("folder"));
    world.addLink(world.home("link"), "nowhere");
    for (const char* name : {"a", "file", "folder", "link"}) {
      BackgroundCopy copy(world.operations(), world.mainThread());
      EXPECT_EQ(copy.run(world.home("a"), world.home(), name), EEXIST);
      EXPECT_EQ(copy.reports().back().currentItem, std::nullopt);
    }
    EXPECT_EQ(world.contents(world.home("file")), "second");
    EXPECT_EQ(world.tree(world.home()), (Lines{"a", "file", "folder/", "link -> nowhere"}));
  });
}

TEST_P(CopyingInTheBackground, EndsWithTheNumberOfWhatFailedAndLeavesNothing) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("big"), std::string(200'000, 'x'));
    world.addFile(world.home("tree/first"));
    world.addFile(world.home("tree/second"));
    world.setReadable(world.home("tree/second"), false);
    const auto ended = [&](const std::string& source, const std::string& folder) {
      return BackgroundCopy(world.operations(), world.mainThread()).run(source, folder, "new");
    };
    EXPECT_EQ(ended(world.home("none"), world.volume()), ENOENT);
    EXPECT_EQ(ended(world.home("big"), world.volume("none")), ENOENT);
    EXPECT_EQ(ended(world.home("big"), world.readOnly()), EROFS);
    EXPECT_EQ(ended(world.home("big"), world.small()), ENOSPC);
    EXPECT_EQ(ended(world.home("tree"), world.volume()), EACCES);
    EXPECT_EQ(ended(world.home("tree"), world.home("tree")), EINVAL) << "a folder goes not into itself";
    EXPECT_EQ(world.tree(world.volume()), Lines{});
    EXPECT_EQ(world.tree(world.small()), Lines{});
    EXPECT_EQ(world.tree(world.home()), (Lines{"big", "tree/", "tree/first", "tree/second"}));
  });
}

TEST_P(CopyingInTheBackground, RefusesPathsAndNamesThatCanNameNothing) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a"));
    BackgroundCopy copy(world.operations(), world.mainThread());
    for (const char* name : {"", ".", "..", "a/b", "/"}) {
      EXPECT_EQ(copy.start(world.home("a"), world.volume(), name), EINVAL) << name;
    }
    EXPECT_EQ(copy.start("relative", world.volume(), "b"), EINVAL);
    EXPECT_EQ(copy.start(world.home("a"), "relative", "b"), EINVAL);
    EXPECT_EQ(copy.run(world.home("a"), world.volume(), "b"), 0) << "a refusal does not use it up";
  });
}

TEST_P(CopyingInTheBackground, RefusesAnOperationThatIsNotScheduledOrWasUsed) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a"));
    const auto unscheduled = world.operations().create();
    EXPECT_EQ(world.operations().copyObject(unscheduled, {world.home("a"), world.volume(), "b", {}, {}}), EINVAL);
    BackgroundCopy copy(world.operations(), world.mainThread());
    EXPECT_EQ(copy.run(world.home("a"), world.volume(), "b"), 0);
    EXPECT_EQ(copy.start(world.home("a"), world.volume(), "c"), EINVAL);
    EXPECT_EQ(world.tree(world.volume()), Lines{"b"});
  });
}

TEST_P(CopyingInTheBackground, RefusesWhatIsNoOperationOfItsOwn) {
  inWorld([](FileWorld& world) {
    auto& service = world.operations();
    for (const auto& operation : {platform::FileOperationRef(), platform::FileOperationRef(new ForeignOperation)}) {
      EXPECT_EQ(service.scheduleWithMainRunLoop(operation), EINVAL);
      EXPECT_EQ(service.unscheduleFromMainRunLoop(operation), EINVAL);
      EXPECT_EQ(service.cancel(operation), EINVAL);
      EXPECT_EQ(service.copyObject(operation, {world.readOnly("file"), world.volume(), "b", {}, {}}), EINVAL);
    }
  });
}

TEST_P(CopyingInTheBackground, IsScheduledAndUnscheduledOnce) {
  inWorld([](FileWorld& world) {
    auto& service = world.operations();
    const auto operation = service.create();
    EXPECT_EQ(service.unscheduleFromMainRunLoop(operation), EINVAL);
    EXPECT_EQ(service.scheduleWithMainRunLoop(operation), 0);
    EXPECT_EQ(service.scheduleWithMainRunLoop(operation), EINVAL);
    EXPECT_EQ(service.unscheduleFromMainRunLoop(operation), 0);
    EXPECT_EQ(service.unscheduleFromMainRunLoop(operation), EINVAL);
  });
}

TEST_P(CopyingInTheBackground, ReportsNothingOnceItIsUnscheduledAndCopiesAllTheSame) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a"), "text");
    BackgroundCopy copy(world.operations(), world.mainThread());
    copy.react([&](const FileOperationReport&) {
      EXPECT_EQ(world.operations().unscheduleFromMainRunLoop(copy.operation()), 0);
    });
    ASSERT_EQ(copy.start(world.home("a"), world.volume(), "b"), 0);
    EXPECT_TRUE(world.mainThread().pumpUntil([&] { return world.contents(world.volume("b")) == "text"; }));
    world.mainThread().pump();
    EXPECT_EQ(copy.reports().size(), 1U);
  });
}

TEST_P(CopyingInTheBackground, LeavesNothingWhenItIsCancelledFromTheStart) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a/file"), "text");
    for (const char* source : {"a", "a/file"}) {
      BackgroundCopy copy(world.operations(), world.mainThread());
      EXPECT_EQ(copy.cancel(), 0);
      EXPECT_EQ(copy.run(world.home(source), world.volume(), "b"), platform::userCanceledErr);
      EXPECT_EQ(copy.reports().size(), 1U) << "nothing about progress";
      EXPECT_EQ(copy.reports().back().currentItem, std::nullopt);
    }
    EXPECT_EQ(world.tree(world.volume()), Lines{});
    EXPECT_EQ(world.contents(world.home("a/file")), "text");
  });
}

TEST_P(CopyingInTheBackground, IsAllThereOrNotAtAllWhenItIsCancelledAtAReport) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a/file"), "text");
    world.addFile(world.home("a/other"), "text");
    BackgroundCopy copy(world.operations(), world.mainThread());
    copy.react([&](const FileOperationReport&) { EXPECT_EQ(copy.cancel(), 0); });
    const auto error = copy.run(world.home("a"), world.volume(), "b");
    EXPECT_TRUE(error == 0 || error == platform::userCanceledErr) << error;
    EXPECT_EQ(world.tree(world.volume()), error == 0 ? (Lines{"b/", "b/file", "b/other"}) : Lines{});
    EXPECT_EQ(copy.reports().size(), 2U) << "nothing about progress after it was cancelled";
  });
}

TEST_P(CopyingInTheBackground, CannotBeCancelledAfterItsEnd) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a"), "text");
    BackgroundCopy copy(world.operations(), world.mainThread());
    EXPECT_EQ(copy.run(world.home("a"), world.volume(), "b"), 0);
    const std::size_t reports = copy.reports().size();
    EXPECT_EQ(copy.cancel(), 0);
    world.mainThread().pump();
    EXPECT_EQ(copy.reports().size(), reports);
    EXPECT_EQ(world.contents(world.volume("b")), "text");
  });
}

TEST_P(CopyingInTheBackground, LetsGoOfTheCallbackAtTheEnd) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a"), "text");
    auto held = std::make_shared<int>(1);
    const std::weak_ptr<int> observed = held;
    const auto operation = world.operations().create();
    bool ended = false;
    ASSERT_EQ(world.operations().scheduleWithMainRunLoop(operation), 0);
    ASSERT_EQ(world.operations().copyObject(operation, {world.home("a"), world.volume(), "b", std::chrono::seconds(1),
                                                        [held, &ended](const auto&, const FileOperationReport& report) {
                                                          ended = report.stage == FileOperationStage::Complete &&
                                                                  *held == 1;
                                                        }}),
              0);
    held.reset();
    EXPECT_FALSE(observed.expired());
    EXPECT_TRUE(world.mainThread().pumpUntil([&] { return ended; }));
    EXPECT_TRUE(observed.expired()) << "although the operation is still held";
  });
}

TEST_P(CopyingInTheBackground, LetsTheLastReportBeginAnotherCopy) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("a"), "text");
    BackgroundCopy first(world.operations(), world.mainThread());
    BackgroundCopy second(world.operations(), world.mainThread());
    first.react([&](const FileOperationReport& report) {
      if (report.stage != FileOperationStage::Complete) return;
      EXPECT_EQ(second.start(world.volume("b"), world.volume(), "c"), 0);
    });
    EXPECT_EQ(first.run(world.home("a"), world.volume(), "b"), 0);
    EXPECT_EQ(second.end(), 0);
    EXPECT_EQ(world.contents(world.volume("c")), "text");
  });
}

TEST_P(CopyingInTheBackground, GivesANameToOneOfTwoCopiesThatWantIt) {
  inWorld([](FileWorld& world) {
    world.addFile(world.home("1/file"), "1");
    world.addFile(world.home("2/file"), "2");
    BackgroundCopy first(world.operations(), world.mainThread());
    BackgroundCopy second(world.operations(), world.mainThread());
    ASSERT_EQ(first.start(world.home("1"), world.volume(), "b"), 0);
    ASSERT_EQ(second.start(world.home("2"), world.volume(), "b"), 0);
    const bool firstHasIt = first.end() == 0;
    EXPECT_EQ(firstHasIt ? second.end() : first.reports().back().error, EEXIST);
    if (!firstHasIt) {
      EXPECT_EQ(second.end(), 0);
    }
    EXPECT_EQ(world.tree(world.volume()), (Lines{"b/", "b/file"}));
    EXPECT_EQ(world.contents(world.volume("b/file")), firstHasIt ? "1" : "2");
  });
}

TEST_P(CopyingInTheBackground, RunsSeveralCopiesAtOnce) {
  inWorld([](FileWorld& world) {
    std::vector<std::unique_ptr<BackgroundCopy>> copies;
    Lines expected;
    for (const std::string name : {"1", "2", "3", "4"}) {
      world.addFile(world.home(name + "/file"), name);
      copies.push_back(std::make_unique<BackgroundCopy>(world.operations(), world.mainThread()));
      EXPECT_EQ(copies.back()->start(world.home(name), world.volume(), name), 0);
      expected.insert(expected.end(), {name + "/", name + "/file"});
    }
    for (const auto& copy : copies) EXPECT_EQ(copy->end(), 0);
    EXPECT_EQ(world.tree(world.volume()), expected);
  });
}

}  // namespace
}  // namespace qm::testing
