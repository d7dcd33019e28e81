#include "Platform/linux/trash/TrashProblem.h"

#include <string_view>

#include "Platform/foundation/Format.h"

namespace qm::linux_ {

using posix::quoted;
using posix::Subject;

TrashProblem problemOf(int code, Subject subject, const std::string& folder) {
  std::string_view words = posix::wordsFor(code, subject);
  if (words.empty()) words = posix::wordsFor(code, Subject::TrashedItem);
  if (words.empty()) return {code, "of a system error (" + posix::systemWords(code) + ")"};
  return {code, foundation::formatted(words, quoted(folder))};
}

TrashProblem itemProblem(int code) { return problemOf(code, Subject::TrashedItem); }

TrashProblem trashFolderProblem(int code, const std::string& folder) {
  return problemOf(code, Subject::TrashFolder, folder);
}

platform::Status trashFailure(const std::string& name, const TrashProblem& problem) {
  return platform::Status::failed(problem.code,
                                  quoted(name) + " couldn’t be moved to the Trash because " + problem.because + ".");
}

}  // namespace qm::linux_
