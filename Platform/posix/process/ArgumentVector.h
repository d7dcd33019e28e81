// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace qm::posix {

/// A program's arguments as exec(2) expects them, the path first and a null pointer last. They point into the caller's
/// strings, which must outlive the result.
inline std::vector<char*> argumentVector(const std::string& path, const std::vector<std::string>& arguments) {
  std::vector<char*> vector;
  vector.reserve(arguments.size() + 2);
  vector.push_back(const_cast<char*>(path.c_str()));
  for (const std::string& argument : arguments) vector.push_back(const_cast<char*>(argument.c_str()));
  vector.push_back(nullptr);
  return vector;
}

}  // namespace qm::posix
