// SPDX-License-Identifier: MIT
#include "Uninstaller/remove/Options.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <optional>

#include "Platform/foundation/ControlCharacters.h"
#include "Uninstaller/Language.h"

namespace qm::removal {
namespace {

constexpr int kLongestLimit = 86400;

using uninstaller::translated;

constexpr std::string_view kHelp = uninstaller::catalogued(R"(Usage: tessaly-remove [OPTION...]

Moves the items of Tessaly to the Trash, and removes the maker's folder if
nothing is left in it. Without --yes nothing is done: it shows what would be
moved.

What is moved
  --plan              Show what would be moved. Changes nothing.
  --yes               Do it.
  --preferences       Move the preferences as well.
  --restore           Put back what your last run moved, from the Trash. An item
                      stays there if something else is at its path now. Root
                      puts back what root's last run moved, for all its users.

For whom (as root; otherwise it is always for you)
  --user NAME         For this user. May be given more than once.
  --all-users         For every ordinary account of this computer.
  --system-only       For no user: move only what belongs to the computer.
  Without these options, root's run is for the user at the computer. Each
  user's items go to that user's Trash, the computer's to root's own.

How
  --if-running=HOW    What to do if Tessaly is running for one of these users:
                      "refuse" (the default), "ask-to-quit" (and refuse if it
                      has not quit after ten seconds) or "end" (unsaved work in
                      it is lost).
  --time-limit=SECONDS  Begin no further item after this time. 600 by default.
  --report=FORM       "table" (the default) or "json", on standard output.
  --help              Show this.
  --version           Show the version.

Exit status
   0  nothing is left to remove or put back, also if nothing was there
   2  something is left
   3  rights are missing; root has them
  64  the command line is wrong
  75  nothing was done: Tessaly is running, another run is in progress, or the
      lock or the record cannot be used
)");

struct Flag {
  std::string_view name;
  bool Options::*member;
};

constexpr Flag kFlags[] = {
    {"--help", &Options::help},
    {"--version", &Options::version},
    {"--plan", &Options::plan},
    {"--yes", &Options::yes},
    {"--preferences", &Options::preferences},
    {"--all-users", &Options::allUsers},
    {"--system-only", &Options::systemOnly},
    {"--restore", &Options::restore},
};

std::string shown(std::string_view text) { return foundation::replacingControlCharacters(text, '?'); }

/// A setter returns what is wrong with the value; "" if nothing is.
std::string addUser(Options& options, const std::string& value) {
  if (value.empty()) return translated("--user needs the name of a user.");
  options.users.push_back(value);
  return {};
}

std::string setIfRunning(Options& options, const std::string& value) {
  options.hasIfRunning = true;
  if (value == "refuse") {
    options.ifRunning = IfRunning::Refuse;
  } else if (value == "ask-to-quit") {
    options.ifRunning = IfRunning::AskToQuit;
  } else if (value == "end") {
    options.ifRunning = IfRunning::End;
  } else {
    return translated(R"(--if-running is "refuse", "ask-to-quit" or "end", not "{value}".)", {{"value", shown(value)}});
  }
  return {};
}

std::string setReport(Options& options, const std::string& value) {
  if (value != "table" && value != "json") {
    return translated(R"(--report is "table" or "json", not "{value}".)", {{"value", shown(value)}});
  }
  options.report = value == "json" ? ReportForm::Json : ReportForm::Table;
  return {};
}

std::string setTimeLimit(Options& options, const std::string& value) {
  int seconds = 0;
  const char* end = value.data() + value.size();
  const auto [rest, error] = std::from_chars(value.data(), end, seconds);
  if (error != std::errc() || rest != end || seconds < 1 || seconds > kLongestLimit) {
    return translated("--time-limit is a number of seconds from 1 to 86400, not \"{value}\".",
                      {{"value", shown(value)}});
  }
  options.timeLimit = std::chrono::seconds(seconds);
  return {};
}

struct Setting {
  std::string_view name;
  std::string (*set)(Options&, const std::string&);
};

constexpr Setting kSettings[] = {
    {"--user", addUser},
    {"--if-running", setIfRunning},
    {"--report", setReport},
    {"--time-limit", setTimeLimit},
};

template <class Table>
auto named(const Table& table, std::string_view name) {
  const auto found = std::ranges::find(table, name, [](const auto& each) { return each.name; });
  return found == std::end(table) ? nullptr : &*found;
}

class Parser {
 public:
  explicit Parser(const std::vector<std::string>& arguments) : arguments_(arguments) {}

  ParsedOptions parse() {
    while (next_ < arguments_.size() && parsed_.problem.empty()) parsed_.problem = take(arguments_[next_++]);
    if (parsed_.problem.empty()) parsed_.problem = contradiction();
    return parsed_;
  }

 private:
  std::string take(const std::string& argument) {
    if (!argument.starts_with("--")) {
      return translated("Unexpected argument \"{argument}\": only options are allowed.",
                        {{"argument", shown(argument)}});
    }
    const auto equals = argument.find('=');
    const std::string name = argument.substr(0, equals);
    const auto value = equals == std::string::npos ? std::nullopt : std::optional(argument.substr(equals + 1));
    if (const Flag* flag = named(kFlags, name)) return setFlag(*flag, value.has_value());
    if (const Setting* setting = named(kSettings, name)) return set(*setting, value);
    return translated("There is no option \"{option}\".", {{"option", shown(name)}});
  }

  std::string setFlag(const Flag& flag, bool hasValue) {
    if (hasValue) return translated("{option} takes no value.", {{"option", std::string(flag.name)}});
    parsed_.options.*flag.member = true;
    return {};
  }

  std::string set(const Setting& setting, std::optional<std::string> value) {
    if (!value && next_ < arguments_.size()) value = arguments_[next_++];
    if (!value) return translated("{option} needs a value.", {{"option", std::string(setting.name)}});
    return setting.set(parsed_.options, *value);
  }

  std::string contradiction() const {
    const Options& options = parsed_.options;
    if (options.plan && options.yes) return translated("--plan and --yes exclude each other.");
    const int choices = static_cast<int>(!options.users.empty()) + static_cast<int>(options.allUsers) +
                        static_cast<int>(options.systemOnly);
    if (choices > 1) return translated("--user, --all-users and --system-only exclude each other.");
    const bool chooses = choices > 0 || options.preferences || options.hasIfRunning;
    if (!options.restore || !chooses) return {};
    return translated("--restore puts back everything that the last run moved, so nothing can be selected.");
  }

  const std::vector<std::string>& arguments_;
  std::size_t next_ = 0;
  ParsedOptions parsed_;
};

}  // namespace

ParsedOptions parseOptions(const std::vector<std::string>& arguments) { return Parser(arguments).parse(); }

std::string helpText() { return translated(kHelp); }

std::string versionText() { return "tessaly-remove " QM_VERSION "\n"; }

std::string usageText(const std::string& problem) {
  return "tessaly-remove: " + problem + "\n" + translated("Try \"tessaly-remove --help\".") + "\n";
}

}  // namespace qm::removal
