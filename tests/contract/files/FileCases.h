// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <vector>

#include "tests/contract/files/FileWorld.h"

namespace qm::testing {

/// Cases that hold on the real file system and on the fake.
class FileContract : public ::testing::TestWithParam<FileWorldKind> {
 protected:
  static void inWorld(const FileCase& body) { GetParam().run(body); }
};

inline std::string nameOfKind(const ::testing::TestParamInfo<FileWorldKind>& kind) { return kind.param.name; }

inline auto bothWorlds() {
  return ::testing::Values(FileWorldKind{"Fake", runInFakeWorld}, FileWorldKind{"Real", runInRealWorld});
}

inline void PrintTo(const FileWorldKind& kind, std::ostream* stream) { *stream << kind.name; }

using Lines = std::vector<std::string>;

/// The operation failed with this number and gives the reason in one line.
inline void expectFailure(const platform::Status& status, int code) {
  EXPECT_EQ(status.code(), code) << status.localizedDescription();
  EXPECT_FALSE(status.ok());
  EXPECT_FALSE(status.localizedDescription().empty());
  EXPECT_EQ(status.localizedDescription().find('\n'), std::string::npos);
}

inline void expectSuccess(const platform::Status& status) {
  EXPECT_TRUE(status.ok()) << status.code() << ": " << status.localizedDescription();
}

/// A path of 4096 bytes in a folder, with names that are short enough.
inline std::string tooLongPath(const std::string& folder) {
  std::string path = folder;
  while (path.size() < 4096) path += "/" + std::string(std::min<std::size_t>(200, 4095 - path.size()), 'd');
  return path;
}

/// Bytes that are allowed in names although people rarely use them.
inline std::vector<std::string> oddNames(const FileWorld& world) {
  std::vector<std::string> names = {"two\nlines", "“quoted” 'name'", "-rf", " ", "*", "a\\b", "…", ".hidden"};
  if (world.takesAnyBytes()) names.emplace_back("\xff\xfe");
  return names;
}

}  // namespace qm::testing
