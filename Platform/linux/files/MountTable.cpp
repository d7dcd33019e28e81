// SPDX-License-Identifier: MIT
#include "Platform/linux/files/MountTable.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <string_view>

#include "Platform/foundation/PathComponents.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::linux_ {
namespace {

// One line of the table: "36 35 98:0 /root-within /mount-point options …".
struct Line {
  std::uint64_t mount = 0;
  std::string_view point;
};

std::string_view takeUntil(std::string_view& text, char end) {
  const std::size_t length = std::min(text.find(end), text.size());
  const std::string_view taken = text.substr(0, length);
  text.remove_prefix(std::min(length + 1, text.size()));
  return taken;
}

Line parse(std::string_view line) {
  Line result;
  const std::string_view id = takeUntil(line, ' ');
  std::from_chars(id.data(), id.data() + id.size(), result.mount);
  for (int field = 0; field < 3; ++field) takeUntil(line, ' ');
  result.point = takeUntil(line, ' ');
  return result;
}

bool isOctal(char c) { return c >= '0' && c <= '7'; }

bool startsEscape(std::string_view text) {
  return text.size() >= 4 && text[0] == '\\' && isOctal(text[1]) && isOctal(text[2]) && isOctal(text[3]);
}

// In the table, white space and backslashes are written as three octal digits.
std::string unescaped(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  while (!text.empty()) {
    const bool escape = startsEscape(text);
    result += escape ? static_cast<char>((text[1] - '0') * 64 + (text[2] - '0') * 8 + (text[3] - '0')) : text[0];
    text.remove_prefix(escape ? 4 : 1);
  }
  return result;
}

// A table of a few dozen mounts fits at once.
constexpr std::size_t kUsualTable = 16'384;

posix::UniqueFd openTable() { return posix::UniqueFd(::open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC)); }

std::string readTable(int table) {
  std::string text(kUsualTable, '\0');
  std::size_t length = 0;
  for (;;) {
    const ssize_t count = ::pread(table, text.data() + length, text.size() - length, static_cast<off_t>(length));
    if (count <= 0) break;
    length += static_cast<std::size_t>(count);
    if (length == text.size()) text.resize(2 * length);
  }
  text.resize(length);
  return text;
}

}  // namespace

std::optional<ItemIdentity> itemIdentity(int folder, const char* name) {
  constexpr unsigned wanted = STATX_TYPE | STATX_MODE | STATX_UID | STATX_INO | STATX_MNT_ID;
  struct statx found {};
  if (::statx(folder, name, AT_EMPTY_PATH | AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT, wanted, &found) != 0) return {};
  if ((found.stx_mask & wanted) != wanted) {
    errno = ENOTSUP;
    return {};
  }
  return ItemIdentity{found.stx_mnt_id, makedev(found.stx_dev_major, found.stx_dev_minor), found.stx_ino, found.stx_uid,
                      found.stx_mode};
}

MountTable::MountTable() : MountTable(openTable().get()) {}

MountTable::MountTable(int table) : text_(readTable(table)) {}

std::optional<std::string> MountTable::mountPoint(std::uint64_t mount) const {
  for (std::string_view rest = text_; !rest.empty();) {
    const Line line = parse(takeUntil(rest, '\n'));
    if (line.mount == mount) return unescaped(line.point);
  }
  return std::nullopt;
}

template <class IsWanted>
bool MountTable::hasMountAt(IsWanted isWanted) const {
  for (std::string_view rest = text_; !rest.empty();) {
    const std::string_view point = parse(takeUntil(rest, '\n')).point;
    const bool plain = point.find('\\') == std::string_view::npos;
    if (plain ? isWanted(point) : isWanted(unescaped(point))) return true;
  }
  return false;
}

bool MountTable::hasMountAtOrBelow(const std::string& path) const {
  return hasMountAt([&](std::string_view point) { return foundation::isAtOrBelow(point, path); });
}

bool MountTable::containsMountPoint(const std::string& path) const {
  return hasMountAt(
      [&](std::string_view point) { return foundation::isAtOrBelow(point, path) && point.size() > path.size(); });
}

std::shared_ptr<const MountTable> MountedVolumes::now() {
  const std::scoped_lock lock(mutex_);
  if (!file_) file_ = openTable();
  if (!table_ || !*table_ || haveChanged()) table_ = std::make_shared<const MountTable>(file_.get());
  return table_;
}

// The kernel reports each change since the last poll once to each open file.
bool MountedVolumes::haveChanged() const {
  pollfd table{file_.get(), POLLPRI, 0};
  return ::poll(&table, 1, 0) != 0;
}

}  // namespace qm::linux_
