// SPDX-License-Identifier: MIT
#include <sys/xattr.h>

#include <cerrno>
#include <cstring>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/linux/files/DescriptorPath.h"
#include "Platform/posix/AttributeErrors.h"
#include "Platform/posix/SystemFileCalls.h"

namespace qm::posix {
namespace {

constexpr const char* kAccessLists[] = {"system.posix_acl_access", "system.posix_acl_default"};
constexpr std::string_view kCapabilities = "security.capability";

/// The extended-attribute calls of one item, by descriptor or by path.
struct Attributes {
  std::function<ssize_t(char*, std::size_t)> list;
  std::function<ssize_t(const char*, char*, std::size_t)> get;
};
using Set = std::function<int(const char*, const std::string&)>;

/// Calls `read` with a growing block until the result fits. Returns 0 or an error number.
int readAll(const std::function<ssize_t(char*, std::size_t)>& read, std::string& value) {
  value.resize(256);
  for (;;) {
    const ssize_t size = read(value.data(), value.size());
    if (size >= 0) {
      value.resize(static_cast<std::size_t>(size));
      return 0;
    }
    if (errno != ERANGE) return errno;
    value.resize(value.size() * 4);
  }
}

int copyOne(const Attributes& from, const Set& set, const char* name) {
  std::string value;
  const auto read = [&](char* block, std::size_t size) { return from.get(name, block, size); };
  if (const int error = readAll(read, value)) return maySkipAfter(error) ? 0 : error;
  if (set(name, value) == 0) return 0;
  return unlessOptional(errno);
}

int copyAll(const Attributes& from, const Set& set, OwnerKept ownerKept) {
  if (from.list(nullptr, 0) == 0) return 0;
  std::string names;
  if (const int error = readAll(from.list, names)) return maySkipAfter(error) ? 0 : error;
  for (const char* name = names.data(); name < names.data() + names.size(); name += std::strlen(name) + 1) {
    if (ownerKept == OwnerKept::No && name == kCapabilities) continue;
    if (const int error = copyOne(from, set, name)) return error;
  }
  return 0;
}

}  // namespace

int copyExtendedAttributes(int from, int to, OwnerKept ownerKept) {
  const Attributes source{
      [from](char* block, std::size_t size) { return ::flistxattr(from, block, size); },
      [from](const char* name, char* block, std::size_t size) { return ::fgetxattr(from, name, block, size); }};
  const Set set = [to](const char* name, const std::string& value) {
    return ::fsetxattr(to, name, value.data(), value.size(), 0);
  };
  return copyAll(source, set, ownerKept);
}

int copyExtendedAttributes(int fromFolder, const std::string& from, int to) {
  const std::string source = pathOfDescriptor(fromFolder) + "/" + from;
  const std::string copy = pathOfDescriptor(to);
  const Attributes attributes{
      [&](char* block, std::size_t size) { return ::llistxattr(source.c_str(), block, size); },
      [&](const char* name, char* block, std::size_t size) { return ::lgetxattr(source.c_str(), name, block, size); }};
  const Set set = [&](const char* name, const std::string& value) {
    return ::setxattr(copy.c_str(), name, value.data(), value.size(), 0);
  };
  const int error = copyAll(attributes, set, OwnerKept::No);
  return error == ENOENT ? 0 : error;
}

void dropInheritedAccess(int item) {
  for (const char* name : kAccessLists) static_cast<void>(::fremovexattr(item, name));
}

}  // namespace qm::posix
