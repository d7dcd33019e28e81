// SPDX-License-Identifier: MIT
#include "Platform/linux/system/SystemFacts.h"

#include <sys/random.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <climits>
#include <variant>

#include "Platform/foundation/Format.h"
#include "Platform/foundation/PathComponents.h"
#include "Platform/linux/system/OwnPrograms.h"
#include "Platform/posix/SmallFile.h"

namespace qm::linux_ {
namespace {

constexpr std::size_t kLargestOsRelease = 65536;

// The quoting of a shell assignment, as far as a release file uses it.
std::string unquoted(std::string_view value) {
  if (value.size() < 2 || (value.front() != '"' && value.front() != '\'') || value.back() != value.front()) {
    return std::string(value);
  }
  const bool escapes = value.front() == '"';
  std::string text;
  for (std::size_t i = 1; i + 1 < value.size(); ++i) {
    if (escapes && value[i] == '\\' && i + 2 < value.size()) ++i;
    text += value[i];
  }
  return text;
}

std::optional<std::string> distribution() {
  for (const char* path : {"/etc/os-release", "/usr/lib/os-release"}) {
    const auto text = posix::readSmallFile(path, kLargestOsRelease);
    if (auto name = text ? prettyName(*text) : std::nullopt) return name;
  }
  return std::nullopt;
}

std::string kernel() {
  utsname name{};
  return ::uname(&name) == 0 ? std::string(name.sysname) + " " + name.release : "Linux";
}

// Random bytes. Those that the kernel does not provide before its generator is ready stay zero; process id, time and
// count still make the strings unique.
std::array<std::uint32_t, 4> randomWords() {
  std::array<std::uint32_t, 4> words{};
  if (::getrandom(words.data(), sizeof(words), GRND_NONBLOCK) < 0) return {};
  return words;
}

std::optional<std::string> textOf(const platform::PropertyListValue& value) {
  if (const auto* text = std::get_if<std::string>(&value)) return *text;
  if (const auto* number = std::get_if<std::int64_t>(&value)) return std::to_string(*number);
  return std::nullopt;
}

}  // namespace

std::optional<std::string> prettyName(std::string_view osRelease) {
  constexpr std::string_view key = "PRETTY_NAME=";
  while (!osRelease.empty()) {
    const std::string_view line = osRelease.substr(0, osRelease.find('\n'));
    if (line.substr(0, key.size()) == key && line.size() > key.size()) return unquoted(line.substr(key.size()));
    osRelease.remove_prefix(std::min(line.size() + 1, osRelease.size()));
  }
  return std::nullopt;
}

std::optional<std::string> runningExecutable() {
  char target[PATH_MAX];
  const ssize_t length = ::readlink("/proc/self/exe", target, sizeof(target));
  if (length <= 0 || static_cast<std::size_t>(length) == sizeof(target)) return std::nullopt;
  return std::string(target, static_cast<std::size_t>(length));
}

SystemFacts::SystemFacts(const platform::PropertyLists& propertyLists, const platform::ProductIdentity& product,
                         std::optional<std::string> executable)
    : propertyLists_(propertyLists), product_(product), executable_(std::move(executable)) {}

std::string SystemFacts::operatingSystemVersion() const {
  const auto name = distribution();
  return name ? *name + ", " + kernel() : kernel();
}

int SystemFacts::processorCount() const {
  const long count = ::sysconf(_SC_NPROCESSORS_ONLN);
  return count > 0 ? static_cast<int>(count) : 1;
}

std::uint64_t SystemFacts::physicalMemory() const {
  const long pages = ::sysconf(_SC_PHYS_PAGES);
  const long pageSize = ::sysconf(_SC_PAGESIZE);
  return pages > 0 && pageSize > 0 ? static_cast<std::uint64_t>(pages) * static_cast<std::uint64_t>(pageSize) : 0;
}

std::string SystemFacts::globallyUniqueString() const {
  const std::array<std::uint32_t, 4> random = randomWords();
  const auto time = std::chrono::system_clock::now().time_since_epoch().count();
  return foundation::formatted("%08x%08x%08x%08x-%x-%x-%x", random[0], random[1], random[2], random[3], ::getpid(),
                               static_cast<std::uint64_t>(time), ++uniqueStrings_);
}

std::optional<std::string> SystemFacts::executablePath() const { return executable_; }

std::optional<std::string> SystemFacts::bundleVersion() const {
  if (!executable_) return std::nullopt;
  const std::string data = installedFolder(executable_, product_.dataFolder);
  for (const std::string& folder :
       {installedFolder(executable_, ".."), foundation::appendingPathComponent(data, product_.program)}) {
    const auto dictionary = propertyLists_.read(foundation::appendingPathComponent(folder, "Info.plist"));
    if (!dictionary) continue;
    const auto version = dictionary->find("CFBundleVersion");
    if (version != dictionary->end()) return textOf(version->second);
  }
  return std::nullopt;
}

std::string SystemFacts::zipToolPath() const { return ownProgram(product_, executable_, product_.zipTool); }

}  // namespace qm::linux_
