// SPDX-License-Identifier: MIT
#include "Platform/linux/trash/TrashProblem.h"

#include <string_view>

#include "Platform/foundation/Format.h"

namespace qm::linux_ {

using posix::quoted;
using posix::Subject;

namespace {

platform::Status failure(const std::string& name, const std::string& what, const TrashProblem& problem) {
  return platform::Status::failed(problem.code,
                                  quoted(name) + " couldn’t be " + what + " because " + problem.because + ".");
}

}  // namespace

TrashProblem problemOf(int code, Subject subject, const std::string& folder) {
  std::string_view words = posix::messageFor(code, subject);
  if (words.empty()) words = posix::messageFor(code, Subject::TrashedItem);
  if (words.empty()) return {code, "of a system error (" + posix::systemMessage(code) + ")"};
  return {code, foundation::formatted(words, quoted(folder))};
}

TrashProblem itemProblem(int code) { return problemOf(code, Subject::TrashedItem); }

TrashProblem trashFolderProblem(int code, const std::string& folder) {
  return problemOf(code, Subject::TrashFolder, folder);
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
