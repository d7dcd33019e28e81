// SPDX-License-Identifier: MIT
#include "Platform/posix/TreeCopy.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <map>
#include <string_view>
#include <utility>
#include <vector>

#include "Platform/posix/ItemCopy.h"
#include "Platform/posix/OwnItem.h"
#include "Platform/posix/RenameWithoutReplacing.h"
#include "Platform/posix/TemporaryName.h"
#include "Platform/posix/TreeRemoval.h"
#include "Platform/posix/TreeWalk.h"

namespace qm::posix {
namespace {

/// An error on the copy's side must never be mistaken for an item that has vanished from the source.
int destinationError(int error) { return error == ENOENT ? ESTALE : error; }

/// Where files with several hard links were copied to, so that the copy has one file with as many links.
class CopiedFiles {
 public:
  const std::string* find(const struct stat& file) const {
    const auto found = paths_.find({file.st_dev, file.st_ino});
    return found == paths_.end() ? nullptr : &found->second;
  }
  void add(const struct stat& file, std::string path) {
    paths_.emplace(std::pair(file.st_dev, file.st_ino), std::move(path));
  }

 private:
  std::map<std::pair<dev_t, ino_t>, std::string> paths_;
};

/// Builds the copy during a walk of the source.
class CopyVisitor : public TreeVisitor {
 public:
  CopyVisitor(int toFolder, std::string name, CopyObserver& observer)
      : start_(toFolder), topName_(std::move(name)), observer_(observer), copier_(observer) {}

  int begin() { return to_.start(start_); }

  /// The copy's top folder, for the steps after the walk; none if it was not created.
  UniqueFd takeMade() { return std::move(made_); }

  /// The walk has reached the copy itself, because the destination is inside the source by way of another mount.
  bool intoItself() const { return intoItself_; }

  int entered(const FolderChain& chain, const std::string& name) override {
    const bool top = folders_.empty();
    if (const int error = observer_.itemBegins(relativePath(), top ? "" : name)) return error;
    if (!top && chain.identity().sameFolder(copy_)) {
      intoItself_ = true;
      return EINVAL;
    }
    struct stat attributes {};
    if (::fstat(chain.folder(), &attributes) != 0) return errno;
    if (const int error = makeFolder(top ? topName_ : name)) return destinationError(error);
    if (const int error = top ? beginWithTop() : 0) return error;
    folders_.push_back(attributes);
    copyPath_ += (top ? "" : "/") + (top ? topName_ : name);
    observer_.itemCopied();
    return 0;
  }

  int item(int folder, const std::string& name) override {
    const int error = observer_.itemBegins(relativePath(), name);
    return error == 0 ? copyAnything({folder, name}) : error;
  }

  int regularFile(int folder, const std::string& name) override {
    if (const int error = observer_.itemBegins(relativePath(), name)) return error;
    SourceFile source;
    // If it is no longer a regular file, its present type decides.
    return openSourceFile({folder, name}, source) == 0 ? copyFile(source, name) : copyAnything({folder, name});
  }

  int left(int, int folder, const std::string&) override {
    UniqueFd copy;
    if (const int error = to_.leave(copy)) return destinationError(error);
    const struct stat attributes = folders_.back();
    folders_.pop_back();
    copyPath_.erase(folders_.empty() ? 0 : copyPath_.rfind('/'));
    int error = copyAttributes(folder, copy.get(), attributes);
    // The top folder still has to be renamed.
    if (error == 0 && !folders_.empty()) error = copyFlags(copy.get(), attributes);
    return destinationError(error);
  }

  int cannotEnter(int, const std::string&, int error) override { return error == ENOENT && made_ ? 0 : error; }

 private:
  int makeFolder(const std::string& name) {
    if (::mkdirat(to_.folder(), name.c_str(), S_IRWXU) != 0) return errno;
    const int error = to_.enter(name.c_str());
    // This can only remove an empty folder.
    if (error != 0) ::unlinkat(to_.folder(), name.c_str(), AT_REMOVEDIR);
    return error;
  }

