// The helper that serves one application with administrator rights. pkexec starts it as root, with the
// connection to the application as standard input and a pipe for pkexec's own messages as standard error.

#include <fcntl.h>
#include <unistd.h>
#include <cstdlib>

#include <cerrno>
#include <optional>

#include "Platform/linux/privileges/helper/CleanProcess.h"
#include "Platform/linux/privileges/helper/HelperSession.h"
#include "Platform/linux/privileges/helper/PeerSocket.h"
#include "Platform/posix/UniqueFd.h"

namespace {

using namespace qm::linux_;  // the helper is all that is here
using qm::posix::UniqueFd;

constexpr int kMisused = 2;

// Who called pkexec: a number, and nothing else.
std::optional<uid_t> callerOfPkexec() {
  const char* text = ::getenv("PKEXEC_UID");
  if (text == nullptr || *text < '0' || *text > '9') return std::nullopt;
  char* end = nullptr;
  errno = 0;
  const unsigned long number = ::strtoul(text, &end, 10);
  if (errno != 0 || *end != '\0' || number >= static_cast<uid_t>(-1)) return std::nullopt;
  return static_cast<uid_t>(number);
}

// The connection gets another number and all standard streams lead nowhere: no tool can mistake it for one.
UniqueFd takeConnection() {
  UniqueFd connection(::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
  const UniqueFd nothing(::open("/dev/null", O_RDWR | O_CLOEXEC));
  if (!connection || !nothing) return UniqueFd();
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (::dup2(nothing.get(), stream) != stream) return UniqueFd();
  }
  return connection;
}

}  // namespace

int main() {
  const std::optional<uid_t> person = callerOfPkexec();
  if (!person || ::getuid() != 0 || ::geteuid() != 0 || !becomeCleanProcess()) return kMisused;
  PeerSocket peer(takeConnection(), *person);
  if (!peer.isOpen()) return kMisused;
  HelperSession(peer, *person).run();
  return 0;
}
