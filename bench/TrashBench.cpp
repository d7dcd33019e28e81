// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <gio/gio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "Platform/Trash.h"
#include "Shared/QMFileManager.h"
#include "bench/Cases.h"
#include "bench/Machine.h"
#include "bench/Ratios.h"

namespace qm::bench {
namespace {

std::string home() { return std::getenv("HOME"); }

/// Sets the trash aside and creates a folder full of files.
std::string fullFolder(int files) {
  static int number = 0;
  const std::string trash = home() + "/.local/share/Trash";
  ::rename(trash.c_str(), (home() + "/old" + std::to_string(++number)).c_str());
  ::mkdir((home() + "/.local").c_str(), 0700);
  ::mkdir((home() + "/.local/share").c_str(), 0700);
  ::mkdir(trash.c_str(), 0700);
  ::mkdir((trash + "/files").c_str(), 0700);
  ::mkdir((trash + "/info").c_str(), 0700);
  std::string folder = freshFolder("full");
  for (int i = 0; i < files; ++i) writeFile(folder + "/file" + std::to_string(i), "contents");
  return folder;
}

void trashBare(const std::string& folder, int files) {
  const std::string trash = home() + "/.local/share/Trash/";
  for (int i = 0; i < files; ++i) {
    const std::string name = "file" + std::to_string(i);
    const std::string info = "[Trash Info]\nPath=" + folder + "/" + name + "\nDeletionDate=2024-02-29T23:05:07\n";
    const int descriptor =
        ::open((trash + "info/" + name + ".trashinfo").c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (::write(descriptor, info.data(), info.size()) != static_cast<ssize_t>(info.size())) std::abort();
    ::close(descriptor);
    if (::rename((folder + "/" + name).c_str(), (trash + "files/" + name).c_str()) != 0) std::abort();
  }
}

void trashOurs(const std::string& folder, int files) {
  for (int i = 0; i < files; ++i) {
    const std::string name = "file" + std::to_string(i);
    if (!platform::platform().trash->recycle(folder, home() + "/.Trash", {name})) std::abort();
  }
}

void trashWithFileManager(const std::string& folder, int files) {
  for (int i = 0; i < files; ++i) {
    if (!QMFileManager::trashFile(folder + "/file" + std::to_string(i), QMFileManager::ShouldAuth::No)) std::abort();
  }
}

void trashWithGio(const std::string& folder, int files) {
  for (int i = 0; i < files; ++i) {
    GFile* file = g_file_new_for_path((folder + "/file" + std::to_string(i)).c_str());
    if (g_file_trash(file, nullptr, nullptr) == FALSE) std::abort();
    g_object_unref(file);
  }
}

}  // namespace

void trashMany(int files) {
  std::string folder;
  const auto with = [&](const char* name, void (*trash)(const std::string&, int)) {
    return Contender{
        name, [&, files] { folder = fullFolder(files); }, [&folder, files, trash] { trash(folder, files); }, {}};
  };
  compare({.name = "Trash " + std::to_string(files) + " files",
           .bar = 1.2,
           .ours = with("ours", trashOurs),
           .limit = with("limit", trashBare),
           .peers = {with("g_file_trash", trashWithGio), with("ours, through QMFileManager", trashWithFileManager)},
           .rounds = files > 5000 ? 5 : 9});
}

}  // namespace qm::bench
