// SPDX-License-Identifier: MIT
#pragma once

#include <concepts>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Path strings by the platform's own rules, which differ from std::filesystem's: repeated slashes count as one, a
/// trailing slash does not make an empty component, and nothing is looked up on disk. All functions are pure and accept
/// any bytes.
namespace qm::foundation {

/// "/a/b.c" gives "b.c", "/a/b//" gives "b", "/" gives "/", "" gives "".
std::string lastPathComponent(std::string_view path);

/// Without the last component: "/a/b" gives "/a", "/a" and "/" give "/", "/a/b/" gives "/a", a single
/// relative component gives "".
std::string deletingLastPathComponent(std::string_view path);

/// What follows the last dot of the last component: "a.tar.gz" gives "gz"; ".hidden", "a." and "a"
/// give "".
std::string pathExtension(std::string_view path);

/// Without the extension and its dot: "/d/a.tar.gz" gives "/d/a.tar", "/d/.hidden" stays, "/d/a."
/// gives "/d/a". Trailing slashes are dropped.
std::string deletingPathExtension(std::string_view path);

/// Joins with exactly one slash, merges repeated slashes and drops trailing ones. An empty component gives the path, an
/// empty path the component.
std::string appendingPathComponent(std::string_view path, std::string_view component);

/// The same for a path that may be null, which gives null.
template <class Path>
requires std::same_as<Path, std::optional<std::string>> Path appendingPathComponent(const Path& path,
                                                                                    std::string_view component) {
  if (!path) return std::nullopt;
  return appendingPathComponent(std::string_view(*path), component);
}

/// "/a/b" gives "/", "a", "b"; a trailing slash gives a last component "/"; "" gives none.
std::vector<std::string> pathComponents(std::string_view path);

/// Whether a path is that of the folder or of something below it. Whole components are compared: "/a" and "/a/b" are at
/// or below "/a", "/ab" is not. Neither may end with a slash, so the folder is not "/". Nothing is normalised.
bool isAtOrBelow(std::string_view path, std::string_view folder);

/// Whether ".." is one of the components.
bool goesUp(std::string_view path);

}  // namespace qm::foundation