  /// Needed only for the top: below it, others have no rights in the parent folder.
  int beginWithTop() {
    if (const int error = checkOwnFolder(start_, to_.folder())) return error;
    made_ = duplicate(to_.folder());
    if (!made_) return errno;
    copy_ = to_.identity();
    dropInheritedAccess(to_.folder());
    return 0;
  }

  int copyAnything(ItemName from) {
    struct stat attributes {};
    int error = errorOf(::fstatat(from.folder, from.name.c_str(), &attributes, AT_SYMLINK_NOFOLLOW));
    if (error == 0 && S_ISDIR(attributes.st_mode)) return ESTALE;  // it has just replaced something else
    if (error == 0 && !S_ISREG(attributes.st_mode))
      return ended(ItemCopier::copyOther(from, {to_.folder(), from.name}, attributes, InheritedAccess::None));
    SourceFile source;
    if (error == 0) error = openSourceFile(from, source);
    if (error == ENOENT) return 0;  // it has vanished
    return error == 0 ? copyFile(source, from.name) : error;
  }

  int copyFile(const SourceFile& source, const std::string& name) {
    const bool shared = source.attributes.st_nlink > 1;
    if (shared && linkToCopy(source.attributes, name)) {
      observer_.itemCopied();
      return observer_.bytesCopied(static_cast<std::uint64_t>(source.attributes.st_size));
    }
    const int error = ended(copier_.copyFile(source, {to_.folder(), name}, InheritedAccess::None));
    if (error == 0 && shared) copied_.add(source.attributes, copyPath_ + "/" + name);
    return error;
  }

  int ended(const ItemCopyResult& result) {
    if (result.vanished) return 0;
    if (result.error == 0) observer_.itemCopied();
    return destinationError(result.error);
  }

  /// The current folder, relative to the item that the copy was requested for.
  std::string_view relativePath() const {
    return std::string_view(copyPath_).substr(std::min(copyPath_.size(), topName_.size()));
  }

  /// If linking fails, for whatever reason, the file is copied like any other.
  bool linkToCopy(const struct stat& file, const std::string& name) const {
    const std::string* path = copied_.find(file);
    return path != nullptr && ::linkat(start_, path->c_str(), to_.folder(), name.c_str(), 0) == 0;
  }

