#include <unistd.h>

#include <array>
#include <climits>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>

#include "Platform/linux/files/DescriptorPath.h"
#include "Platform/posix/SystemFileCalls.h"

namespace qm::posix {
namespace {

/// The path as the mount table writes it: blanks, line ends and backslashes as three octal digits.
std::string escaped(std::string_view path) {
  std::string text;
  for (const char c : path) {
    if (c == ' ' || c == '\t' || c == '\n' || c == '\\') {
      const unsigned code = static_cast<unsigned char>(c);
      text += {'\\', static_cast<char>('0' + code / 64), static_cast<char>('0' + code / 8 % 8),
               static_cast<char>('0' + code % 8)};
    } else {
      text += c;
    }
  }
  return text;
}

std::string mountPointIn(const std::string& line) {
  std::istringstream fields(line);
  std::string field;
  for (int i = 0; i < 5 && fields >> field; ++i) {
  }
  return field;
}

}  // namespace

bool holdsMountPoint(int folder) {
  std::array<char, PATH_MAX> path{};
  const ssize_t length = ::readlink(pathOfDescriptor(folder).c_str(), path.data(), path.size());
  if (length <= 1 || static_cast<std::size_t>(length) == path.size()) return false;
  const std::string below = escaped({path.data(), static_cast<std::size_t>(length)}) + "/";
  std::ifstream table("/proc/self/mountinfo");
  for (std::string line; std::getline(table, line);) {
    if (mountPointIn(line).starts_with(below)) return true;
  }
  return false;
}

}  // namespace qm::posix
