// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace qm::removal {

/// The exit statuses of the program.
inline constexpr int kNothingLeft = 0;
inline constexpr int kSomethingStayed = 2;
inline constexpr int kRightsMissing = 3;
inline constexpr int kUsage = 64;
inline constexpr int kTryLater = 75;

/// What to do if the product is running.
enum class IfRunning { Refuse, AskToQuit, End };
enum class ReportForm { Table, Json };

/// What the command line asks for.
struct Options {
  bool help = false;
  bool version = false;
  bool plan = false;
  bool yes = false;
  bool preferences = false;
  bool allUsers = false;
  bool systemOnly = false;
  bool restore = false;
  bool hasIfRunning = false;
  std::vector<std::string> users;
  IfRunning ifRunning = IfRunning::Refuse;
  ReportForm report = ReportForm::Table;
  std::chrono::seconds timeLimit{600};

  /// Without --yes nothing is changed.
  bool isInEarnest() const { return yes && !plan; }
};

struct ParsedOptions {
  Options options;
  std::string problem;  ///< what is wrong with the command line, one sentence in the user's language; "" if not
};

/// Parses the arguments after the program's name. The first error is the problem.
ParsedOptions parseOptions(const std::vector<std::string>& arguments);

/// The output of --help and --version, and the message for a wrong command line, in the user's language.
std::string helpText();
std::string versionText();
std::string usageText(const std::string& problem);

}  // namespace qm::removal
