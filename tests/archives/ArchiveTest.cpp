// SPDX-License-Identifier: MIT
#include "tests/archives/ArchiveTest.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

namespace qm::testing {
namespace {

namespace fs = std::filesystem;

void becomeProgram(const std::vector<std::string>& command, int output) {
  std::vector<char*> arguments;
  for (const std::string& argument : command) arguments.push_back(const_cast<char*>(argument.c_str()));
  arguments.push_back(nullptr);
  const int nothing = ::open("/dev/null", O_RDONLY);
  ::dup2(nothing, STDIN_FILENO);
  ::dup2(output, STDOUT_FILENO);
  ::dup2(output, STDERR_FILENO);
  ::execvp(arguments.front(), arguments.data());
  ::_exit(127);
}

std::string readToEnd(int descriptor) {
  std::string text;
  std::array<char, 4096> block{};
  for (ssize_t count = 0; (count = ::read(descriptor, block.data(), block.size())) > 0;) {
    text.append(block.data(), static_cast<std::size_t>(count));
  }
  return text;
}

std::string described(const fs::path& path) {
  const struct stat attributes = attributesOf(path);
  std::ostringstream text;
  text << std::oct << attributes.st_mode << std::dec;
  if (S_ISREG(attributes.st_mode))
    text << " at " << attributes.st_mtim.tv_sec << " " << contentsOf(path).substr(0, 1000) << attributes.st_size;
  if (S_ISLNK(attributes.st_mode)) text << " to " << fs::read_symlink(path).string();
  return text.str();
}

}  // namespace

ProgramRun runProgram(const std::vector<std::string>& command) {
  std::array<int, 2> pipe{};
  EXPECT_EQ(::pipe2(pipe.data(), O_CLOEXEC), 0);
  const pid_t child = ::fork();
  if (child == 0) becomeProgram(command, pipe[1]);
  ::close(pipe[1]);
  ProgramRun run;
  run.output = readToEnd(pipe[0]);
  ::close(pipe[0]);
  int status = 0;
  EXPECT_EQ(::waitpid(child, &status, 0), child);
  run.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return run;
}

ProgramRun runAndEnd(const std::vector<std::string>& command, const std::string& folder, const std::string& signal) {
  constexpr const char* script =
      "folder=$1; signal=$2; shift 2; \"$@\" & "
      "while kill -0 $! && [ -z \"$(find \"$folder\" -name '.incomplete-*')\" ]; do :; done; kill -$signal $!; "
      "wait $!";
  std::vector<std::string> all = {"sh", "-c", script, "sh", folder, signal};
  all.insert(all.end(), command.begin(), command.end());
  return runProgram(all);
}

std::string zipTool() { return fs::read_symlink("/proc/self/exe").replace_filename("tessaly-ditto"); }

ProgramRun runZipTool(const std::vector<std::string>& arguments) {
  std::vector<std::string> command = {zipTool()};
  command.insert(command.end(), arguments.begin(), arguments.end());
  return runProgram(command);
}

void writeFile(const std::string& path, const std::string& contents) {
  std::ofstream file(path, std::ios::binary);
  file << contents;
  ASSERT_TRUE(file.flush()) << path;
}

std::string contentsOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

struct stat attributesOf(const std::string& path) {
  struct stat attributes {};
  EXPECT_EQ(::lstat(path.c_str(), &attributes), 0) << path;
  return attributes;
}

bool isThere(const std::string& path) {
  struct stat attributes {};
  return ::lstat(path.c_str(), &attributes) == 0;
}

void setModified(const std::string& path, time_t seconds) {
  const timespec times[] = {{seconds, 0}, {seconds, 0}};
  EXPECT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW), 0) << path;
}

std::map<std::string, std::string> snapshot(const std::string& folder) {
  std::map<std::string, std::string> found;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    found[entry.path().lexically_relative(folder).string()] = described(entry.path());
  }
  return found;
}

namespace {

void openFolders(const std::string& folder) {
  std::error_code error;
  for (fs::recursive_directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
    if (entry->symlink_status(error).type() != fs::file_type::directory) continue;
    fs::permissions(entry->path(), fs::perms::owner_all, fs::perm_options::add, error);
  }
}

}  // namespace

std::error_code removeTree(const std::string& folder) {
  std::error_code error;
  fs::remove_all(folder, error);
  if (!error) return error;
  openFolders(folder);
  fs::remove_all(folder, error);
  return error;
}

ArchiveTest::ArchiveTest() {
  ::umask(022);
  std::string pattern = (fs::temp_directory_path() / "archive.XXXXXX").string();
  folder_ = ::mkdtemp(pattern.data());
  makeFile("outside/file", "to be left alone");
  makeFolder("outside/folder");
  setModified(path("outside/file"), 1'000'000'000);
}

ArchiveTest::~ArchiveTest() {
  const std::error_code error = removeTree(folder_);
  EXPECT_FALSE(error) << error.message();
}

std::string ArchiveTest::makeFile(const std::string& name, const std::string& contents) const {
  fs::create_directories(fs::path(path(name)).parent_path());
  writeFile(path(name), contents);
  return path(name);
}

std::string ArchiveTest::makeFolder(const std::string& name, mode_t mode) const {
  fs::create_directories(path(name));
  EXPECT_EQ(::chmod(path(name).c_str(), mode), 0);
  return path(name);
}

std::string ArchiveTest::makeLink(const std::string& name, const std::string& target) const {
  fs::create_directories(fs::path(path(name)).parent_path());
  EXPECT_EQ(::symlink(target.c_str(), path(name).c_str()), 0);
  return path(name);
}

linux_::ArchiveRun ArchiveTest::run() {
  return {[this](const std::string& line) { leftOut.push_back(line); }, isStopped};
}

platform::Status ArchiveTest::pack(const std::string& item, const std::string& archive, linux_::KeepParent keepParent) {
  return linux_::packItem(item, archive, keepParent, run());
}

platform::Status ArchiveTest::unpack(const std::string& archive, const std::string& folder) {
  return linux_::unpackArchive(archive, folder, run());
}

}  // namespace qm::testing
