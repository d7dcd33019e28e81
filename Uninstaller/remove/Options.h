#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

namespace qm::removal {

/// The exit statuses of the program.
inline constexpr int kNothingLeft = 0;
inline constexpr int kSomethingStayed = 2;
inline constexpr int kRightsMissing = 3;
inline constexpr int kUsage = 64;
inline constexpr int kTryLater = 75;

/// What to do where the product runs.
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
  bool saysIfRunning = false;
  std::vector<std::string> users;
  IfRunning ifRunning = IfRunning::Refuse;
  ReportForm report = ReportForm::Table;
  std::chrono::seconds timeLimit{600};

  /// Without a yes, nothing is done.
  bool isInEarnest() const { return yes && !plan; }
};

struct ParsedOptions {
  Options options;
  std::string problem;  ///< what is wrong with the command line, one sentence; "" where nothing is
};

/// Reads the arguments behind the program's name. The first that is wrong is the problem.
ParsedOptions parseOptions(const std::vector<std::string>& arguments);

/// What --help and --version print, and what is printed where the command line is wrong.
std::string_view helpText();
std::string versionText();
std::string usageText(const std::string& problem);

}  // namespace qm::removal
