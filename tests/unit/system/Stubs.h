// SPDX-License-Identifier: MIT
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "Platform/Clock.h"
#include "Platform/Console.h"
#include "Platform/PropertyLists.h"
#include "Platform/Users.h"

/// The few services that these classes need, as plain values.
namespace qm::testing {

class StubUsers : public platform::Users {
 public:
  unsigned realUserId() const override { return 1000; }
  std::string userName() const override { return "anna"; }
  std::string homeDirectory() const override { return home; }
  std::optional<std::string> homeDirectoryForUser(const std::optional<std::string>&) const override { return home; }
  std::optional<std::string> consoleUser() const override { return "anna"; }

  std::string home = "/home/anna";
};

class StubClock : public platform::Clock {
 public:
  std::chrono::system_clock::time_point now() const override { return {}; }
  std::chrono::steady_clock::time_point monotonicNow() const override { return {}; }
  foundation::CivilTime localTime(std::chrono::system_clock::time_point) const override {
    return {2024, 2, 29, 23, 5, 7, 90};
  }
  void sleep(std::chrono::microseconds) override {}
};

class StubConsole : public platform::Console {
 public:
  void print(std::string_view text) override { lines.emplace_back(text); }

  std::vector<std::string> lines;
};

class StubPropertyLists : public platform::PropertyLists {
 public:
  std::optional<platform::PropertyList> read(const std::string& path) const override {
    const auto list = lists.find(path);
    return list == lists.end() ? std::nullopt : std::optional(list->second);
  }

  std::map<std::string, platform::PropertyList> lists;
};

}  // namespace qm::testing
