// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Users.h"

/// Arranging and checking for tests of the real desktop services, inside a private machine.
namespace qm::testing {

/// The user that the cases are about.
inline constexpr unsigned kPerson = 1000;

class DesktopUsers : public platform::Users {
 public:
  unsigned realUserId() const override { return user; }
  std::string userName() const override { return "u"; }
  std::string homeDirectory() const override { return home; }
  std::optional<std::string> homeDirectoryForUser(const std::optional<std::string>&) const override { return home; }
  std::optional<std::string> consoleUser() const override { return console; }

  unsigned user = kPerson;
  std::string home;
  std::optional<std::string> console = "u";
};

/// Runs `body` as an ordinary user of a private machine, with that user's empty home, where extended attributes can be
/// set. The environment has no variables of a desktop.
void asPerson(const std::function<void(const std::string& home)>& body);
/// The same as root, in a machine where "u" is such a user and has that home.
void asRootForPerson(const std::function<void(const std::string& home)>& body);

void writeText(const std::string& path, const std::string& text, unsigned mode = 0644);
/// The contents of a file; "" if there is none.
std::string textAt(const std::string& path);
std::vector<std::string> namesIn(const std::string& folder);

/// What a command prints on both streams, and whether it succeeded.
struct Ran {
  std::string output;
  bool succeeded = false;
};
Ran run(const std::vector<std::string>& command);

/// An application bundle with an executable and a property list that holds `keys`, as XML elements.
void makeBundle(const std::string& path, const std::string& keys, const std::string& executable = "Program");
/// An XML element for a key and a string.
std::string key(const std::string& name, const std::string& value);

}  // namespace qm::testing