  const int start_;
  const std::string topName_;
  CopyObserver& observer_;
  ItemCopier copier_;
  FolderChain to_;
  FolderIdentity copy_;
  UniqueFd made_;
  bool intoItself_ = false;
  std::vector<struct stat> folders_;  ///< of the source, as they were entered
  std::string copyPath_;              ///< of the copy's current folder
  CopiedFiles copied_;
};

FileError copyFolder(const Place& source, int toFolder, const std::string& name, CopyObserver& observer,
                     UniqueFd& made) {
  CopyVisitor visitor(toFolder, name, observer);
  if (const int error = visitor.begin()) return {error, {}, FileError::Side::Destination};
  FileError error = walkTree(source.folder.get(), source.name, visitor);
  made = visitor.takeMade();
  return visitor.intoItself() ? FileError(EINVAL, {}, FileError::Side::Itself) : error;
}

/// Anything but a folder.
FileError copyLoneItem(const Place& source, const struct stat& attributes, ItemName to, CopyObserver& observer,
                       UniqueFd& made) {
  if (const int error = observer.itemBegins({}, {})) return error;
  const ItemName from{source.folder.get(), source.name};
  ItemCopyResult result;
  if (S_ISREG(attributes.st_mode)) {
    SourceFile file;
    if (const int error = openSourceFile(from, file)) return error;
    result = ItemCopier(observer).copyFile(file, to, InheritedAccess::Possible);
  } else {
    result = ItemCopier::copyOther(from, to, attributes, InheritedAccess::Possible);
  }
  made = std::move(result.made);
  if (result.error == 0) observer.itemCopied();
  return result.error;
}

/// Copies to a name that is free.
FileError copyItem(const Place& source, const struct stat& attributes, ItemName to, CopyObserver& observer,
                   UniqueFd& made) {
  return S_ISDIR(attributes.st_mode) ? copyFolder(source, to.folder, to.name, observer, made)
                                     : copyLoneItem(source, attributes, to, observer, made);
}

bool isTaken(const Place& place) {
  struct stat attributes {};
  return ::fstatat(place.folder.get(), place.name.c_str(), &attributes, AT_SYMLINK_NOFOLLOW) == 0;
}

/// Goes up to the parent; false at the root and on an error.
bool climb(UniqueFd& folder, FolderIdentity& identity) {
  UniqueFd above(::openat(folder.get(), "..", lookupFlag() | O_DIRECTORY | O_CLOEXEC));
  FolderIdentity found;
  if (!above || identify(above.get(), found) != 0 || found.sameFolder(identity)) return false;
  folder = std::move(above);
  identity = found;
  return true;
}

FileError tooLongName(const Place& destination) {
  // The copy has another name at first, so a problem with the final name would only show at the end.
  struct stat attributes {};
  const bool tooLong =
      ::fstatat(destination.folder.get(), destination.name.c_str(), &attributes, AT_SYMLINK_NOFOLLOW) != 0 &&
      errno == ENAMETOOLONG;
  return tooLong ? FileError(ENAMETOOLONG, {}, FileError::Side::Destination) : FileError();
}

}  // namespace

bool isWithin(int folder, int parent, const std::string& name) {
  const UniqueFd wanted(::openat(parent, name.c_str(), lookupFlag() | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  FolderIdentity wantedIdentity;
  FolderIdentity current;
  if (!wanted || identify(wanted.get(), wantedIdentity) != 0) return false;
  UniqueFd at = duplicate(folder);
  if (!at || identify(at.get(), current) != 0) return false;
  do {
    if (current.sameFolder(wantedIdentity)) return true;
  } while (climb(at, current));
  return false;
}

NewCopy::~NewCopy() {
  if (made_) static_cast<void>(removeOwnTree(destination_.folder.get(), name_, made_.get()));
}

FileError NewCopy::make(const Place& source, CopyObserver& observer) {
  struct stat attributes {};
  if (::fstatat(source.folder.get(), source.name.c_str(), &attributes, AT_SYMLINK_NOFOLLOW) != 0) return errno;
  if (isTaken(destination_)) return EEXIST;
  if (FileError error = tooLongName(destination_)) return error;
  const int folder = destination_.folder.get();
  if (S_ISDIR(attributes.st_mode) && isWithin(folder, source.folder.get(), source.name)) {
    return {EINVAL, {}, FileError::Side::Itself};
  }
  // Items created there could neither be renamed nor removed.
  if (isProtected(folder, ".")) return {EPERM, {}, FileError::Side::Destination};
  attributes_ = attributes;
  if (FileError error = copyItem(source, attributes, {folder, name_}, observer, made_)) return error;
  return observer.bytesCopied(0);  // the last opportunity to cancel
}

FileError NewCopy::publish() {
  const int folder = destination_.folder.get();
  if (!isInPlace()) return ESTALE;
  int error = renameWithoutReplacing({folder, name_}, {folder, destination_.name});
  if (error == 0) {
    name_ = destination_.name;
    error = copyFlags(made_.get(), attributes_);
  }
  return {error, {}, FileError::Side::Destination};
}

bool NewCopy::isInPlace() const { return isStill(made_.get(), destination_.folder.get(), name_); }

FileError copyTree(const Place& source, const Place& destination, CopyObserver& observer) {
  NewCopy copy(destination);
  FileError error = copy.make(source, observer);
  if (!error) error = copy.publish();
  if (!error) copy.keep();
  return error;
}

}  // namespace qm::posix
