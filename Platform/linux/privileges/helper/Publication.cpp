#include "Platform/linux/privileges/helper/Publication.h"

#include <cerrno>
#include <cstring>

#include "Platform/linux/privileges/helper/FolderEntries.h"
#include "Platform/linux/privileges/helper/Ownership.h"

namespace qm::linux_ {
namespace {

constexpr int kMostNames = 64;

/// The names that an item may get, the first its own.
std::string numbered(const std::string& name, int number) {
  return number == 1 ? name : name + " " + std::to_string(number);
}

}  // namespace

std::optional<Refusal> Publication::prepare() {
  Answer<Staging> staging = Staging::make(folder());
  if (!staging) return staging.refusal();
  staging_.emplace(std::move(*staging));
  return std::nullopt;
}

void Publication::handOverTo(uid_t person, std::string origin) {
  origin_ = std::move(origin);
  trash_ = TrashHandover::into(folder(), person);
}

std::string Publication::finish() const {
  if (!statusIn(stagingFolder(), name_.c_str())) return {};
  return trash_ ? publishInTrash() : publishInPlace();
}

std::string Publication::publishInPlace() const {
  const int error = staging_->publish(name_);
  if (error == 0) return {};
  for (int number = 2; number < kMostNames; ++number) {
    const std::string free = numbered(name_, number);
    if (staging_->publishAs(name_, free) == 0) return notPublished(error, free);
  }
  return notPublished(error, shownPath(stagingFolder()));
}

std::string Publication::publishInTrash() const {
  const int given = trash_->giveFolders(stagingFolder(), name_);
  int error = EEXIST;
  for (int number = 1; error == EEXIST && number < kMostNames; ++number) {
    const std::string name = numbered(name_, number);
    int described = 0;
    error = publishDescribed(name, &described);
    if (error == 0) return arrived(name, given != 0 ? given : described);
  }
  return notPublished(error, shownPath(stagingFolder()));
}

// The description comes first: by it the name is taken for everybody who keeps to the freedesktop.org rules.
int Publication::publishDescribed(const std::string& name, int* described) const {
  *described = trash_->describe(name, origin_);
  if (*described == EEXIST) return EEXIST;
  const int error = staging_->publishAs(name_, name);
  if (error != 0 && *described == 0) trash_->forget(name);
  return error;
}

std::string Publication::notPublished(int error, const std::string& where) const {
  return "\"" + name_ + "\" could not take its place (" + std::strerror(error) + "); it is now: " + where;
}

std::string Publication::arrived(const std::string& name, int problem) const {
  if (name != name_) {
    const std::string note = "\"" + name_ + "\" is taken; it is now: " + name;
    return problem == 0 ? note : note + ", which the desktop may not be able to put back";
  }
  if (problem == 0) return {};
  return "\"" + name_ + "\" could not be handed over completely: " + std::strerror(problem) + "; ";
}

}  // namespace qm::linux_
