// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "Uninstaller/AppController.h"
#include "bench/Cases.h"
#include "bench/Machine.h"
#include "bench/Ratios.h"

namespace qm::bench {
namespace {

namespace fs = std::filesystem;

std::string trash() { return std::string(std::getenv("HOME")) + "/.local/share/Trash"; }

class Ticked final : public uninstaller::CheckBox {
 public:
  int state() const override { return uninstaller::kOnState; }
};

/// The items of the sample installation and their names in the Trash, as recorded after the first run.
std::map<std::string, std::string>& items() {
  static auto* map = new std::map<std::string, std::string>;
  return *map;
}

std::string decoded(const std::string& text) {
  std::string bytes;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      bytes += text[i];
    } else {
      bytes += static_cast<char>(std::stoi(text.substr(i + 1, 2), nullptr, 16));
      i += 2;
    }
  }
  return bytes;
}

std::string contentsOf(const fs::path& path) {
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  char bytes[8192];
  const ssize_t length = ::read(descriptor, bytes, sizeof bytes);
  ::close(descriptor);
  return {bytes, length > 0 ? static_cast<std::size_t>(length) : 0};
}

/// Puts everything back where it came from.
void restore() {
  items().clear();
  if (!fs::exists(trash() + "/info")) return;
  for (const auto& info : fs::directory_iterator(trash() + "/info")) {
    const std::string text = contentsOf(info.path());
    const auto start = text.find("Path=") + 5;
    const std::string place = decoded(text.substr(start, text.find('\n', start) - start));
    const std::string name = info.path().stem();
    items()[place] = name;
    fs::create_directories(fs::path(place).parent_path());
    fs::rename(trash() + "/files/" + name, place);
  }
  for (const auto& [place, name] : items()) fs::remove(trash() + "/info/" + name + ".trashinfo");
}

double uninstallOurs() {
  static auto* check = new Ticked;
  static auto* controller = new AppController;
  uninstaller::Outlets outlets;
  outlets.removeConfigCheck = check;
  controller->connect(outlets);
  const auto start = std::chrono::steady_clock::now();
  double time = 0;
  onPerformAndWait(
      [&] { time = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count(); });
  controller->beginUninstall();
  return time;
}

void uninstallBare() {
  std::string tool = "killall";
  std::string name = "Tessaly";
  char* const arguments[] = {tool.data(), name.data(), nullptr};
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t child = 0;
  if (::posix_spawn(&child, "/usr/bin/killall", &actions, nullptr, arguments, environ) != 0) std::abort();
  int status = 0;
  ::waitpid(child, &status, 0);
  posix_spawn_file_actions_destroy(&actions);
  for (const auto& [place, trashName] : items()) {
    const std::string info = "[Trash Info]\nPath=" + place + "\nDeletionDate=2024-02-29T23:05:07\n";
    const std::string path = trash() + "/info/" + trashName + ".trashinfo";
    const int descriptor = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (::write(descriptor, info.data(), info.size()) != static_cast<ssize_t>(info.size())) std::abort();
    ::close(descriptor);
    if (::rename(place.c_str(), (trash() + "/files/" + trashName).c_str()) != 0) std::abort();
  }
}

}  // namespace

void uninstallSample() {
  uninstallOurs();  // finds the items
  compare({.name = "Uninstall the sample installation",
           .bar = 1.5,
           .ours = {"beginUninstall to endProgress", restore, {}, uninstallOurs},
           .limit = {"killall, info files and renames", restore, uninstallBare, {}},
           .peers = {},
           .rounds = 21});
}

}  // namespace qm::bench
