// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <regex>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Uninstaller/Product.h"
#include "Uninstaller/ProductItems.h"
#include "Uninstaller/helper/RemovalPolicy.h"

namespace qm::testing {
namespace {

using ::testing::ElementsAreArray;
using ::testing::HasSubstr;
using ::testing::UnorderedElementsAreArray;

std::string source(const std::string& path) {
  std::ifstream file(std::string(QM_SOURCES) + "/" + path, std::ios::binary);
  EXPECT_TRUE(file.is_open()) << path;
  return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<std::string> linesOf(const std::string& text) {
  std::istringstream stream(text);
  std::vector<std::string> lines;
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

linux_::UserRecord personAt(const std::string& home) { return {.id = 1000, .group = 1000, .name = "u", .home = home}; }

/// A condition in words, and a path.
using Item = std::pair<std::string, std::string>;

/// The program's table for a user, with these words for its conditions.
std::vector<Item> productItems(const std::string& home, const std::string& always, const std::string& ifAsked) {
  std::vector<Item> items;
  const std::vector<std::string> paths = productItemPaths(personAt(home));
  for (std::size_t i = 0; i < paths.size(); ++i) {
    items.emplace_back(kProductItems[i].condition == ItemCondition::Always ? always : ifAsked, paths[i]);
  }
  return items;
}

TEST(TheProductsItems, AreThoseOfTheScenarios) {
  std::vector<Item> listed;
  for (const std::string& line : linesOf(source("tests/support/product-items"))) {
    if (line.starts_with('#')) continue;
    const auto blank = line.find(' ');
    listed.emplace_back(line.substr(0, blank), line.substr(blank + 1));
  }
  EXPECT_THAT(listed, ElementsAreArray(productItems("@", "always", "if-asked")));
}

/// The rows of the table below a heading: the second column for each path in the first.
std::vector<Item> tableBelow(const std::string& heading, const std::string& text) {
  std::vector<Item> rows;
  const std::size_t start = text.find("\n" + heading + "\n");
  EXPECT_NE(start, std::string::npos) << heading;
  const std::regex row(R"(\| (.*) \| (.*) \|)");
  const std::regex path("`([~/][^`]*)`");
  for (const std::string& line : linesOf(text.substr(start, text.find("\n### ", start + 1) - start))) {
    std::smatch columns;
    if (!std::regex_match(line, columns, row)) continue;
    const std::string paths = columns[1];
    for (std::sregex_iterator each(paths.begin(), paths.end(), path), end; each != end; ++each) {
      rows.emplace_back(columns[2], (*each)[1]);
    }
  }
  return rows;
}

TEST(TheProductsItems, AreThoseOfTheReadme) {
  std::vector<Item> expected = productItems("~", "to the Trash", "to the Trash, if you tick the box");
  expected.emplace_back("deleted if it holds nothing but empty folders, `.DS_Store` and `Icon\\r` files",
                        makersFolderPath(personAt("~")));
  EXPECT_THAT(tableBelow("### What it removes", source("README.md")), UnorderedElementsAreArray(expected));
}

// MARK: - Names

std::string text(std::string_view name) { return std::string(name); }

std::string policyFile(std::string_view action) { return "packaging/" + text(action) + ".policy.in"; }

TEST(TheProductsNames, AreThoseOfItsActions) {
  for (const std::string_view action : {kProduct.helperAction, kProduct.toolHelperAction}) {
    EXPECT_THAT(source(policyFile(action)), HasSubstr("<action id=\"" + text(action) + "\">"));
  }
  const std::string installing = source("packaging/InstallPolicy.cmake.in");
  EXPECT_THAT(installing, HasSubstr("/" + text(kProduct.helper) + "\")"));
  EXPECT_THAT(installing, HasSubstr("/" + text(kProduct.helperAction) + ".policy.in\""));
}

TEST(TheProductsNames, AreThoseOfTheMenuEntryAndThePackage) {
  EXPECT_THAT(source("packaging/" + text(kProduct.program) + ".desktop"),
              HasSubstr("\nExec=" + text(kProduct.program) + "\n"));
  const std::string package = source("packaging/CMakeLists.txt");
  EXPECT_THAT(package, HasSubstr("${CMAKE_INSTALL_DATADIR}/" + text(kProduct.program) + ")"));
  EXPECT_THAT(package, HasSubstr("install(TARGETS " + text(kProduct.program) + " "));
  EXPECT_THAT(package, HasSubstr("install(TARGETS " + text(kProduct.zipTool) + " "));
  EXPECT_THAT(package, HasSubstr("install(TARGETS " + text(kProduct.helper) + " " + text(kProduct.credentialsAgent)));
}

TEST(TheProductsNames, AreThoseOfThePrograms) {
  const std::string programs = source("Uninstaller/programs/CMakeLists.txt");
  for (const std::string_view name : {kProduct.zipTool, kProduct.credentialsAgent, kProduct.toolHelper}) {
    EXPECT_THAT(programs, HasSubstr("qm_executable(" + text(name) + " "));
  }
  EXPECT_THAT(source("Uninstaller/helper/CMakeLists.txt"), HasSubstr("qm_executable(" + text(kProduct.helper) + " "));
  EXPECT_THAT(source("Uninstaller/CMakeLists.txt"), HasSubstr("qm_executable(" + text(kProduct.program) + " "));
}

}  // namespace
}  // namespace qm::testing
