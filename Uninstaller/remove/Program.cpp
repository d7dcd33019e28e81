// SPDX-License-Identifier: MIT
#include "Uninstaller/remove/Program.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <memory>
#include <set>
#include <string_view>
#include <utility>

#include "Platform/Platform.h"
#include "Platform/Threads.h"
#include "Platform/foundation/ControlCharacters.h"
#include "Platform/foundation/Utf8.h"
#include "Platform/posix/ErrorWords.h"
#include "Platform/posix/process/MainLoop.h"
#include "Shared/QMLog.h"
#include "Uninstaller/Language.h"
#include "Uninstaller/remove/Removal.h"
#include "Uninstaller/remove/Restoring.h"
#include "Uninstaller/remove/RunLock.h"
#include "Uninstaller/remove/RunRecordFile.h"
#include "Uninstaller/remove/RunningProduct.h"
#include "Uninstaller/remove/ThisSystem.h"
#include "Uninstaller/remove/TimedWork.h"
#include "Uninstaller/remove/WithoutDialog.h"

namespace qm::removal {
namespace {

using Clock = std::chrono::steady_clock;
using uninstaller::catalogued;

/// Work in progress at the time limit gets this much longer.
constexpr std::chrono::seconds kGrace{30};

/// Everything that the program works with. Never destroyed: a worker may be inside one of the services while the
/// process ends.
struct Composition {
  Composition()
      : users(systemUsers()),
        services(systemServices(loop, users)),
        withoutDialog(*services.authorizationServices),
        observer(quiet(services)) {
    platform::install(&observer.services());
  }

  platform::Platform quiet(platform::Platform all) {
    all.authorizationServices = &withoutDialog;
    return all;
  }

  posix::MainLoop loop;
  WorkingFor users;
  const platform::Platform& services;
  WithoutDialog withoutDialog;
  RemovalObserver observer;
};

Composition& composition() {
  static auto* const all = new Composition;
  return *all;
}

void writeAll(int stream, std::string_view text) {
  while (!text.empty()) {
    const ssize_t count = ::write(stream, text.data(), text.size());
    if (count < 0 && errno != EINTR) return;
    if (count > 0) text.remove_prefix(static_cast<std::size_t>(count));
  }
}

/// One line that is overwritten, for a person at a terminal.
class ProgressLine {
 public:
  ~ProgressLine() {
    if (isShown_) writeAll(STDERR_FILENO, "\r\x1b[K");
  }

  void show(const std::string& path, std::size_t number, std::size_t count) {
    constexpr std::size_t longest = 60;
    if (::isatty(STDERR_FILENO) == 0) return;
    isShown_ = true;
    const std::string shown = foundation::replacingControlCharacters(path, '?');
    const uninstaller::Values values = {{"number", std::to_string(number)},
                                        {"count", std::to_string(count)},
                                        {"path", std::string(foundation::firstCharacters(shown, longest))}};
    writeAll(STDERR_FILENO, "\r\x1b[K" + uninstaller::translated("{number} of {count}: {path}", values));
  }

 private:
  bool isShown_ = false;
};

class Program {
 public:
  Program(const Options& options, Concerned concerned)
      : options_(options),
        concerned_(std::move(concerned)),
        end_(Clock::now() + options.timeLimit),
        memory_(::getuid(), RunRecordFile::folderFor(::getuid(), stateFolder(all_.users.homeDirectory()),
                                                     all_.users.homeDirectory())) {
    report_.isRestore = options.restore;
    report_.isPlan = !options.isInEarnest();
    report_.wantsYes = report_.isPlan && !options.plan;
  }

  int run() {
    const bool inTime = !isLocked() || (options_.restore ? restore() : remove());
    const int status = statusOf(report_);
    recordInSystemLog(report_);
    writeAll(STDOUT_FILENO, options_.report == ReportForm::Json ? reportJson(report_) : reportTable(report_));
    // A worker that was abandoned goes on using all of this.
    if (!inTime) std::_Exit(status);
    QMLog::finishWriting();
    return status;
  }

 private:
  /// False if there is no lock and nothing is to be done.
  bool isLocked() {
    if (!options_.isInEarnest()) return true;
    lock_ = RunLock::take(::getuid(), runtimeFolder(), all_.users.homeDirectory());
    if (!lock_.isHeld()) refuse(lock_.problem());
    return lock_.isHeld();
  }

  void refuse(const std::string& problem) {
    report_.problem = problem;
    report_.ownStatus = kTryLater;
  }

