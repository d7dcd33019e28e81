#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/xattr.h>

#include <csignal>
#include <functional>
#include <utility>

#include "Platform/posix/Move.h"
#include "Platform/posix/PosixFileSystem.h"
#include "tests/contract/files/RealFiles.h"

/// What goes wrong late, or only on some volumes, while something is copied.
namespace qm::testing {
namespace {

namespace fs = std::filesystem;

/// Does something once the first bytes of a file are in the copy.
class OnFirstBytes : public posix::CopyObserver {
 public:
  explicit OnFirstBytes(std::function<void()> action) : action_(std::move(action)) {}
  int bytesCopied(std::uint64_t) override {
    if (action_) std::exchange(action_, nullptr)();
    return 0;
  }

 private:
  std::function<void()> action_;
};

/// The open descriptor of the file that is hidden in a folder for now; -1 when there is none.
int descriptorOfHiddenFile(const std::string& folder) {
  for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
    std::error_code error;
    const std::string path = fs::read_symlink(entry.path(), error).string();
    if (path.starts_with(folder + "/.incomplete-") && fs::is_regular_file(path, error))
      return std::stoi(entry.path().filename().string());
  }
  return -1;
}

/// File systems on a network tell only then that they could not keep what was written.
TEST(CopyingWithFaults, FailsWithTheErrorThatOnlyTheClosingTells) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    makeFolders(from + "/tree");
    makeFile(from + "/tree/file", "text");
    for (const int error : {ENOSPC, EDQUOT, EIO}) {
      for (const char* source : {"/tree/file", "/tree"}) {
        inChild([&] {
          OnFirstBytes observer([&] { failSystemCallOn(descriptorOfHiddenFile(to), SYS_close, error); });
          EXPECT_EQ(posix::copyTree(from + source, to + "/copy", observer).code, error);
        });
        EXPECT_EQ(countIn(to), 0U) << source;
      }
    }
  });
}

TEST(CopyingWithFaults, TakesAnInterruptedClosingForAnEnd) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    makeFile(from + "/file", "text");
    inChild([&] {
      OnFirstBytes observer([&] { failSystemCallOn(descriptorOfHiddenFile(to), SYS_close, EINTR); });
      EXPECT_EQ(posix::copyTree(from + "/file", to + "/copy", observer).code, 0);
    });
    EXPECT_EQ(textOf(to + "/copy"), "text");
  });
}

TEST(CopyingWithFaults, FailsAtALimitOfSizesAndLeavesNothing) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    makeFile(from + "/big", std::string(5'000'000, 'b'));
    makeFile(from + "/small", std::string(50'000, 's'));
    for (const char* name : {"/big", "/small"}) {
      inChild([&] {
        ::signal(SIGXFSZ, SIG_IGN);  // as the program has it
        const rlimit limit{10'000, 10'000};
        ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
        posix::CopyObserver nobody;
        EXPECT_EQ(posix::copyTree(from + name, to + "/copy", nobody).code, EFBIG);
      });
      EXPECT_EQ(countIn(to), 0U) << name;
    }
  });
}

TEST(CopyingWithFaults, LeavesAttributesBehindThatTheOtherVolumeHasNoRoomFor) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    makeFolders(from + "/tree");
    makeFile(from + "/tree/file", "text");
    ASSERT_EQ(::symlink("file", (from + "/tree/link").c_str()), 0);
    for (const char* name : {"/tree", "/tree/file", "/tree/link"})
      ASSERT_EQ(::lsetxattr((from + name).c_str(), "trusted.note", "n", 1, 0), 0) << errno;
    for (const int error : {ENOSPC, E2BIG, ERANGE}) {
      const std::string copy = to + "/" + std::to_string(error);
      inChild([&] {
        for (const long call : {SYS_setxattr, SYS_lsetxattr, SYS_fsetxattr}) failSystemCall(call, error);
        posix::CopyObserver nobody;
        EXPECT_EQ(posix::copyTree(from + "/tree", copy, nobody).code, 0);
      });
      ASSERT_TRUE(isThere(copy + "/file")) << error;
      EXPECT_EQ(textOf(copy + "/file"), "text");
      EXPECT_EQ(::getxattr(copy.c_str(), "trusted.note", nullptr, 0), -1);
    }
    inChild([&] {
      failSystemCall(SYS_fsetxattr, EIO);
      posix::CopyObserver nobody;
      EXPECT_EQ(posix::copyTree(from + "/tree", to + "/broken", nobody).code, EIO);
    });
  });
}

TEST(CopyingWithFaults, EndsWhereAFileWasCutOffBeyondTheDataItHasLeft) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    for (const off_t left : {off_t{3'000'000}, off_t{50'000}}) {
      makeFile(from + "/file", std::string(98'304, 'x'));
      fs::resize_file(from + "/file", 32'000'000);
      int reports = 0;
      class Cutter : public posix::CopyObserver {
       public:
        explicit Cutter(std::function<void()> onBytes) : onBytes_(std::move(onBytes)) {}
        int bytesCopied(std::uint64_t count) override {
          if (count > 0) onBytes_();
          return 0;
        }

       private:
        std::function<void()> onBytes_;
      } cutter([&] {
        if (++reports == 1) fs::resize_file(from + "/file", static_cast<std::uintmax_t>(left));
      });
      EXPECT_EQ(posix::copyTree(from + "/file", to + "/copy", cutter).code, 0);
      EXPECT_EQ(attributesOf(to + "/copy").st_size, std::max<off_t>(left, 98'304));
      fs::remove(to + "/copy");
    }
  });
}

}  // namespace
}  // namespace qm::testing
