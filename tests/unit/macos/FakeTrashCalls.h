// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "Platform/macos/SystemCalls.h"

namespace qm::macos {

using Number = std::pair<dev_t, ino_t>;

/// The fake calls of the system, and the notes of the items.
struct MadeUp {
  TrashAnswer answer;
  std::string trash;  // the folder to which the call moves an item; "" if it fails
  std::vector<std::string> asked;
  std::map<Number, std::string> notes;
  int noteError = 0;  // why no note can be written
  int notesRemoved = 0;
  std::string volume;     // that every folder is on
  int writeOutError = 0;  // of every volume
  std::vector<std::string> writtenOut;
};
inline MadeUp madeUp;

Number numberOf(int item);

}  // namespace qm::macos
