// SPDX-License-Identifier: MIT
#include <sched.h>
#include <sys/mount.h>
#include <sys/statvfs.h>

#include <algorithm>
#include <atomic>
#include <future>
#include <limits>
#include <random>
#include <thread>
#include <vector>

#include "Platform/posix/UniqueFd.h"
#include "tests/contract/files/BackgroundCopy.h"
#include "tests/contract/files/RealCopies.h"
#include "tests/contract/files/RealFiles.h"

namespace qm::testing {
namespace {

using platform::FileOperationReport;
using std::chrono::milliseconds;
namespace fs = std::filesystem;

/// Everything about a tree that a copy has to keep, in lines.
std::vector<std::string> picture(const std::string& tree) {
  std::vector<std::string> lines;
  for (const auto& entry : fs::recursive_directory_iterator(tree)) {
    const std::string path = entry.path().string();
    const struct stat attributes = attributesOf(path);
    std::string line = path.substr(tree.size()) + " " + std::to_string(attributes.st_mode) + " " +
                       std::to_string(attributes.st_mtim.tv_sec) + "." + std::to_string(attributes.st_mtim.tv_nsec);
    if (entry.is_symlink()) {
      line += " " + fs::read_symlink(path).string();
    } else if (entry.is_regular_file()) {
      line += " " + std::to_string(std::hash<std::string>()(textOf(path)));
    }
    lines.push_back(line);
  }
  std::sort(lines.begin(), lines.end());
  return lines;
}

/// Folders, small files, links and files of several blocks.
void makeMixedTree(const std::string& tree) {
  for (int folder = 0; folder < 5; ++folder) {
    const std::string path = tree + "/folder" + std::to_string(folder);
    makeFolders(path + "/inner");
    for (int file = 0; file < 8; ++file) makeFile(path + "/inner/" + std::to_string(file), std::string(3000, 's'));
    ASSERT_EQ(::symlink("inner/0", (path + "/link").c_str()), 0);
    ASSERT_EQ(::chmod((path + "/inner").c_str(), folder % 2 == 0 ? 0500 : 0750), 0);
  }
  makeFile(tree + "/big", std::string(9'000'000, 'b'));
  makeFile(tree + "/bigger", std::string(13'000'000, 'B'));
}

std::uint64_t freeBytes(const std::string& folder) {
  struct statvfs volume {};
  EXPECT_EQ(::statvfs(folder.c_str(), &volume), 0);
  return volume.f_bfree * volume.f_bsize;
}

TEST(CopyingInTheBackgroundOnDisk, KeepsTheHolesOfFourGibibytes) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    constexpr off_t size = off_t{4} << 30U;
    const int file = ::open((from + "/sparse").c_str(), O_CREAT | O_RDWR | O_CLOEXEC, 0644);
    const std::string data(200'000, 'd');
    const std::vector<off_t> places = {0, 2'147'483'600, size - 200'000};
    ASSERT_EQ(::ftruncate(file, size), 0);
    for (const off_t place : places) ASSERT_EQ(::pwrite(file, data.data(), data.size(), place), 200'000);
    ::close(file);
    RealCopies machine;
    BackgroundCopy copy(machine.service, machine.mainThread);
    ASSERT_EQ(copy.run(from + "/sparse", to, "copy"), 0);
    const struct stat attributes = attributesOf(to + "/copy");
    EXPECT_EQ(attributes.st_size, size);
    EXPECT_LT(attributes.st_blocks, 4096) << "half-kibibytes";
    const int copied = ::open((to + "/copy").c_str(), O_RDONLY | O_CLOEXEC);
    std::string read(data.size(), '\0');
    for (const off_t place : places) {
      EXPECT_EQ(::pread(copied, read.data(), read.size(), place), 200'000);
      EXPECT_TRUE(read == data) << place;
    }
    EXPECT_EQ(::lseek(copied, 1'000'000, SEEK_DATA), 2'147'483'600 / 4096 * 4096);
    ::close(copied);
    const auto running = *copy.reports().at(copy.reports().size() - 2).statusDictionary;
    EXPECT_EQ(running.at(platform::kFSOperationTotalBytesKey), 4'294'967'296U);
  });
}

TEST(CopyingInTheBackgroundOnDisk, CopiesTwentyThousandFiles) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    for (int folder = 0; folder < 20; ++folder) {
      const std::string path = from + "/tree/" + std::to_string(folder);
      makeFolders(path);
      for (int file = 0; file < 1000; ++file) makeFile(path + "/" + std::to_string(file), std::to_string(file));
    }
    RealCopies machine;
    BackgroundCopy copy(machine.service, machine.mainThread);
    ASSERT_EQ(copy.run(from + "/tree", to, "copy"), 0);
    for (int folder = 0; folder < 20; ++folder) {
      const std::string path = to + "/copy/" + std::to_string(folder);
      ASSERT_EQ(countIn(path), 1000U);
      EXPECT_EQ(textOf(path + "/777"), "777");
    }
    const auto running = *copy.reports().at(copy.reports().size() - 2).statusDictionary;
    EXPECT_EQ(running.at(platform::kFSOperationTotalObjectsKey), 20'021U);
    EXPECT_EQ(running.at(platform::kFSOperationTotalBytesKey), 57'800U) << "20 times the digits of 0 to 999";
  });
}

TEST(CopyingInTheBackgroundOnDisk, LeavesNothingOnADiskThatFillsUpInTheMiddle) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string volume = machineFolder() + "/small";
    mountTmpfs(volume, "mode=0777,size=16m");
    makeMixedTree(from + "/tree");
    const auto before = picture(from);
    const std::uint64_t space = freeBytes(volume);
    RealCopies machine;
    EXPECT_EQ(BackgroundCopy(machine.service, machine.mainThread).run(from + "/tree", volume, "copy"), ENOSPC);
    EXPECT_EQ(BackgroundCopy(machine.service, machine.mainThread).run(from + "/tree/bigger", volume, "one"), 0);
    EXPECT_EQ(BackgroundCopy(machine.service, machine.mainThread).run(from + "/tree/bigger", volume, "two"), ENOSPC);
    EXPECT_EQ(countIn(volume), 1U);
    fs::remove(volume + "/one");
    EXPECT_EQ(freeBytes(volume), space);
    EXPECT_EQ(picture(from), before);
  });
}

