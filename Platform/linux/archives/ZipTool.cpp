// SPDX-License-Identifier: MIT
#include "Platform/linux/archives/ZipTool.h"

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

namespace qm::linux_ {
namespace {

constexpr int kFailed = 1;
constexpr int kMisused = 2;

volatile std::sig_atomic_t stopped = 0;

void stop(int /*signal*/) { stopped = 1; }

// The run ends at the next block, and removes what it has created.
void stopWhenAsked() {
  struct sigaction action {};
  action.sa_handler = stop;
  for (const int signal : {SIGHUP, SIGINT, SIGTERM}) ::sigaction(signal, &action, nullptr);
  // The reader of the messages may have ended, and exceeding a limit of file sizes is a failure like others.
  for (const int signal : {SIGPIPE, SIGXFSZ}) static_cast<void>(::signal(signal, SIG_IGN));
}

void print(const std::string& text) { static_cast<void>(std::fputs(text.c_str(), stderr)); }

void printUsage(const std::string& name) {
  print("Usage: " + name + " -ck [--keepParent] ITEM ARCHIVE\n");
  print("       " + name + " -xk ARCHIVE FOLDER\n");
}

std::string absolutePath(const std::string& path) {
  char folder[PATH_MAX];
  if (path.front() == '/' || ::getcwd(folder, sizeof folder) == nullptr) return path;
  return std::string(folder) + "/" + path;
}

}  // namespace

int runZipTool(const std::string& name, int count, char** given) {
  const auto arguments = parsedArguments(std::vector<std::string>(given + 1, given + count));
  if (!arguments) {
    printUsage(name);
    return kMisused;
  }
  stopWhenAsked();
  const auto complain = [&](const std::string& line) { print(name + ": " + line + "\n"); };
  bool isWhole = true;
  const ArchiveRun run{[&](const std::string& line) {
                         isWhole = false;
                         complain(line);
                       },
                       [] { return stopped != 0; }};
  const std::string source = absolutePath(arguments->source);
  const std::string destination = absolutePath(arguments->destination);
  const auto status = arguments->command == ToolArguments::Command::Compress
                          ? packItem(source, destination, arguments->keepParent, run)
                          : unpackArchive(source, destination, run);
  if (!status) complain(status.localizedDescription());
  return status && isWhole ? EXIT_SUCCESS : kFailed;
}

}  // namespace qm::linux_
