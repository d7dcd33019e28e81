#pragma once

#include <string>
#include <vector>

namespace qm::posix {

/// A program's arguments as exec(2) takes them, the path first and a null pointer last. The texts stay the caller's
/// and outlive it.
inline std::vector<char*> argumentVector(const std::string& path, const std::vector<std::string>& arguments) {
  std::vector<char*> vector;
  vector.reserve(arguments.size() + 2);
  vector.push_back(const_cast<char*>(path.c_str()));
  for (const std::string& argument : arguments) vector.push_back(const_cast<char*>(argument.c_str()));
  vector.push_back(nullptr);
  return vector;
}

}  // namespace qm::posix