TEST(CopyingInTheBackgroundOnDisk, LeavesAReadOnlyVolumeAndTheSourceAsTheyAre) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    makeMixedTree(from + "/tree");
    const auto before = picture(from);
    bindMount(openFolder("to"), machineFolder() + "/bound", Writable::No);
    RealCopies machine;
    BackgroundCopy copy(machine.service, machine.mainThread);
    EXPECT_EQ(copy.run(from + "/tree", machineFolder() + "/bound", "copy"), EROFS);
    EXPECT_EQ(countIn(machineFolder() + "/to"), 0U);
    EXPECT_EQ(picture(from), before);
  });
}

// MARK: - Cancelling

TEST(CopyingInTheBackgroundOnDisk, IsAllThereOrNotAtAllWheneverItIsCancelled) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    asUser(kUser, kUser, [&] {
      makeMixedTree(from + "/tree");
      const auto before = picture(from + "/tree");
      int moments = 0;
      {
        RealCopies machine;
        ASSERT_EQ(BackgroundCopy(machine.service, machine.mainThread).run(from + "/tree", to, "copy"), 0);
        ASSERT_EQ(picture(to + "/copy"), before);
        moments = machine.clock.questions();
      }
      ASSERT_GT(moments, 100);
      std::mt19937 random(20'240'229);
      std::uniform_int_distribution<int> anyMoment(1, moments + moments / 10);
      int whole = 0;
      for (int round = 0; round < 100; ++round) {
        const std::string name = "copy" + std::to_string(round);
        const int moment = anyMoment(random);
        RealCopies machine;
        BackgroundCopy copy(machine.service, machine.mainThread);
        machine.clock.onQuestion([&](int number) {
          if (number == moment) {
            EXPECT_EQ(copy.cancel(), 0);
          }
        });
        const auto error = copy.run(from + "/tree", to, name);
        if (error == 0) {
          ++whole;
          EXPECT_EQ(picture(to + "/" + name), before) << moment;
          fs::rename(to + "/" + name, from + "/" + name);  // out of the way
        } else {
          EXPECT_EQ(error, platform::userCanceledErr) << moment;
        }
        EXPECT_EQ(countIn(to), 1U) << moment;
      }
      EXPECT_LT(whole, 50) << "of 100";
      EXPECT_EQ(picture(from + "/tree"), before);
    });
  });
}

