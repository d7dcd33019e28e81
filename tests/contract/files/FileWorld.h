// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "Platform/FileOperations.h"
#include "Platform/FileSystem.h"
#include "tests/fakes/FakeMainThread.h"

namespace qm::testing {

/// A disk with a file system service and a copying service on it, real or fake, for an ordinary user. It has four
/// folders, each on another volume:
/// - home: the user's own folder, empty
/// - volume: empty and the user's
/// - small: empty and the user's, on a volume that takes 64 KiB
/// - read-only: on a volume that cannot be changed, with "file" ("kept") and "folder/inside"
/// Arranging and looking is done past the service, with the user's own items.
class FileWorld {
 public:
  virtual ~FileWorld() = default;

  virtual platform::FileSystem& files() = 0;
  virtual platform::FileOperations& operations() = 0;
  /// The calling thread becomes the main thread of the copying service.
  virtual FakeMainThread& mainThread() = 0;
  std::string home(const std::string& name = "") const { return at("home", name); }
  std::string volume(const std::string& name = "") const { return at("volume", name); }
  std::string small(const std::string& name = "") const { return at("small", name); }
  std::string readOnly(const std::string& name = "") const { return at("read-only", name); }
  /// Where the volume itself is mounted: `volume()` or a folder above it.
  virtual std::string mountPoint() const { return volume(); }
  /// Whether names may be any bytes. Otherwise they must be UTF-8.
  virtual bool takesAnyBytes() const { return true; }

  virtual void addFile(const std::string& path, const std::string& contents = "") = 0;
  virtual void addFolder(const std::string& path) = 0;
  virtual void addLink(const std::string& path, const std::string& target) = 0;
  virtual void setReadable(const std::string& path, bool readable) = 0;
  virtual void setWritable(const std::string& path, bool writable) = 0;
  virtual void setSearchable(const std::string& path, bool searchable) = 0;
  virtual void setExecutable(const std::string& path, bool executable) = 0;
  /// Seconds since 1970.
  virtual void setModificationDate(const std::string& path, long seconds) = 0;

  /// Whether the item itself is there; a link is not followed.
  virtual bool has(const std::string& path) = 0;
  virtual std::optional<std::string> contents(const std::string& path) = 0;
  /// Everything below a folder, sorted, relative to it: "file", "folder/", "link -> target".
  virtual std::vector<std::string> tree(const std::string& folder) = 0;

 private:
  /// One of the four.
  virtual std::string folder(const std::string& area) const = 0;

  std::string at(const std::string& area, const std::string& name) const {
    return folder(area) + (name.empty() ? "" : "/" + name);
  }
};

using FileCase = std::function<void(FileWorld&)>;

/// Runs a case on a fresh disk of one kind.
struct FileWorldKind {
  const char* name;
  void (*run)(const FileCase&);
};

void runInFakeWorld(const FileCase& body);
/// In a private machine, as an ordinary user; or with this process's rights on the volumes below the folder that
/// QM_TEST_VOLUMES names.
void runInRealWorld(const FileCase& body);

}  // namespace qm::testing
