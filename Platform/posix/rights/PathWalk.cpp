// SPDX-License-Identifier: MIT
#include "Platform/posix/rights/PathWalk.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <vector>

#include "Platform/posix/ErrorWords.h"
#include "Platform/posix/SystemFileCalls.h"
#include "Platform/posix/rights/SystemRights.h"

namespace qm::posix {
namespace {

constexpr int kMostLinks = 40;  // the system's own limit

UniqueFd openRoot() { return UniqueFd(::open("/", lookupFlag() | O_DIRECTORY | O_CLOEXEC)); }

// The components of a path in reverse order.
std::vector<std::string> namesBackwards(const std::string& path) {
  std::vector<std::string> names;
  for (std::size_t end = path.size(); end > 0;) {
    const std::size_t slash = path.rfind('/', end - 1);
    const std::size_t start = slash == std::string::npos ? 0 : slash + 1;
    if (end > start && path.compare(start, end - start, ".") != 0) names.push_back(path.substr(start, end - start));
    end = start == 0 ? 0 : start - 1;
  }
  return names;
}

class Walk {
 public:
  Walk(const std::string& path, LastLink lastLink, bool makesFolders)
      : path_(path), lastLink_(lastLink), makesFolders_(makesFolders) {}

  Answer<PinnedPlace> run() {
    if (!path_.starts_with('/')) return Refusal{EINVAL, path_ + " is not an absolute path"};
    place_.folder = openRoot();
    place_.withTrailingSlash = path_.size() > 1 && (path_.ends_with('/') || path_.ends_with("/."));
    pending_ = namesBackwards(path_);
    if (pending_.empty()) return Refusal{EINVAL, "/ is no item of a folder"};
    while (!pending_.empty()) {
      place_.name = std::move(pending_.back());
      pending_.pop_back();
      if (auto refusal = step()) return std::move(*refusal);
    }
    if (auto refusal = judge()) return std::move(*refusal);
    return std::move(place_);
  }

 private:
  using Result = std::optional<Refusal>;

  Result step() {
    const auto folder = statusOf(place_.folder.get());
    if (!folder) return failure(errno);
    if (place_.name == "..") return goUp();
    if (place_.name.size() > NAME_MAX) return failure(ENAMETOOLONG);
    if (Result problem = look()) return problem;
    if (!place_.exists()) return pending_.empty() ? Result() : failure(ENOENT);
    place_.writers.add(writersOfEntry(place_.folder.get(), *folder, place_.itemStatus));
    if (place_.isLink() && (!pending_.empty() || lastLink_ == LastLink::IsFollowed)) return follow();
    if (!pending_.empty()) return enter();
    return std::nullopt;
  }

  // A missing item is not a failure yet.
  Result look() {
    place_.itemStatus = {};
    place_.item.reset(openItself(place_.folder.get(), place_.name.c_str()));
    if (!place_.item && errno == ENOENT && makesFolders_ && !pending_.empty()) return makeFolder();
    if (!place_.item && errno == EOPNOTSUPP && pending_.empty()) return lookByName();
    if (!place_.item) return errno == ENOENT ? Result() : failure(errno);
    const auto status = statusOf(place_.item.get());
    if (!status) return failure(errno);
    place_.itemStatus = *status;
    return std::nullopt;
  }

  // Some systems cannot open a socket. Its status by name suffices, because a socket can only be the end of a path.
  Result lookByName() {
    const auto status = statusIn(place_.folder.get(), place_.name.c_str());
    if (!status || !S_ISSOCK(status->st_mode)) return failure(EOPNOTSUPP);
    place_.itemStatus = *status;
    return std::nullopt;
  }

  Result makeFolder() {
    if (Result refusal = judge()) return refusal;
    if (::mkdirat(place_.folder.get(), place_.name.c_str(), 0755) != 0 && errno != EEXIST) return failure(errno);
    place_.item.reset(openItself(place_.folder.get(), place_.name.c_str()));
    const auto status = place_.item ? statusOf(place_.item.get()) : std::nullopt;
    if (!status) return failure(errno);
    place_.itemStatus = *status;
    return std::nullopt;
  }

  Result enter() {
    if (!place_.isFolder()) return failure(ENOTDIR);
    place_.folder = std::move(place_.item);
    return std::nullopt;
  }

  // Whoever can move a folder decides what its parent is.
  Result goUp() {
    if (!place_.writers.none()) return refused(EPERM, "it goes up from a folder that users other than root can move");
    if (pending_.empty()) return refused(EINVAL, "it names no item");
    UniqueFd above(::openat(place_.folder.get(), "..", lookupFlag() | O_DIRECTORY | O_CLOEXEC));
    if (!above) return failure(errno);
    place_.folder = std::move(above);
    return std::nullopt;
  }

  Result follow() {
    const auto text = readLink(place_.item.get(), place_.folder.get(), place_.name);
    if (!text) return failure(errno);
    if (++links_ > kMostLinks) return failure(ELOOP);
    const auto names = namesBackwards(*text);
    if (text->starts_with('/')) place_.folder = openRoot();
    lastLinkFollowed_ = lastLinkFollowed_ || pending_.empty();
    pending_.insert(pending_.end(), names.begin(), names.end());
    place_.item.reset();
    place_.throughUntrustedLink = place_.throughUntrustedLink || !place_.writers.none();
    return pending_.empty() ? refused(EINVAL, "its link names no item") : Result();
  }

  // A link that a non-root user could have planted is acceptable only if its target belongs to that same user. The
  // target is the item itself if the final component was a link or is a folder that may be written into; otherwise it
  // is the parent folder.
  Result judge() {
    if (!place_.throughUntrustedLink) return std::nullopt;
    const bool mayBePutInto = lastLink_ == LastLink::IsFollowed && place_.isFolder();
    const bool countsItself = place_.exists() && (lastLinkFollowed_ || mayBePutInto);
    const auto target = countsItself ? std::optional(place_.itemStatus) : statusOf(place_.folder.get());
    if (!target) return failure(errno);
    if (place_.writers.only(target->st_uid)) return std::nullopt;
    return refused(ELOOP, "a link in the path could have been planted by a user with fewer rights");
  }

  Result failure(int error) const { return refusalFor(error, path_); }
  Result refused(int error, const std::string& why) const { return Refusal{error, path_ + ": " + why}; }

  const std::string& path_;
  const LastLink lastLink_;
  const bool makesFolders_;
  PinnedPlace place_;
  std::vector<std::string> pending_;  // the next name last
  int links_ = 0;
  bool lastLinkFollowed_ = false;
};

}  // namespace

Refusal refusalFor(int error, const std::string& path) { return {error, withSystemMessage(path, error)}; }

std::string PinnedPlace::shown() const {
  const std::string above = shownPath(folder.get());
  if (above.empty()) return {};
  return (above == "/" ? "" : above) + "/" + name;
}

Answer<PinnedPlace> pinPath(const std::string& path, LastLink lastLink) { return Walk(path, lastLink, false).run(); }

Answer<PinnedPlace> pinPathMakingFolders(const std::string& path) { return Walk(path, LastLink::Stays, true).run(); }

UniqueFd openFolderThroughRootsLinks(const std::string& path) {
  Answer<PinnedPlace> place = pinPath(path, LastLink::IsFollowed);
  const bool isMissing = place && !place->item;
  const bool isFolder = place && place->isFolder();
  if (isFolder && !place->throughUntrustedLink) return std::move(place->item);
  errno = !place ? place.problem().error : isMissing ? ENOENT : isFolder ? ELOOP : ENOTDIR;
  return UniqueFd();
}

}  // namespace qm::posix