TEST(CopyingInTheBackgroundOnDisk, EndsWithinABigFileWhenItIsCancelled) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    makeFile(from + "/big", std::string(40'000'000, 'b'));
    RealCopies machine;
    BackgroundCopy copy(machine.service, machine.mainThread);
    // At the start, before the file, and after each of ten blocks.
    machine.clock.onQuestion([&](int number) {
      if (number == 6) {
        EXPECT_EQ(copy.cancel(), 0);
      }
    });
    EXPECT_EQ(copy.run(from + "/big", to, "copy"), platform::userCanceledErr);
    EXPECT_LT(machine.clock.questions(), 8);
    EXPECT_EQ(countIn(to), 0U);
  });
}

TEST(CopyingInTheBackgroundOnDisk, IsCancelledFromTheMainThreadWhileItRuns) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    makeMixedTree(from + "/tree");
    // A single file is counted at the start; a tree may still be being counted.
    for (const auto& [source, stage] : {std::pair("/tree", FileOperationStage::Preflighting),
                                        std::pair("/tree/bigger", FileOperationStage::Running)}) {
      for (int round = 0; round < 10; ++round) {
        RealCopies machine;
        BackgroundCopy copy(machine.service, machine.mainThread);
        std::atomic<bool> cancelled{false};
        // The start of the clock and the first item, then in the middle of it.
        machine.clock.onQuestion([&](int number) {
          if (number == 3) cancelled.wait(false);
        });
        copy.react([&, wanted = stage](const FileOperationReport& report) {
          if (report.stage != wanted) return;
          EXPECT_EQ(copy.cancel(), 0);
          cancelled = true;
          cancelled.notify_all();
        });
        EXPECT_EQ(copy.run(from + source, to, "copy"), platform::userCanceledErr);
        EXPECT_EQ(countIn(to), 0U);
      }
    }
  });
}

// MARK: - Reports

TEST(CopyingInTheBackgroundOnDisk, ReportsProgressAtMostOncePerInterval) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    makeFolders(from + "/tree");
    for (int file = 0; file < 30; ++file) makeFile(from + "/tree/" + std::to_string(file), "12345678");
    RealCopies machine;
    machine.calls.failNth("threads.detachNewThread", 2);  // so that all is counted from the start
    machine.clock.goBySteps(milliseconds(100));
    // The copy does not overtake the delivery of the reports.
    machine.clock.onQuestion([&](int) {
      while (!machine.mainThread.isIdle()) std::this_thread::yield();
    });
    BackgroundCopy copy(machine.service, machine.mainThread);
    std::vector<int> moments;
    copy.react([&](const FileOperationReport& report) {
      if (report.stage == FileOperationStage::Running) moments.push_back(machine.clock.questions());
    });
    ASSERT_EQ(copy.run(from + "/tree", openFolder("to"), "copy"), 0);
    ASSERT_GE(moments.size(), 4U) << "of some seven seconds";
    const auto report = [&](std::size_t i) {
      return copy.reports().at(copy.reports().size() - 1 - moments.size() + i);
    };
    const auto status = [&](std::size_t i) { return *report(i).statusDictionary; };
    for (std::size_t i = 1; i < moments.size(); ++i) {
      const std::string item = report(i).currentItem.value();
      EXPECT_TRUE(item.starts_with(from + "/tree/") && fs::is_regular_file(item)) << item;
      // The folder is an object, too; the bytes of the file being copied may already be there.
      const std::uint64_t objects = status(i).at(platform::kFSOperationObjectsCompleteKey);
      const std::uint64_t bytes = status(i).at(platform::kFSOperationBytesCompleteKey);
      EXPECT_TRUE(bytes == 8 * objects || bytes + 8 == 8 * objects) << bytes << " of " << objects;
      EXPECT_EQ(status(i).at(platform::kFSOperationUserVisibleObjectsCompleteKey), objects);
    }
    for (std::size_t i = 1; i < moments.size(); ++i) {
      // A file takes two steps of 100 ms.
      EXPECT_GE(status(i).at(platform::kFSOperationObjectsCompleteKey),
                status(i - 1).at(platform::kFSOperationObjectsCompleteKey) + 5);
      EXPECT_GT(status(i).at(platform::kFSOperationThroughputKey), 0U);
      EXPECT_LT(status(i).at(platform::kFSOperationThroughputKey), 100U) << "bytes a second";
    }
  });
}

