// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "Platform/linux/privileges/PrivilegePrograms.h"
#include "Platform/linux/privileges/protocol/Messages.h"
#include "tests/unit/macos/TemporaryFolder.h"

namespace qm::testing {

/// A folder with scripts that take the places of pkexec and of the agents. Each runs in that folder. The file "hello"
/// contains a helper's first message, and "ready" what an agent says.
class Scripts {
 public:
  Scripts() {
    std::ofstream(at("hello"), std::ios::binary) << *linux_::encoded(linux_::Hello{});
    std::ofstream(at("ready")) << "ready\n";
    write("helper", "exit 0");
  }

  /// Makes a script, which records its arguments as a line of the file NAME.runs.
  void write(const std::string& name, const std::string& commands) const {
    std::ofstream(at(name)) << "#!/bin/sh\ncd '" << disk_.path() << "' || exit 1\necho \"$*\" >> " << name << ".runs\n"
                            << commands << "\n";
    std::filesystem::permissions(at(name), std::filesystem::perms::owner_all);
  }
  void makePipe(const std::string& name) const { EXPECT_EQ(::mkfifo(at(name).c_str(), 0600), 0); }

  std::string at(const std::string& name) const { return disk_.at(name); }
  bool has(const std::string& name) const { return disk_.has(name); }
  std::string text(const std::string& name) const {
    std::ifstream file(at(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  std::string runs(const std::string& name) const { return text(name + ".runs"); }

  linux_::PrivilegePrograms programs(linux_::HelperScope scope = linux_::HelperScope::Product) const {
    return {at("helper"), scope, at("agent"), at("pkexec"), at("terminal-agent")};
  }

  /// The helper of tests, see HelperDouble.cpp.
  static std::string helperDouble() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path() / "test-helper";
  }

 private:
  TemporaryFolder disk_;
};

}  // namespace qm::testing
