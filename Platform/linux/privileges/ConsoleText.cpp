#include "Platform/linux/privileges/ConsoleText.h"

#include <algorithm>

namespace qm::linux_ {

std::string inOneLine(std::string message) {
  constexpr char lastControl = '\x1f';
  constexpr char rubout = '\x7f';
  const auto isControl = [](char character) {
    return (character >= '\0' && character <= lastControl) || character == rubout;
  };
  std::ranges::replace_if(message, isControl, ' ');
  return message;
}

std::string leftAsItWas(const std::vector<std::string>& arguments) {
  const auto item = std::ranges::find_if(arguments, [](const std::string& text) { return text.starts_with('/'); });
  return item == arguments.end() ? std::string() : "; left as it was: " + *item;
}

}  // namespace qm::linux_
