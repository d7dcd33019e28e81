// The zip tool: makes and unpacks zip archives, taking the arguments of the Mac's ditto for that.

#include <unistd.h>

#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "Platform/linux/archives/Packing.h"
#include "Platform/linux/archives/ToolArguments.h"
#include "Platform/linux/archives/Unpacking.h"

namespace {

using namespace qm::linux_;  // the tool is all that is here

constexpr int kFailed = 1;
constexpr int kMisused = 2;
constexpr const char* kUsage =
    "Usage: tessaly-ditto -ck [--keepParent] ITEM ARCHIVE\n"
    "       tessaly-ditto -xk ARCHIVE FOLDER\n";

volatile std::sig_atomic_t stopped = 0;

void stop(int /*signal*/) { stopped = 1; }

// The run ends at the next block, and takes what it has made with it.
void stopWhenAsked() {
  struct sigaction action {};
  action.sa_handler = stop;
  for (const int signal : {SIGHUP, SIGINT, SIGTERM}) ::sigaction(signal, &action, nullptr);
  // Whoever read the messages may be gone, and a limit on the size of files is a failure like others.
  for (const int signal : {SIGPIPE, SIGXFSZ}) static_cast<void>(::signal(signal, SIG_IGN));
}

void print(const std::string& line) { static_cast<void>(std::fprintf(stderr, "tessaly-ditto: %s\n", line.c_str())); }

std::string absolutePath(const std::string& path) {
  char folder[PATH_MAX];
  if (path.front() == '/' || ::getcwd(folder, sizeof folder) == nullptr) return path;
  return std::string(folder) + "/" + path;
}

}  // namespace

int main(int argc, char** argv) {
  const auto arguments = parsedArguments(std::vector<std::string>(argv + 1, argv + argc));
  if (!arguments) {
    static_cast<void>(std::fputs(kUsage, stderr));
    return kMisused;
  }
  stopWhenAsked();
  bool isWhole = true;
  const ArchiveRun run{[&](const std::string& line) {
                         isWhole = false;
                         print(line);
                       },
                       [] { return stopped != 0; }};
  const std::string source = absolutePath(arguments->source);
  const std::string destination = absolutePath(arguments->destination);
  const auto status = arguments->command == ToolArguments::Command::Compress
                          ? packItem(source, destination, arguments->keepParent, run)
                          : unpackArchive(source, destination, run);
  if (!status) print(status.localizedDescription());
  return status && isWhole ? EXIT_SUCCESS : kFailed;
}
