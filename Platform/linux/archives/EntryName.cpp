// SPDX-License-Identifier: MIT
#include "Platform/linux/archives/EntryName.h"

#include <algorithm>
#include <cerrno>

#include "Platform/linux/archives/ArchiveProblem.h"

namespace qm::linux_ {

platform::Status takeApart(const std::string& name, std::vector<std::string>& components) {
  components.clear();
  if (name.empty()) return problemWith(name, "An item has no name");
  if (name.front() == '/') return problemWith(name, "Its name is an absolute path");
  if (name.size() > kLongestArchiveName) return problemWith(name, ENAMETOOLONG);
  for (std::size_t start = 0; start < name.size();) {
    const std::size_t end = std::min(name.find('/', start), name.size());
    std::string component = name.substr(start, end - start);
    if (component == "..") return problemWith(name, "Its name leads out of the folder");
    if (!component.empty() && component != ".") components.push_back(std::move(component));
    start = end + 1;
  }
  return platform::Status::success();
}

}  // namespace qm::linux_
