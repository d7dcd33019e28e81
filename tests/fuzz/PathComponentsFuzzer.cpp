// SPDX-License-Identifier: MIT

// Splits paths and joins them again. The first byte of an input is the length of a first path, and the rest is a second
// one.

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/foundation/PathComponents.h"

namespace {

using namespace qm::foundation;  // only these helpers are used here

void require(bool condition) {
  if (!condition) std::abort();
}

// The names between the slashes.
std::vector<std::string> namesOf(std::string_view path) {
  std::vector<std::string> names(1);
  for (const char character : path) {
    if (character != '/') names.back() += character;
    if (character == '/' && !names.back().empty()) names.emplace_back();
  }
  if (names.back().empty()) names.pop_back();
  return names;
}

std::string joined(const std::vector<std::string>& names, bool absolute) {
  std::string path;
  for (const std::string& name : names) path += (path.empty() && !absolute ? "" : "/") + name;
  return path.empty() && absolute ? "/" : path;
}

std::string folded(std::string_view path) { return joined(namesOf(path), path.starts_with('/')); }

void checkComponents(std::string_view path) {
  std::vector<std::string> expected = namesOf(path);
  const bool endsInSlash = path.ends_with('/') && !expected.empty();
  if (path.starts_with('/')) expected.insert(expected.begin(), "/");
  if (endsInSlash) expected.emplace_back("/");
  require(pathComponents(path) == expected);
}

void checkLastComponent(std::string_view path) {
  const auto names = namesOf(path);
  require(lastPathComponent(path) == (names.empty() ? folded(path) : names.back()));
  auto above = names;
  if (!above.empty()) above.pop_back();
  const std::string rest = deletingLastPathComponent(path);
  require(folded(rest) == joined(above, path.starts_with('/')));
  require(rest == "/" || !rest.ends_with('/'));
  require(path.starts_with(rest));
  require(appendingPathComponent(rest, lastPathComponent(path)) == folded(path));
}

// A dot counts after the first character of the last name.
void checkExtension(std::string_view path) {
  const std::string name = lastPathComponent(path);
  const std::size_t dot = name.rfind('.');
  const bool hasDot = dot != std::string::npos && dot > 0;
  const std::string extension = hasDot ? name.substr(dot + 1) : std::string();
  require(pathExtension(path) == extension);
  const std::string rest = deletingPathExtension(path);
  require(path.starts_with(rest));
  require(folded(rest + (hasDot ? "." : "") + extension) == folded(path));
  require(lastPathComponent(rest) == (hasDot ? name.substr(0, dot) : name));
}

void checkJoining(std::string_view path, std::string_view component) {
  const std::string both = appendingPathComponent(path, component);
  require(folded(both) == both);
  auto names = namesOf(path);
  for (const std::string& name : namesOf(component)) names.push_back(name);
  const bool absolute = path.empty() ? component.starts_with('/') : path.starts_with('/');
  require(both == joined(names, absolute));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return 0;
  const std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
  const std::string_view first = bytes.substr(0, data[0]);
  const std::string_view second = bytes.substr(first.size());
  for (const std::string_view path : {first, second}) {
    checkComponents(path);
    checkLastComponent(path);
    checkExtension(path);
  }
  checkJoining(first, second);
  return 0;
}
