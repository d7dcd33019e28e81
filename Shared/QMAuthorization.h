// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "Platform/AuthorizationServices.h"
#include "Shared/Singleton.h"

/// The one object of the process that holds administrator rights, and the file commands that run with them: /bin/cp,
/// /bin/mv, /bin/rm and /bin/mkdir.
///
/// Rights are requested when the first command needs them. They are kept until `authEnd`, unless the system grants them
/// for one command at a time. A process whose real user id is 0 needs none: it starts the tools itself, or on Linux the
/// helper in their place (see `AuthorizationServices::commandForRoot`). Every file command that moves or removes checks
/// its path first and refuses system folders as a whole. The entries that `authTrashFolderContents` removes permanently
/// are not checked one by one, nor is what `authExecTask` starts. Commands only start their tool. True means that it
/// was started, not that it succeeded. In a process run by root, true means only that starting it was tried. So callers
/// that need the result watch the disk. Refusals are printed to the system console.
///
/// Any thread. One thread at a time requests and uses the session. While the password dialog is shown for one thread,
/// any other thread that needs the session waits.
class QMAuthorization : public qm::Singleton<QMAuthorization> {
 public:
  /// A session's handle, see `OpaqueAuthorization`.
  using AuthorizationRef = qm::platform::AuthorizationRef;
  /// Whether the system's password dialog is allowed.
  enum class WithGUI : bool { No, Yes };
  /// When a command returns. `Yes`: when its tool was started. `No`: when the tool has closed its output.
  enum class Async : bool { No, Yes };
  /// Whether a controller that was created as root removes an item permanently. Each function says which item.
  enum class DeleteOnRootAccount : bool { No, Yes };

  /// `sharedController`. The same as `sharedController:` with YES.
  static QMAuthorization* sharedController();
  /// `sharedController:`. The one object; the flag of the first call decides whether the system's
  /// password dialog is allowed, later ones are ignored.
  static QMAuthorization* sharedController(WithGUI withGUI);

  /// `init`. With the password dialog allowed. If the parent process has administrator rights and hands its session
  /// down, this object uses that session.
  QMAuthorization* init();
  /// `initWithoutGUI`
  QMAuthorization* initWithoutGUI();

  /// `hasGUI`
  bool hasGUI() const { return hasGUI_; }
  /// `setHasGUI:`
  void setHasGUI(bool hasGUI) { hasGUI_ = hasGUI; }
  /// `authRef`. The session; null when not authorized.
  AuthorizationRef authRef() const { return authRef_; }
  /// `setAuthRef:`. Frees nothing.
  void setAuthRef(AuthorizationRef session) { authRef_ = session; }
  /// `userDirectory`. The home folder of the user for whom the object was made; null as root.
  const std::optional<std::string>& userDirectory() const { return userDirectory_; }

  /// `canAuthorize`. A dialog is allowed, or the process runs as root.
  bool canAuthorize() const;
  /// `isAuthorized`
  bool isAuthorized() const;
  /// `authStart`. Authorizes with the system's dialog, unless already authorized. Blocks while the dialog is shown.
  /// False after a refusal; the session is then null.
  bool authStart();
  /// `authStartWithUser:password:`. Authorizes without a dialog. An earlier session is overwritten, not freed. Returns
  /// false without a message for null arguments. If no session can be made, it prints the status to the console; for
  /// wrong credentials it prints and logs "Authorization failed. Invalid username or password". As root always true.
  bool authStartWithUser(const std::optional<std::string>& user, const std::optional<std::string>& password);
  /// `authEnd`. Ends the session; the next command asks again.
  void authEnd();
  /// `finalize`
  void finalize();
  /// `dealloc`. Ends the session; the object itself lives as long as the process.
  void dealloc();

  /// `authExecTask:parameters:async:`. Starts a tool with administrator rights: 0 started, -1 not
  /// authorized, -2 no such tool, else the status of Authorization Services. With `Async::No` it
  /// returns when the tool has closed its output (as root, when it has exited).
  std::int32_t authExecTask(const std::string& path, const std::vector<std::string>& parameters, Async async);
  /// `authExecTask:parameters:`. Does not wait.
  std::int32_t authExecTask(const std::string& path, const std::vector<std::string>& parameters);

  /// `authCreateDir:`. With the missing folders above it. Not guarded.
  bool authCreateDir(const std::string& path);
  /// `authCopyFile:toPath:`. Replaces a file at the destination; if that is a folder, copies into it. Not guarded.
  bool authCopyFile(const std::optional<std::string>& source, const std::optional<std::string>& destination);
  /// `authMoveFile:toPath:`. Replaces a file at the destination; if that is a folder, moves into it.
  bool authMoveFile(const std::optional<std::string>& source, const std::optional<std::string>& destination);
  /// `authMoveFolderContents:toPath:`. Every entry; true if none failed. A null destination is reported for each entry
  /// on the console.
  bool authMoveFolderContents(const std::string& folder, const std::optional<std::string>& destination);
  /// `authTrashFile:deleteOnRootAccount:`. Moves the path into the user's Trash. If its name is taken there, the time
  /// is added ("notes_20240229230507.txt"; without an extension the name ends in a dot). If this controller was created
  /// as root and the flag is set, nothing is moved: the item in the Trash that has the chosen name is removed, and the
  /// passed item stays.
  bool authTrashFile(const std::string& path, DeleteOnRootAccount deleteOnRootAccount);
  /// `authTrashFile:`
  bool authTrashFile(const std::string& path);
  /// `authTrashFolderContents:deleteOnRootAccount:`. Every entry; true if none failed. If the object was created as
  /// root and the flag is set, the entries are removed permanently.
  bool authTrashFolderContents(const std::string& folder, DeleteOnRootAccount deleteOnRootAccount);
  /// `authTrashFolderContents:`
  bool authTrashFolderContents(const std::string& folder);
  /// `authRemoveFile:`. Removes a file or a whole tree permanently.
  bool authRemoveFile(const std::string& path);

 private:
  friend class qm::Singleton<QMAuthorization>;
  template <class Any>
  friend struct qm::SingletonReset;
  QMAuthorization() = default;
  ~QMAuthorization() = default;

  QMAuthorization* initWithGUI(WithGUI withGUI);
  bool startFileCommand(const std::string& tool, const std::vector<std::string>& parameters);
  std::optional<std::string> trashDestination(const std::string& path) const;
  bool deletesOnRootAccount(DeleteOnRootAccount flag) const;

  bool startSession();
  std::int32_t launchWithRights(const std::string& path, const std::vector<std::string>& parameters,
                                std::shared_ptr<qm::platform::CommunicationsPipe>& pipe);

  std::atomic<AuthorizationRef> authRef_{nullptr};
  std::atomic<bool> hasGUI_{false};
  std::optional<std::string> userDirectory_;
  /// The output of every tool started. It is kept open, since a tool that outlives the call would be ended by writing
  /// to a closed pipe.
  std::vector<std::shared_ptr<qm::platform::CommunicationsPipe>> communicationsPipes_;
  std::mutex sessionMutex_;  // guards all calls of Authorization Services, and communicationsPipes_
};
