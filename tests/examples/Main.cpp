// SPDX-License-Identifier: MIT

// Runs an example of docs/library, by its name.

#include <map>
#include <string_view>

#define EXAMPLE(name) int example##name();
EXAMPLES
#undef EXAMPLE

int main(int argc, char** argv) {
#define EXAMPLE(name) {#name, example##name},
  static const std::map<std::string_view, int (*)()> examples = {EXAMPLES};
#undef EXAMPLE
  const auto example = examples.find(argc == 2 ? argv[1] : "");
  return example == examples.end() ? 64 : example->second();
}
