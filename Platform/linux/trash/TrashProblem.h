// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "Platform/Status.h"
#include "Platform/foundation/Outcome.h"
#include "Platform/posix/ErrorWords.h"

namespace qm::linux_ {

/// Why an item stays: the system's error number, and the words that follow "because".
struct TrashProblem {
  int code = 0;
  std::string because;
};

/// The problem for an error number of a call that concerned `subject`; if there are no words for that subject, those
/// for the item are used. `folder` is the Trash folder that the words may name.
TrashProblem problemOf(int code, posix::Subject subject, const std::string& folder = {});

/// The same for the item itself.
TrashProblem itemProblem(int code);

/// The problem of a Trash folder that cannot be created, opened or written to.
TrashProblem trashFolderProblem(int code, const std::string& folder);

/// The sentences for people about an item that cannot be moved to the Trash, be looked up there, or be put back.
/// Control characters of the name are shown as "?".
platform::Status trashFailure(const std::string& name, const TrashProblem& problem);
platform::Status lookFailure(const std::string& name, const TrashProblem& problem);
platform::Status putBackFailure(const std::string& name, const TrashProblem& problem);

/// A value, or why an item stays.
template <class Value>
using TrashAnswer = foundation::Outcome<Value, TrashProblem>;

}  // namespace qm::linux_
