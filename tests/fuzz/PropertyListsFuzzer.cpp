// SPDX-License-Identifier: MIT

// Feeds the preferences that switch logging off: the input is the file, and everything up to the log's decision is
// real. The decision must stay the same when what was read is written again, in both formats.

#include <plist/plist.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

#include "Platform/linux/system/PlistPropertyLists.h"
#include "Shared/QMLog.h"
#include "tests/fakes/FakePlatform.h"
#include "tests/support/ScopedPlatform.h"
#include "tests/support/SingletonReset.h"

namespace {

using qm::SingletonReset;
using qm::platform::PropertyList;
using qm::platform::PropertyListValue;

constexpr const char* kKey = "disable-logging";

void require(bool condition) {
  if (!condition) std::abort();
}

// A file that is not on a disk.
class MemoryFile {
 public:
  explicit MemoryFile(std::string_view bytes) : fd_(::memfd_create("preferences", MFD_CLOEXEC)) {
    require(fd_ >= 0);
    require(::write(fd_, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()));
  }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;
  ~MemoryFile() { ::close(fd_); }

  std::string path() const { return "/proc/self/fd/" + std::to_string(fd_); }

 private:
  int fd_;
};

// Reads the one file, whatever path is requested.
class OneFile : public qm::platform::PropertyLists {
 public:
  explicit OneFile(std::string_view bytes) : file_(bytes) {}
  std::optional<PropertyList> read(const std::string& /*path*/) const override { return reader_.read(file_.path()); }

 private:
  MemoryFile file_;
  qm::linux_::PlistPropertyLists reader_;
};

bool switchesLoggingOff(std::string_view bytes) {
  qm::testing::FakePlatform fakes;
  OneFile file(bytes);
  fakes.platform.propertyLists = &file;
  const qm::testing::ScopedPlatform installed(fakes.platform);
  const SingletonReset<QMLog> reset;
  QMLog::createNewLog();
  return QMLog::sharedController()->loggingDisabled();
}

struct MakeNode {
  plist_t operator()(std::monostate /*other*/) const { return ::plist_new_data("x", 1); }
  plist_t operator()(const std::string& text) const {
    const bool isPlain = text.find_first_not_of("0123456789") == std::string::npos;
    return ::plist_new_string(isPlain ? text.c_str() : "other");
  }
  plist_t operator()(bool flag) const { return ::plist_new_bool(flag ? 1 : 0); }
  plist_t operator()(std::int64_t number) const { return ::plist_new_uint(static_cast<std::uint64_t>(number)); }
  plist_t operator()(double number) const { return ::plist_new_real(number); }
};

std::string written(const PropertyListValue& value, bool binary) {
  const std::unique_ptr<void, void (*)(plist_t)> root(::plist_new_dict(), ::plist_free);
  ::plist_dict_set_item(root.get(), kKey, std::visit(MakeNode(), value));
  char* bytes = nullptr;
  std::uint32_t size = 0;
  binary ? ::plist_to_bin(root.get(), &bytes, &size) : ::plist_to_xml(root.get(), &bytes, &size);
  require(bytes != nullptr);
  std::string text(bytes, size);
  std::free(bytes);
  return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const bool off = switchesLoggingOff(bytes);
  const auto entries = OneFile(bytes).read({});
  const auto found = entries ? entries->find(kKey) : PropertyList::const_iterator();
  if (!entries || found == entries->end()) {
    require(!off);
    return 0;
  }
  require(switchesLoggingOff(written(found->second, true)) == off);
  require(switchesLoggingOff(written(found->second, false)) == off);
  return 0;
}
