#include "Platform/linux/trash/TrashProblem.h"

#include <cerrno>
#include <system_error>

#include "Platform/foundation/ControlCharacters.h"

namespace qm::linux_ {
namespace {

std::string systemWords(int code) { return "of a system error (" + std::generic_category().message(code) + ")"; }

std::string itemWords(int code) {
  switch (code) {
    case ENOENT:
      return "it doesn’t exist";
    case EACCES:
      return "you don’t have permission to move it";
    case EPERM:
      return "it is locked or belongs to somebody else";
    case EEXIST:
      return "something else is there now";
    case EBUSY:
      return "a volume is mounted there";
    case EROFS:
      return "its volume can’t be changed";
    case EXDEV:
      return "its volume has no Trash that it can be moved to";
    case ENOSPC:
    case EDQUOT:
      return "there is no space left on its volume";
    default:
      return systemWords(code);
  }
}

std::string folderWords(int code, const std::string& quoted) {
  switch (code) {
    case EACCES:
      return "you don’t have permission to use the Trash folder " + quoted;
    case EPERM:
      return "the Trash folder " + quoted + " belongs to somebody else";
    case ENOTDIR:
    case ELOOP:
      return quoted + " is not a real folder";
    default:
      return itemWords(code);
  }
}

std::string quotedForPeople(const std::string& name) {
  return "“" + foundation::replacingControlCharacters(name, '?') + "”";
}

platform::Status failure(const std::string& name, const std::string& what, const TrashProblem& problem) {
  return platform::Status::failed(problem.code,
                                  quotedForPeople(name) + " couldn’t be " + what + " because " + problem.because + ".");
}

}  // namespace

TrashProblem itemProblem(int code) { return {code, itemWords(code)}; }

TrashProblem trashFolderProblem(int code, const std::string& folder) {
  return {code, folderWords(code, quotedForPeople(folder))};
}

platform::Status trashFailure(const std::string& name, const TrashProblem& problem) {
  return failure(name, "moved to the Trash", problem);
}

platform::Status lookFailure(const std::string& name, const TrashProblem& problem) {
  return failure(name, "looked for in the Trash", problem);
}

platform::Status putBackFailure(const std::string& name, const TrashProblem& problem) {
  return failure(name, "put back", problem);
}

}  // namespace qm::linux_
