// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "Platform/linux/privileges/helper/HelperPolicy.h"

namespace qm::testing {

/// An ordinary user of the machine, and another.
inline constexpr uid_t kPerson = 1001;
inline constexpr uid_t kOther = 1002;

/// The result of a launch.
struct Outcome {
  int error = -1;
  std::string reason;
  int waitStatus = -1;
  std::string note;
  std::string output;

  bool started() const { return error == 0; }
  bool succeeded() const { return started() && waitStatus == 0 && note.empty(); }
};

/// `kPerson`, whose home is the folder "home" of the machine.
linux_::UserRecord person();

/// Runs a tool like the helper for any tool does for `kPerson`, to its end. It trusts the system's files, so they must
/// be root's own.
Outcome launch(const std::string& tool, const std::vector<std::string>& arguments);
/// The same like a helper with another policy does.
Outcome launch(const linux_::HelperPolicy& policy, const std::string& tool, const std::vector<std::string>& arguments);

/// The same in this process, which is then confined to the folders concerned.
Outcome launchHere(const std::string& tool, const std::vector<std::string>& arguments);
Outcome launchHere(const linux_::HelperPolicy& policy, const std::string& tool,
                   const std::vector<std::string>& arguments);
Outcome removeIfHollowHere(const std::string& folder);

/// Removes a folder like the uninstaller's helper does with the maker's.
Outcome removeIfHollow(const std::string& folder);

/// Root-owned folders and files, or of another user's. Parent folders must exist.
void makeFolder(const std::string& path, uid_t owner = 0, mode_t mode = 0755);
void makeFile(const std::string& path, const std::string& contents, uid_t owner = 0, mode_t mode = 0644);
void makeLink(const std::string& path, const std::string& target, uid_t owner = 0);

bool exists(const std::string& path);
bool isLink(const std::string& path);
std::string contentsOf(const std::string& path);
uid_t ownerOf(const std::string& path);
mode_t modeOf(const std::string& path);
std::vector<std::string> namesIn(const std::string& folder);

}  // namespace qm::testing
