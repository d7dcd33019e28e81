// SPDX-License-Identifier: MIT

// Unpacks any bytes, into a new folder and into one that contains a link to the outside. Nothing may ever be created or
// changed outside these folders, and the new one exists exactly if the run has succeeded.

#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <system_error>

#include "Platform/linux/archives/Unpacking.h"

namespace {

namespace fs = std::filesystem;
using Names = std::set<std::string>;

constexpr rlim_t kLargestFile = 1U << 20U;

void require(bool condition) {
  if (!condition) std::abort();
}

/// In memory, if there is a volume of that kind.
std::string makeScratch() {
  std::error_code error;
  const bool hasMemory = fs::is_directory("/dev/shm", error);
  std::string pattern = (hasMemory ? fs::path("/dev/shm") : fs::temp_directory_path()) / "unzip.XXXXXX";
  require(::mkdtemp(pattern.data()) != nullptr);
  return pattern;
}

void writeFile(const std::string& path, const std::string& bytes) {
  std::ofstream file(path, std::ios::binary);
  file << bytes;
  require(file.flush().good());
}

std::string contentsOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

Names namesIn(const std::string& folder) {
  Names names;
  for (const auto& entry : fs::directory_iterator(folder)) names.insert(entry.path().filename());
  return names;
}

struct stat attributesOf(const std::string& path) {
  struct stat attributes {};
  require(::lstat(path.c_str(), &attributes) == 0);
  return attributes;
}

/// A folder for everything, with "outside", which must stay unchanged.
class Scratch {
 public:
  Scratch() {
    fs::create_directory(outside_);
    writeFile(outside_ + "/file", "to be left alone");
    file_ = attributesOf(outside_ + "/file");
    folder_ = attributesOf(outside_);
  }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
  ~Scratch() { fs::remove_all(path_); }

  void unpack(const std::string& bytes) {
    const std::string place = path_ + "/place";
    const qm::linux_::ArchiveRun run{[](const std::string& /*line*/) {}, [] { return false; }};
    fs::create_directories(place + "/there");
    fs::create_directory_symlink("../../outside", place + "/there/a");
    writeFile(path_ + "/zip", bytes);
    const bool isNew = qm::linux_::unpackArchive(path_ + "/zip", place + "/new", run).ok();
    (void)qm::linux_::unpackArchive(path_ + "/zip", place + "/there", run);
    require(namesIn(place) == (isNew ? Names{"new", "there"} : Names{"there"}));
    requireUnchanged();
    removePlace(place);
  }

 private:
  void requireUnchanged() const {
    require(namesIn(path_) == Names{"outside", "place", "zip"});
    require(namesIn(outside_) == Names{"file"});
    require(contentsOf(outside_ + "/file") == "to be left alone");
    requireSame(file_, attributesOf(outside_ + "/file"));
    requireSame(folder_, attributesOf(outside_));
  }

  static void requireSame(const struct stat& before, const struct stat& after) {
    require(before.st_ino == after.st_ino && before.st_mode == after.st_mode && before.st_nlink == after.st_nlink);
    require(before.st_ctim.tv_sec == after.st_ctim.tv_sec && before.st_ctim.tv_nsec == after.st_ctim.tv_nsec);
  }

  /// Folders may deny their owner access.
  static void removePlace(const std::string& place) {
    std::error_code error;
    fs::remove_all(place, error);
    if (!error) return;
    for (auto entry = fs::recursive_directory_iterator(place, error); entry != end(entry); entry.increment(error)) {
      if (entry->is_directory(error) && !entry->is_symlink(error)) ::chmod(entry->path().c_str(), S_IRWXU);
    }
    fs::remove_all(place, error);
    require(!error);
  }

  const std::string path_ = makeScratch();
  const std::string outside_ = path_ + "/outside";
  struct stat file_ {};
  struct stat folder_ {};
};

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  // Larger files fail.
  const rlimit limit{kLargestFile, kLargestFile};
  ::setrlimit(RLIMIT_FSIZE, &limit);
  ::signal(SIGXFSZ, SIG_IGN);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Scratch scratch;
  scratch.unpack(std::string(reinterpret_cast<const char*>(data), size));
  return 0;
}
