// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Platform/foundation/Wipe.h"

namespace qm::platform {

/// The status numbers of Authorization Services that are used by name. If the system reports another number, the caller
/// gets it unchanged.
using AuthorizationStatus = std::int32_t;
inline constexpr AuthorizationStatus errAuthorizationSuccess = 0;                     ///< done
inline constexpr AuthorizationStatus errAuthorizationInvalidRef = -60002;             ///< there is no such session
inline constexpr AuthorizationStatus errAuthorizationDenied = -60005;                 ///< refused
inline constexpr AuthorizationStatus errAuthorizationCanceled = -60006;               ///< the user cancelled the dialog
inline constexpr AuthorizationStatus errAuthorizationInteractionNotAllowed = -60007;  ///< no dialog allowed
inline constexpr AuthorizationStatus errAuthorizationToolExecuteFailure = -60031;     ///< the tool could not be started
inline constexpr AuthorizationStatus errAuthorizationToolEnvironmentError = -60032;   ///< the tool launcher has failed

/// The options of a session or a request: the flags below, joined with `|`.
using AuthorizationFlags = std::uint32_t;
inline constexpr AuthorizationFlags kAuthorizationFlagDefaults = 0;            ///< none of the others
inline constexpr AuthorizationFlags kAuthorizationFlagInteractionAllowed = 1;  ///< a dialog may be shown
inline constexpr AuthorizationFlags kAuthorizationFlagExtendRights = 2;        ///< missing rights are obtained
inline constexpr AuthorizationFlags kAuthorizationFlagPreAuthorize = 16;       ///< obtained before a tool is started

/// One named value of a rights set or an environment.
struct AuthorizationItem {
  std::string name;         ///< of the right, or of the environment's value
  std::string value;        ///< bytes; may be empty
  std::uint32_t flags = 0;  ///< reserved, 0
};
/// A rights set or an environment.
using AuthorizationItems = std::vector<AuthorizationItem>;

/// Wipes the values.
inline void wipe(AuthorizationItems& items) {
  for (AuthorizationItem& item : items) foundation::wipe(item.value);
}

/// A session's handle: opaque, null when there is none.
struct OpaqueAuthorization;
/// A session, see `OpaqueAuthorization`.
using AuthorizationRef = OpaqueAuthorization*;

/// The standard output of a tool started with administrator rights.
class CommunicationsPipe {
 public:
  virtual ~CommunicationsPipe() = default;
  /// The next character (0 to 255), or -1 at the end of the output. Blocks.
  virtual int readCharacter() = 0;
};

/// A tool and its arguments.
struct ToolCommand {
  std::string tool;                    ///< its absolute path
  std::vector<std::string> arguments;  ///< without the tool's own name
};

/// Sessions that hold administrator rights. One thread at a time; the calls may block while the
/// system asks for a password.
class AuthorizationServices {
 public:
  virtual ~AuthorizationServices() = default;

  /// Makes a session without rights. `environment` is empty or has credentials, of which no copy is kept.
  virtual AuthorizationStatus create(const AuthorizationItems& environment, AuthorizationFlags flags,
                                     AuthorizationRef* session) = 0;
  /// Announces the tool and the arguments for which rights will be requested next. So the message about a refusal can
  /// name the item that stays. If the service grants rights for one command at a time, they are granted for this one.
  /// Starts nothing and opens no dialog.
  virtual void announce(const std::string& /*tool*/, const std::vector<std::string>& /*arguments*/) {}
  /// From now on a removal of this folder succeeds only if nothing but empty folders and housekeeping files is in it.
  /// "" ends this.
  virtual void expectHollowFolder(const std::string& /*folder*/) {}
  /// Obtains rights for a session; shows the system's dialog when the flags allow interaction. Keeps no copy
  /// of credentials.
  virtual AuthorizationStatus copyRights(AuthorizationRef session, const AuthorizationItems& rights,
                                         const AuthorizationItems& environment, AuthorizationFlags flags) = 0;
  /// Ends a session. Tools that it started run on to their end.
  virtual AuthorizationStatus free(AuthorizationRef session, AuthorizationFlags flags) = 0;
  /// Starts a tool with administrator rights and returns as soon as it runs. On success `pipe`
  /// receives the reading end of the tool's output.
  virtual AuthorizationStatus executeWithPrivileges(AuthorizationRef session, const std::string& tool,
                                                    AuthorizationFlags flags, const std::vector<std::string>& arguments,
                                                    std::shared_ptr<CommunicationsPipe>* pipe) = 0;
  /// Ends everything that holds rights, and returns when nothing does any more. Running tools are waited for. Sessions
  /// remain, without their rights.
  virtual void releaseRights() {}
  /// The command that a root process starts in place of a system tool for files, on behalf of the user at the console.
  /// If others can redirect a path, root must not use a tool that opens items by path.
  virtual ToolCommand commandForRoot(const std::string& tool, const std::vector<std::string>& arguments) {
    return {tool, arguments};
  }
  /// The session that a parent with administrator rights handed down. A success may still yield
  /// null: there is none.
  virtual AuthorizationStatus copyPrivilegedReference(AuthorizationRef* session, AuthorizationFlags flags) = 0;
};

}  // namespace qm::platform
