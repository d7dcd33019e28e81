// SPDX-License-Identifier: MIT
#include "Platform/linux/archives/ToolArguments.h"

#include <cstddef>

namespace qm::linux_ {
namespace {

struct Options {
  bool compress = false;
  bool extract = false;
  bool zip = false;
  bool keepParent = false;

  bool takeLetter(char letter) {
    bool* const option = letter == 'c' ? &compress : letter == 'x' ? &extract : letter == 'k' ? &zip : nullptr;
    if (option != nullptr) *option = true;
    return option != nullptr;
  }

  bool take(const std::string& argument) {
    if (argument == "--keepParent") return keepParent = true;
    for (const char letter : argument.substr(1)) {
      if (!takeLetter(letter)) return false;
    }
    return true;
  }

  bool areComplete() const { return zip && compress != extract && !(extract && keepParent); }
};

bool isOption(const std::string& argument) { return argument.size() > 1 && argument.front() == '-'; }

}  // namespace

std::optional<ToolArguments> parsedArguments(const std::vector<std::string>& arguments) {
  Options options;
  std::size_t next = 0;
  while (next < arguments.size() && isOption(arguments[next]) && arguments[next] != "--") {
    if (!options.take(arguments[next++])) return std::nullopt;
  }
  if (next < arguments.size() && arguments[next] == "--") ++next;
  if (!options.areComplete() || arguments.size() != next + 2) return std::nullopt;
  ToolArguments parsed{options.compress ? ToolArguments::Command::Compress : ToolArguments::Command::Extract,
                       options.keepParent ? KeepParent::Yes : KeepParent::No, arguments[next], arguments[next + 1]};
  if (parsed.source.empty() || parsed.destination.empty()) return std::nullopt;
  return parsed;
}

}  // namespace qm::linux_