TEST(CopyingInTheBackgroundOnDisk, KeepsTheIntervalBehindAReportThatIsHandedOverLate) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    makeFolders(from + "/tree");
    for (int file = 0; file < 60; ++file) makeFile(from + "/tree/" + std::to_string(file), "12345678");
    RealCopies machine;
    machine.calls.failNth("threads.detachNewThread", 2);  // so that all is counted from the start
    machine.clock.goBySteps(milliseconds(100));
    std::atomic<int> busyUntil{0};  // number of the copy's call to the clock
    // Except for that time, the copy does not overtake the delivery of the reports.
    machine.clock.onQuestion([&](int number) {
      while (number >= busyUntil && !machine.mainThread.isIdle()) std::this_thread::yield();
    });
    BackgroundCopy copy(machine.service, machine.mainThread);
    std::vector<int> moments;
    copy.react([&](const FileOperationReport& report) {
      if (report.stage != FileOperationStage::Running) return;
      moments.push_back(machine.clock.questions());
      if (moments.size() > 1) return;
      busyUntil = moments[0] + 25;  // two and a half intervals
      while (machine.clock.questions() < busyUntil) std::this_thread::yield();
    });
    ASSERT_EQ(copy.run(from + "/tree", openFolder("to"), "copy"), 0);
    ASSERT_GE(moments.size(), 5U);
    for (std::size_t i = 1; i < moments.size(); ++i) EXPECT_GE(moments[i], moments[i - 1] + 10) << i;
  });
}

TEST(CopyingInTheBackgroundOnDisk, TellsTheGreatestNumberOfAThroughputBeyondIt) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const posix::UniqueFd file(::open((from + "/hole").c_str(), O_CREAT | O_RDWR | O_CLOEXEC, 0644));
    ASSERT_EQ(::ftruncate(file.get(), std::numeric_limits<off_t>::max()), 0);
    RealCopies machine;
    machine.clock.goBySteps(milliseconds(1));
    BackgroundCopy copy(machine.service, machine.mainThread);
    // When the bytes are there, the report before them has been delivered.
    std::atomic<bool> delivered{false};
    machine.clock.onQuestion([&](int number) {
      if (number == 3) delivered.wait(false);
    });
    copy.react([&](const FileOperationReport& report) {
      if (report.stage == FileOperationStage::Running && !delivered.exchange(true)) delivered.notify_all();
    });
    ASSERT_EQ(copy.start(from + "/hole", openFolder("to"), "copy", milliseconds(0)), 0);
    ASSERT_EQ(copy.end(), 0);
    const auto running = *copy.reports().at(copy.reports().size() - 2).statusDictionary;
    EXPECT_EQ(running.at(platform::kFSOperationThroughputKey), std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(running.at(platform::kFSOperationBytesCompleteKey), 9'223'372'036'854'775'807U);
    EXPECT_EQ(running.at(platform::kFSOperationTotalBytesKey), 9'223'372'036'854'775'807U);
  });
}

TEST(CopyingInTheBackgroundOnDisk, PilesNoReportsUpWhileTheMainThreadIsBusy) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    makeMixedTree(from + "/tree");
    RealCopies machine;
    BackgroundCopy copy(machine.service, machine.mainThread);
    ASSERT_EQ(copy.start(from + "/tree", openFolder("to"), "copy", milliseconds(0)), 0);
    EXPECT_TRUE(machine.threads.waitUntilAllEnded());
    EXPECT_LE(machine.mainThread.queued(), 3U) << "one of each stage";
    EXPECT_EQ(copy.end(), 0);
  });
}

TEST(CopyingInTheBackgroundOnDisk, SaysSoWhenThereIsNoThread) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    makeFolders(from + "/tree/folder");
    RealCopies machine;
    machine.calls.failNext("threads.detachNewThread");
    const auto operation = machine.service.create();
    ASSERT_EQ(machine.service.scheduleWithMainRunLoop(operation), 0);
    const auto held = std::make_shared<int>(1);
    EXPECT_EQ(
        machine.service.copyObject(operation, {from + "/tree", to, "copy", {}, [held](const auto&, const auto&) {}}),
        EAGAIN);
    EXPECT_EQ(held.use_count(), 1);
    EXPECT_EQ(machine.mainThread.pump(), 0U);
    // Without a second thread the first one counts as well.
    machine.calls.failNth("threads.detachNewThread", 2);
    BackgroundCopy copy(machine.service, machine.mainThread);
    EXPECT_EQ(copy.run(from + "/tree", to, "copy"), 0);
    EXPECT_EQ(copy.reports().at(1).statusDictionary->at(platform::kFSOperationTotalObjectsKey), 2U);
    EXPECT_EQ(countIn(to), 1U);
  });
}

