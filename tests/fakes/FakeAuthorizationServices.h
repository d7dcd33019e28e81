// SPDX-License-Identifier: MIT
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "Platform/AuthorizationServices.h"
#include "tests/fakes/Calls.h"
#include "tests/fakes/FakeDisk.h"
#include "tests/fakes/FileCommands.h"

namespace qm::testing {

/// One call of the service, with all its arguments.
struct AuthorizationCall {
  std::string operation;  ///< "create", "copyRights", "free", "executeWithPrivileges", "copyPrivilegedReference"
  platform::AuthorizationRef session = nullptr;  ///< passed in, or returned by the call
  platform::AuthorizationItems rights;
  platform::AuthorizationItems environment;
  platform::AuthorizationFlags flags = 0;
  std::string tool;
  std::vector<std::string> arguments;
  platform::AuthorizationStatus status = 0;  ///< what it returned
};

/// Administrator rights without a system. Every call succeeds unless told otherwise; a session that is not open is
/// refused with errAuthorizationInvalidRef. A tool has the effect that `fileCommand` knows. Recorded as
/// "authorization.create()", "authorization.copyRights(system.privilege.admin)",
/// "authorization.executeWithPrivileges(/bin/mv, -f, /a, /b)", "authorization.free()",
/// "authorization.copyPrivilegedReference()", "authorization.releaseRights()". An injected failure returns
/// errAuthorizationDenied.
class FakeAuthorizationServices : public platform::AuthorizationServices {
 public:
  FakeAuthorizationServices(Calls& calls, FakeDisk& disk);
  ~FakeAuthorizationServices() override;

  /// The next call of an operation ("copyRights") returns this; several form a queue.
  void answerNext(const std::string& operation, platform::AuthorizationStatus status);
  /// Every call of it returns this from now on; 0 is success.
  void answerAlways(const std::string& operation, platform::AuthorizationStatus status);
  /// A parent with rights hands down a session, which is returned.
  platform::AuthorizationRef offerParentSession();
  /// The program that root starts in place of every tool from now on, with the tool itself as its first argument.
  void setRootsTool(const std::string& tool);
  /// The effect and the output of a tool from now on.
  void onExecute(const std::string& tool, ToolEffect effect);
  void setOutput(const std::string& tool, const std::string& output);
  /// Tools keep their output open from now on: reading to its end blocks until `closeOutputs`.
  void keepOutputsOpen();
  void closeOutputs();

  std::vector<AuthorizationCall> calls() const;
  std::vector<AuthorizationCall> calls(const std::string& operation) const;
  /// The command lines that were started, path first.
  std::vector<std::vector<std::string>> executions() const;
  /// The command lines that rights were announced for, path first.
  std::vector<std::vector<std::string>> announcements() const;
  /// The folders whose removal meant: only if it is empty, and "" when that was cancelled.
  std::vector<std::string> hollowFolders() const;
  /// Sessions that were created or handed down and not freed.
  std::size_t openSessions() const;
  /// Pipes that were handed out and are still held.
  std::size_t openPipes() const;
  /// How many pipes were read to their end.
  std::size_t pipesReadToEnd() const;

  platform::AuthorizationStatus create(const platform::AuthorizationItems& environment,
                                       platform::AuthorizationFlags flags,
                                       platform::AuthorizationRef* session) override;
  void announce(const std::string& tool, const std::vector<std::string>& arguments) override;
  void expectHollowFolder(const std::string& folder) override;
  platform::AuthorizationStatus copyRights(platform::AuthorizationRef session,
                                           const platform::AuthorizationItems& rights,
                                           const platform::AuthorizationItems& environment,
                                           platform::AuthorizationFlags flags) override;
  platform::AuthorizationStatus free(platform::AuthorizationRef session, platform::AuthorizationFlags flags) override;
  platform::AuthorizationStatus executeWithPrivileges(platform::AuthorizationRef session, const std::string& tool,
                                                      platform::AuthorizationFlags flags,
                                                      const std::vector<std::string>& arguments,
                                                      std::shared_ptr<platform::CommunicationsPipe>* pipe) override;
  void releaseRights() override;
  platform::ToolCommand commandForRoot(const std::string& tool, const std::vector<std::string>& arguments) override;
  platform::AuthorizationStatus copyPrivilegedReference(platform::AuthorizationRef* session,
                                                        platform::AuthorizationFlags flags) override;

 private:
  struct Outputs;
  class Pipe;

  platform::AuthorizationStatus nextAnswer(const std::string& operation, bool fails);
  platform::AuthorizationRef openSession();
  bool isOpen(platform::AuthorizationRef session) const;
  platform::AuthorizationStatus keep(AuthorizationCall call, platform::AuthorizationStatus status);

  Calls& log_;
  FakeDisk& disk_;
  mutable std::mutex mutex_;
  std::map<std::string, std::deque<platform::AuthorizationStatus>> next_;
  std::map<std::string, platform::AuthorizationStatus> always_;
  std::map<std::string, ToolEffect> effects_;
  std::map<std::string, std::string> output_;
  std::string rootsTool_;
  std::deque<char> handles_;  // their addresses are the sessions
  std::vector<platform::AuthorizationRef> open_;
  platform::AuthorizationRef parentSession_ = nullptr;
  std::vector<AuthorizationCall> made_;
  std::vector<std::vector<std::string>> announced_;
  std::vector<std::string> hollowFolders_;
  std::shared_ptr<Outputs> outputs_;
  std::vector<std::weak_ptr<platform::CommunicationsPipe>> pipes_;
};

}  // namespace qm::testing