  /// False if the work had to be abandoned. It may then go on for as long as the process lives.
  bool remove() {
    auto made =
        std::make_unique<Removal>(all_.users, all_.observer, concerned_,
                                  options_.preferences ? RemoveConfig::Yes : RemoveConfig::No, launchControlTool());
    Removal& removal = *made;
    work_ = std::move(made);
    if (!look()) return false;
    if (!isInEarnest()) {
      report_.running = shown(runningProduct(numbers()));
      return done();
    }
    return productIsStopped() && isRemembered(removal) ? carryOut() : done();
  }

  /// The same for putting items back.
  bool restore() {
    std::vector<RunRecord> runs;
    if (const int error = memory_.read(runs); error != 0) {
      refuse(posix::withSystemMessage("The record of the last run couldn’t be read", error) + ".");
      return true;
    }
    work_ = std::make_unique<Restoring>(all_.users, memory_, std::move(runs), systemPersons());
    if (!look()) return false;
    // Also if everything is back already: an interrupted run may have left something to finish.
    return options_.isInEarnest() ? carryOut() : done();
  }

  bool isInEarnest() const { return options_.isInEarnest() && work_->hasAnythingToDo(); }

  bool look() {
    if (onWorker([this] { work_->look(); })) return true;
    return giveUp(catalogued("The time limit ended before everything was checked."));
  }

  bool carryOut() {
    return onWorker([this] { move(); }) ? done() : giveUp("");
  }

  void move() {
    ProgressLine line;
    work_->run([this] { return Clock::now() >= end_; },
               [&](const std::string& path, std::size_t number, std::size_t count) { line.show(path, number, count); });
  }

  bool done() {
    report_.items = work_->items();
    return true;
  }

  bool giveUp(const std::string& problem) {
    report_.items = work_->itemsWhenGivenUp();
    report_.problem = problem;
    report_.ownStatus = kSomethingStayed;
    return false;
  }

  /// Without a record the items could not be put back, so nothing is moved then. Returns whether the record was
  /// written.
  bool isRemembered(Removal& removal) {
    const auto run = removal.toRemember();
    const int error = run ? memory_.begin(*run) : EIO;
    if (error != 0) {
      refuse(
          posix::withSystemMessage("Nothing has been done, because no record for --restore could be written", error) +
          ".");
    }
    removal.rememberIn(memory_);
    return error == 0;
  }

  bool productIsStopped() {
    const auto running = endProduct(numbers(), options_.ifRunning);
    if (running.empty()) return true;
    report_.running = shown(running);
    refuse(catalogued("Nothing has been done, because Tessaly is running."));
    return false;
  }

  /// Abandons the work some time after the limit, and returns false then.
  bool onWorker(const std::function<void()>& work) {
    return runUntil(end_ + kGrace, *platform::platform().mainThread, *platform::platform().threads, work);
  }

  std::set<uid_t> numbers() const {
    std::set<uid_t> result;
    for (const posix::UserRecord& person : concerned_.persons) result.insert(person.id);
    return result;
  }

  std::vector<RunningProcess> shown(const std::vector<ProductProcess>& running) const {
    std::vector<RunningProcess> result;
    for (const ProductProcess& process : running) {
      const auto person = std::ranges::find(concerned_.persons, process.user, &posix::UserRecord::id);
      const bool isKnown = person != concerned_.persons.end();
      result.push_back({process.id, isKnown ? person->name : std::to_string(process.user)});
    }
    return result;
  }

  Composition& all_ = composition();
  const Options& options_;
  const Concerned concerned_;
  const Clock::time_point end_;
  RunRecordFile memory_;
  std::unique_ptr<Work> work_;
  RunLock lock_;
  Report report_;
};

/// No child process may wait for input.
void takeNoInput() {
  const posix::UniqueFd nothing(::open("/dev/null", O_RDONLY | O_CLOEXEC));
  if (nothing && nothing.get() != STDIN_FILENO) ::dup2(nothing.get(), STDIN_FILENO);
}

}  // namespace

int runProgram(const Options& options) {
  takeNoInput();
  Composition& all = composition();
  const Choice choice = options.restore ? Choice() : choosePersons(options, systemAccounts(all.users));
  // The variable was needed only to find the user who started this through pkexec. Children that work for other users
  // must not mistake that user for theirs.
  ::unsetenv("PKEXEC_UID");  // NOLINT(concurrency-mt-unsafe): there are no other threads yet
  if (!choice.problem.empty()) {
    writeAll(STDERR_FILENO, "tessaly-remove: " + choice.problem + "\n");
    return choice.status;
  }
  return Program(options, choice.concerned).run();
}

}  // namespace qm::removal
