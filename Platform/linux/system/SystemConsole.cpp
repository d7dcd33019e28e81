// SPDX-License-Identifier: MIT
#include "Platform/linux/system/SystemConsole.h"

#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "Platform/foundation/ControlCharacters.h"
#include "Platform/foundation/DateText.h"
#include "Platform/linux/system/Environment.h"
#include "Platform/linux/system/Journal.h"

namespace qm::linux_ {
namespace {

constexpr int kFullConsoleMilliseconds = 1000;

// The journal tells its clients the device and inode of the stream that it gave them.
bool standardErrorIsTheJournal() {
  struct stat stream {};
  const auto given = environmentValue("JOURNAL_STREAM");
  return given && ::fstat(STDERR_FILENO, &stream) == 0 &&
         *given == std::to_string(stream.st_dev) + ":" + std::to_string(stream.st_ino);
}

bool journalTakesMessages() { return journalIsThere() && !standardErrorIsTheJournal(); }

// Gives a full console in non-blocking mode a moment to drain.
bool mayTryAgain() {
  if (errno == EINTR) return true;
  pollfd console{STDERR_FILENO, POLLOUT, 0};
  return errno == EAGAIN && ::poll(&console, 1, kFullConsoleMilliseconds) > 0;
}

void writeAll(std::string_view line) {
  while (!line.empty()) {
    const ssize_t count = ::write(STDERR_FILENO, line.data(), line.size());
    if (count > 0) {
      line.remove_prefix(static_cast<std::size_t>(count));
    } else if (count == 0 || !mayTryAgain()) {
      return;
    }
  }
}

}  // namespace

SystemConsole::SystemConsole(const platform::Clock& clock, std::string name)
    : clock_(clock), name_(std::move(name)), journal_(journalTakesMessages()) {}

void SystemConsole::print(std::string_view text) {
  printToStandardError(text);
  if (journal_) printToJournal(text);
}

void SystemConsole::printToStandardError(std::string_view text) const {
  std::string line = foundation::dateDescription(clock_.localTime(clock_.now()));
  line += " " + name_ + "[" + std::to_string(::getpid()) + "]: ";
  line += foundation::replacingControlCharacters(text, ' ', "\n");
  line += '\n';
  writeAll(line);
}

void SystemConsole::printToJournal(std::string_view text) const {
  sendToJournal({{"MESSAGE", std::string(text)}, {"SYSLOG_IDENTIFIER", name_}, {"PRIORITY", "5"}});
}

}  // namespace qm::linux_