/// A folder that was listed has a new access time afterwards.
TEST(CopyingInTheBackgroundOnDisk, CountsNoFurtherOnceItIsCancelledWithoutASecondThread) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    makeFolders(from + "/tree/folder/inner");
    const std::string inner = from + "/tree/folder/inner";
    const timespec times[2] = {{1'000'000'000, 0}, {1'100'000'000, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, inner.c_str(), times, 0), 0);
    for (const bool cancelled : {true, false}) {
      RealCopies machine;
      machine.calls.failNth("threads.detachNewThread", 2);
      BackgroundCopy copy(machine.service, machine.mainThread);
      if (cancelled) {
        EXPECT_EQ(copy.cancel(), 0);
      }
      EXPECT_EQ(copy.run(from + "/tree", to, "copy"), cancelled ? platform::userCanceledErr : 0);
      EXPECT_EQ(attributesOf(inner).st_atim.tv_sec == 1'000'000'000, cancelled);
    }
  });
}

// MARK: - The end of the copy

/// From now on this thread and those it starts share one processor.
void useOneProcessor() {
  cpu_set_t processors;
  ASSERT_EQ(::sched_getaffinity(0, sizeof processors, &processors), 0);
  std::size_t first = 0;
  while (!CPU_ISSET(first, &processors)) ++first;
  CPU_ZERO(&processors);
  CPU_SET(first, &processors);
  ASSERT_EQ(::sched_setaffinity(0, sizeof processors, &processors), 0);
}

/// Makes each thread that counts wait while any other thread of this test has something to do.
posix::CopyRights patientCounting() {
  return [calls = std::make_shared<std::atomic<int>>(0)](const std::string&, const std::string&) {
    const sched_param none{};
    const bool counts = ++*calls % 2 == 0;
    EXPECT_EQ(::sched_setscheduler(0, counts ? SCHED_IDLE : SCHED_OTHER, &none), 0);
    return std::make_shared<char>();
  };
}

// A copy that fails at once waits for the thread that counts. That thread is interrupted as soon as it has waked it.
TEST(CopyingInTheBackgroundOnDisk, HoldsNothingOfTheSourceOpenWhenItReportsTheEnd) {
  runInPrivateMachine([] {
    const std::string to = openFolder("to");
    makeFile(to + "/taken");
    const std::string volume = machineFolder() + "/volume";
    useOneProcessor();
    for (int round = 0; round < 300 && !::testing::Test::HasFailure(); ++round) {
      ASSERT_NO_FATAL_FAILURE(mountTmpfs(volume, "mode=0777"));
      makeFolders(volume + "/tree");
      RealCopies machine;
      posix::PosixFileOperations service{machine.mainThread, machine.threads, machine.clock, patientCounting()};
      BackgroundCopy copy(service, machine.mainThread);
      copy.react([&](const platform::FileOperationReport& report) {
        if (report.stage != FileOperationStage::Complete) return;
        ASSERT_EQ(::umount2(volume.c_str(), 0), 0) << "in round " << round;
      });
      ASSERT_EQ(copy.run(volume + "/tree", to, "taken"), EEXIST);
      EXPECT_TRUE(machine.threads.waitUntilAllEnded());
    }
  });
}

// MARK: - The end of the process

TEST(CopyingInTheBackgroundOnDisk, LetsTheProcessEndInItsMiddle) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    makeMixedTree(from + "/tree");
    int inTheMiddle = 0;
    for (int round = 0; round < 10; ++round) {
      EXPECT_TRUE(inChild([&] {
        static auto* machine = new RealCopies;  // never destroyed, like the services of the program
        static auto* copy = new BackgroundCopy(machine->service, machine->mainThread);
        // In every other round it cannot get any further.
        machine->clock.onQuestion([round](int number) {
          if (round % 2 == 0 && number > round + 2) std::promise<void>().get_future().wait();
        });
        ASSERT_EQ(copy->start(from + "/tree", to, "copy"), 0);
        EXPECT_TRUE(machine->mainThread.pumpUntil([&] { return machine->clock.questions() > round + 2; }));
      }));
      if (isThere(to + "/copy")) {
        EXPECT_EQ(picture(to + "/copy"), picture(from + "/tree"));
      } else {
        ++inTheMiddle;
      }
      fs::remove_all(to + "/copy");
    }
    EXPECT_GE(inTheMiddle, 5);
    EXPECT_GE(countIn(to), 5U) << "what was left behind";
    for (const auto& entry : fs::directory_iterator(to)) EXPECT_EQ(entry.path().filename().string()[0], '.');
  });
}

}  // namespace
}  // namespace qm::testing
