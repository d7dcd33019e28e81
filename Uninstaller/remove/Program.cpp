#include "Uninstaller/remove/Program.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <set>
#include <string_view>
#include <utility>

#include "Platform/Platform.h"
#include "Platform/Threads.h"
#include "Platform/foundation/ControlCharacters.h"
#include "Platform/foundation/Utf8.h"
#include "Platform/linux/LinuxPlatform.h"
#include "Platform/linux/system/Environment.h"
#include "Platform/linux/system/SystemUsers.h"
#include "Platform/posix/process/MainLoop.h"
#include "Shared/QMLog.h"
#include "Uninstaller/Product.h"
#include "Uninstaller/remove/JournalRecord.h"
#include "Uninstaller/remove/Removal.h"
#include "Uninstaller/remove/RunLock.h"
#include "Uninstaller/remove/RunningProduct.h"
#include "Uninstaller/remove/TimedWork.h"
#include "Uninstaller/remove/WithoutDialog.h"

namespace qm::removal {
namespace {

using Clock = std::chrono::steady_clock;

/// What has begun when the time is up is seen through, within this.
constexpr std::chrono::seconds kGrace{30};

/// Everything that the program works with. Never destroyed: a worker may be inside one of the services while the
/// process ends.
struct Composition {
  Composition()
      : users(system),
        services(linux_::linuxPlatform(kProduct, {.mainThread = loop, .descriptorWait = loop, .users = &users})),
        withoutDialog(*services.authorizationServices),
        witness(quiet(services)) {
    platform::install(&witness.services());
  }

  platform::Platform quiet(platform::Platform all) {
    all.authorizationServices = &withoutDialog;
    return all;
  }

  posix::MainLoop loop;
  linux_::SystemUsers system;
  WorkingFor users;
  const platform::Platform& services;
  WithoutDialog withoutDialog;
  RemovalWitness witness;
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

/// One line that is written over, for somebody who watches.
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
    writeAll(STDERR_FILENO, "\r\x1b[K" + std::to_string(number) + " of " + std::to_string(count) + ": " +
                                std::string(foundation::firstCharacters(shown, longest)));
  }

 private:
  bool isShown_ = false;
};

class Program {
 public:
  Program(const Options& options, Concerned concerned)
      : options_(options),
        concerned_(concerned),
        end_(Clock::now() + options.timeLimit),
        removal_(all_.users, all_.witness, std::move(concerned),
                 options.preferences ? RemoveConfig::Yes : RemoveConfig::No) {
    report_.isPlan = !options.removes();
    report_.wantsYes = report_.isPlan && !options.plan;
  }

  int run() {
    const bool inTime = !isLocked() || work();
    const int status = statusOf(report_);
    recordInJournal(report_);
    writeAll(STDOUT_FILENO, options_.report == ReportForm::Json ? reportJson(report_) : reportTable(report_));
    // A worker that was given up goes on using all of this.
    if (!inTime) std::_Exit(status);
    QMLog::finishWriting();
    return status;
  }

 private:
  /// False where there is no lock and nothing is to be done.
  bool isLocked() {
    if (!options_.removes()) return true;
    lock_ = RunLock::take(::getuid(), linux_::environmentValue("XDG_RUNTIME_DIR"), all_.users.homeDirectory());
    if (!lock_.isHeld()) refuse(lock_.problem());
    return lock_.isHeld();
  }

  void refuse(const std::string& problem) {
    report_.problem = problem;
    report_.ownStatus = kTryLater;
  }

  /// False where the work had to be given up.
  bool work() {
    if (!onWorker([this] { removal_.look(); })) return giveUp("The time was up before everything had been looked at.");
    if (options_.removes() && removal_.hasAnythingToDo()) {
      if (!productIsStopped()) return done();
      if (!onWorker([this] { move(); })) return giveUp("");
    } else {
      report_.running = shown(runningProduct(numbers()));
    }
    return done();
  }

  bool done() {
    report_.items = removal_.items();
    return true;
  }

  bool giveUp(const std::string& problem) {
    report_.items = removal_.itemsWhenGivenUp();
    report_.problem = problem;
    report_.ownStatus = kSomethingStayed;
    return false;
  }

  bool productIsStopped() {
    const auto running = endProduct(numbers(), options_.ifRunning);
    if (running.empty()) return true;
    report_.running = shown(running);
    refuse("Nothing has been done, because Tessaly runs.");
    return false;
  }

  void move() {
    ProgressLine line;
    removal_.run([this] { return Clock::now() >= end_; }, [&](const std::string& path, std::size_t number,
                                                              std::size_t count) { line.show(path, number, count); });
  }

  /// Gives the work up some time after the limit. False then.
  bool onWorker(const std::function<void()>& work) {
    return runUntil(end_ + kGrace, *platform::platform().mainThread, *platform::platform().threads, work);
  }

  std::set<uid_t> numbers() const {
    std::set<uid_t> result;
    for (const linux_::UserRecord& person : concerned_.persons) result.insert(person.id);
    return result;
  }

  std::vector<RunningProcess> shown(const std::vector<ProductProcess>& running) const {
    std::vector<RunningProcess> result;
    for (const ProductProcess& process : running) {
      const auto person = std::ranges::find(concerned_.persons, process.user, &linux_::UserRecord::id);
      const bool isKnown = person != concerned_.persons.end();
      result.push_back({process.id, isKnown ? person->name : std::to_string(process.user)});
    }
    return result;
  }

  Composition& all_ = composition();
  const Options& options_;
  const Concerned concerned_;
  const Clock::time_point end_;
  Removal removal_;
  RunLock lock_;
  Report report_;
};

/// Nothing that is started waits for somebody to type.
void takeNoInput() {
  const posix::UniqueFd nothing(::open("/dev/null", O_RDONLY | O_CLOEXEC));
  if (nothing && nothing.get() != STDIN_FILENO) ::dup2(nothing.get(), STDIN_FILENO);
}

}  // namespace

int runProgram(const Options& options) {
  takeNoInput();
  Composition& all = composition();
  const Choice choice = choosePersons(options, systemAccounts(all.users));
  // Whom the rights came from has been asked; what is started for others must not take it for whom it works for.
  ::unsetenv("PKEXEC_UID");  // NOLINT(concurrency-mt-unsafe): there are no other threads yet
  if (!choice.problem.empty()) {
    writeAll(STDERR_FILENO, "tessaly-remove: " + choice.problem + "\n");
    return choice.status;
  }
  return Program(options, choice.concerned).run();
}

}  // namespace qm::removal
