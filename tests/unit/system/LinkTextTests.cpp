// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "Platform/posix/SystemFileCalls.h"
#include "Platform/posix/UniqueFd.h"
#include "Platform/posix/rights/SystemRights.h"

namespace qm::posix {
namespace {

using ::testing::Optional;

/// A folder with a link "link" to "first", which is held open.
class TextOfALink : public ::testing::Test {
 protected:
  TextOfALink() {
    std::string pattern = ::testing::TempDir() + "linkXXXXXX";
    path_ = ::mkdtemp(pattern.data());
    std::filesystem::create_symlink("first", path_ / "link");
    folder.reset(::open(path_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    item.reset(openItself(folder.get(), "link"));
  }
  ~TextOfALink() override { std::filesystem::remove_all(path_); }

  void replaceLink() const {
    std::filesystem::remove(path_ / "link");
    std::filesystem::create_symlink("second", path_ / "link");
  }

  UniqueFd folder;
  UniqueFd item;

 private:
  std::filesystem::path path_;
};

TEST_F(TextOfALink, IsRead) { EXPECT_THAT(readLink(item.get(), folder.get(), "link"), Optional(std::string("first"))); }

TEST_F(TextOfALink, IsThatOfTheLinkHeldOpenWhateverHasItsNameByNow) {
  replaceLink();
  EXPECT_THAT(readLink(item.get(), folder.get(), "link"), Optional(std::string("first")));
}

TEST_F(TextOfALink, IsNoneOfAFolder) {
  EXPECT_FALSE(readLink(folder.get(), folder.get(), "."));
  EXPECT_NE(errno, 0);
}

}  // namespace
}  // namespace qm::posix
