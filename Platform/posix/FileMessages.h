// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "Platform/Status.h"
#include "Platform/posix/FileError.h"

namespace qm::posix {

/// The requested action, for the sentences shown to people.
enum class FileAction { Move, Link, Copy, CreateFolder, Remove, Write, Lock, Unlock, Date, Label };

/// Success, or the failure with its sentence. `path` is the item that the caller named, `destination` its target ("" if
/// the action has none).
platform::Status statusOf(FileAction action, const FileError& error, const std::string& path,
                          const std::string& destination = {});

}  // namespace qm::posix
