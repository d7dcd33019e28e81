// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "Platform/FileReferences.h"

namespace qm::platform {

/// The status numbers of the desktop's services that are used by name. If the system reports another number, the caller
/// gets it unchanged.
using OSStatus = std::int32_t;
inline constexpr OSStatus noErr = 0;
inline constexpr OSStatus fnfErr = -43;            ///< there is no such item
inline constexpr OSStatus procNotFound = -600;     ///< no desktop is listening
inline constexpr OSStatus kLSUnknownErr = -10810;  ///< the application could not be registered
inline constexpr OSStatus kLSNotAnApplicationErr = -10811;
inline constexpr OSStatus kLSNoExecutableErr = -10827;

/// Identifies the item of an update notice. Released by its owner.
class Alias {
 public:
  Alias() = default;
  Alias(const Alias&) = delete;
  Alias& operator=(const Alias&) = delete;
  virtual ~Alias() = default;
};

/// The program that shows files and starts applications. Any thread. Nothing here waits for the desktop
/// longer than a few seconds.
class DesktopShell {
 public:
  virtual ~DesktopShell() = default;

  /// Makes a minimal alias of an item. `alias` is set on success only.
  virtual OSStatus newMinimalAlias(const FileReference& reference, std::unique_ptr<Alias>* alias) = 0;
  /// Notifies the shell that an item, usually a folder, has changed, and does not wait for a reply.
  virtual OSStatus sendUpdateEvent(const Alias& alias) = 0;

  /// Registers an application bundle, so that it is offered to the user. A bundle that is already registered is
  /// registered again.
  virtual OSStatus registerApplication(const std::string& path) = 0;
};

}  // namespace qm::platform
