// SPDX-License-Identifier: MIT
#include "Platform/foundation/PathComponents.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace qm::foundation {
namespace {

/// Without trailing slashes, except that a path of slashes alone keeps one.
std::string_view withoutTrailingSlashes(std::string_view path) {
  while (path.size() > 1 && path.back() == '/') path.remove_suffix(1);
  return path;
}

/// Where the last component of a path without trailing slashes begins.
std::size_t startOfLastComponent(std::string_view path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string_view::npos ? 0 : slash + 1;
}

/// The position of the dot that begins the extension; npos without one. A dot at the start of the component hides the
/// item and begins no extension.
std::size_t startOfExtension(std::string_view path) {
  for (std::size_t at = path.size(); at-- > 1;) {
    if (path[at - 1] == '/') break;
    if (path[at] == '.') return at;
  }
  return std::string_view::npos;
}

std::string withSingleSlashes(std::string path) {
  const auto areSlashes = [](char a, char b) { return a == '/' && b == '/'; };
  // Nearly every path is normalised already.
  if (path.find("//") != std::string::npos) path.erase(std::unique(path.begin(), path.end(), areSlashes), path.end());
  if (path.size() > 1 && path.back() == '/') path.pop_back();
  return path;
}

}  // namespace

std::string lastPathComponent(std::string_view path) {
  path = withoutTrailingSlashes(path);
  if (path == "/") return "/";
  return std::string(path.substr(startOfLastComponent(path)));
}

std::string deletingLastPathComponent(std::string_view path) {
  path = withoutTrailingSlashes(path);
  const std::size_t start = startOfLastComponent(path);
  if (start == 0) return "";
  return std::string(withoutTrailingSlashes(path.substr(0, start)));
}

std::string pathExtension(std::string_view path) {
  path = withoutTrailingSlashes(path);
  const std::size_t dot = startOfExtension(path);
  return dot == std::string_view::npos ? std::string() : std::string(path.substr(dot + 1));
}

std::string deletingPathExtension(std::string_view path) {
  path = withoutTrailingSlashes(path);
  return std::string(path.substr(0, startOfExtension(path)));
}

std::string appendingPathComponent(std::string_view path, std::string_view component) {
  if (path.empty() || component.empty()) return withSingleSlashes(std::string(path.empty() ? component : path));
  std::string joined;
  joined.reserve(path.size() + component.size() + 1);
  joined.append(path).append(1, '/').append(component);
  return withSingleSlashes(std::move(joined));
}

std::vector<std::string> pathComponents(std::string_view path) {
  std::vector<std::string> components;
  if (path.empty()) return components;
  if (path.front() == '/') components.emplace_back("/");
  for (std::size_t at = path.find_first_not_of('/'); at < path.size(); at = path.find_first_not_of('/', at)) {
    const std::size_t end = std::min(path.find('/', at), path.size());
    components.emplace_back(path.substr(at, end - at));
    at = end;
  }
  if (components.back() != "/" && path.back() == '/') components.emplace_back("/");
  return components;
}

bool isAtOrBelow(std::string_view path, std::string_view folder) {
  return path.starts_with(folder) && (path.size() == folder.size() || path[folder.size()] == '/');
}

bool goesUp(std::string_view path) {
  return path == ".." || path.starts_with("../") || path.ends_with("/..") ||
         path.find("/../") != std::string_view::npos;
}

}  // namespace qm::foundation
