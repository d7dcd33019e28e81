// SPDX-License-Identifier: MIT
#include "tests/fakes/FakeAuthorizationServices.h"

#include <algorithm>
#include <utility>

namespace qm::testing {

using platform::AuthorizationFlags;
using platform::AuthorizationItems;
using platform::AuthorizationRef;
using platform::AuthorizationStatus;
using platform::CommunicationsPipe;

/// Shared by all tools' outputs.
struct FakeAuthorizationServices::Outputs {
  std::mutex mutex;
  std::condition_variable changed;
  bool stayOpen = false;
  std::size_t readToEnd = 0;

  void setStayOpen(bool open) {
    const std::scoped_lock lock(mutex);
    stayOpen = open;
    changed.notify_all();
  }
};

class FakeAuthorizationServices::Pipe : public CommunicationsPipe {
 public:
  Pipe(std::shared_ptr<Outputs> outputs, std::string text) : outputs_(std::move(outputs)), text_(std::move(text)) {}

  int readCharacter() override {
    if (next_ < text_.size()) return static_cast<unsigned char>(text_[next_++]);
    std::unique_lock lock(outputs_->mutex);
    outputs_->changed.wait(lock, [this] { return !outputs_->stayOpen; });
    if (!std::exchange(atEnd_, true)) ++outputs_->readToEnd;
    return -1;
  }

 private:
  std::shared_ptr<Outputs> outputs_;
  std::string text_;
  std::size_t next_ = 0;
  bool atEnd_ = false;
};

FakeAuthorizationServices::FakeAuthorizationServices(Calls& calls, FakeDisk& disk)
    : log_(calls), disk_(disk), outputs_(std::make_shared<Outputs>()) {}

FakeAuthorizationServices::~FakeAuthorizationServices() { closeOutputs(); }

void FakeAuthorizationServices::answerNext(const std::string& operation, AuthorizationStatus status) {
  const std::scoped_lock lock(mutex_);
  next_[operation].push_back(status);
}

void FakeAuthorizationServices::answerAlways(const std::string& operation, AuthorizationStatus status) {
  const std::scoped_lock lock(mutex_);
  always_[operation] = status;
}

AuthorizationRef FakeAuthorizationServices::offerParentSession() {
  const std::scoped_lock lock(mutex_);
  return parentSession_ = openSession();
}

void FakeAuthorizationServices::onExecute(const std::string& tool, ToolEffect effect) {
  const std::scoped_lock lock(mutex_);
  effects_[tool] = std::move(effect);
}

void FakeAuthorizationServices::setOutput(const std::string& tool, const std::string& output) {
  const std::scoped_lock lock(mutex_);
  output_[tool] = output;
}

void FakeAuthorizationServices::keepOutputsOpen() { outputs_->setStayOpen(true); }

void FakeAuthorizationServices::closeOutputs() { outputs_->setStayOpen(false); }

std::vector<AuthorizationCall> FakeAuthorizationServices::calls() const {
  const std::scoped_lock lock(mutex_);
  return made_;
}

std::vector<AuthorizationCall> FakeAuthorizationServices::calls(const std::string& operation) const {
  std::vector<AuthorizationCall> found = calls();
  std::erase_if(found, [&](const AuthorizationCall& call) { return call.operation != operation; });
  return found;
}

std::vector<std::vector<std::string>> FakeAuthorizationServices::executions() const {
  std::vector<std::vector<std::string>> lines;
  for (AuthorizationCall& call : calls("executeWithPrivileges")) {
    if (call.status != platform::errAuthorizationSuccess) continue;
    lines.push_back(std::move(call.arguments));
    lines.back().insert(lines.back().begin(), call.tool);
  }
  return lines;
}

std::vector<std::vector<std::string>> FakeAuthorizationServices::announcements() const {
  const std::scoped_lock lock(mutex_);
  return announced_;
}

std::vector<std::string> FakeAuthorizationServices::hollowFolders() const {
  const std::scoped_lock lock(mutex_);
  return hollowFolders_;
}

std::size_t FakeAuthorizationServices::openSessions() const {
  const std::scoped_lock lock(mutex_);
  return open_.size();
}

std::size_t FakeAuthorizationServices::openPipes() const {
  const std::scoped_lock lock(mutex_);
  const auto held = std::count_if(pipes_.begin(), pipes_.end(), [](const auto& pipe) { return !pipe.expired(); });
  return static_cast<std::size_t>(held);
}

std::size_t FakeAuthorizationServices::pipesReadToEnd() const {
  const std::scoped_lock lock(outputs_->mutex);
  return outputs_->readToEnd;
}

AuthorizationStatus FakeAuthorizationServices::nextAnswer(const std::string& operation, bool fails) {
  if (fails) return platform::errAuthorizationDenied;
  if (std::deque<AuthorizationStatus>& queue = next_[operation]; !queue.empty()) {
    const AuthorizationStatus status = queue.front();
    queue.pop_front();
    return status;
  }
  return always_[operation];
}

AuthorizationRef FakeAuthorizationServices::openSession() {
  handles_.push_back('\0');
  auto* const session = reinterpret_cast<AuthorizationRef>(&handles_.back());  // opaque: nobody looks inside
  open_.push_back(session);
  return session;
}

bool FakeAuthorizationServices::isOpen(AuthorizationRef session) const {
  return std::find(open_.begin(), open_.end(), session) != open_.end();
}

AuthorizationStatus FakeAuthorizationServices::keep(AuthorizationCall call, AuthorizationStatus status) {
  call.status = status;
  made_.push_back(std::move(call));
  return status;
}

AuthorizationStatus FakeAuthorizationServices::create(const AuthorizationItems& environment, AuthorizationFlags flags,
                                                      AuthorizationRef* session) {
  const bool fails = log_.command("authorization.create");
  const std::scoped_lock lock(mutex_);
  const AuthorizationStatus status = nextAnswer("create", fails);
  const AuthorizationRef made = status == platform::errAuthorizationSuccess ? openSession() : nullptr;
  if (made != nullptr) *session = made;
  return keep({"create", made, {}, environment, flags, {}, {}, 0}, status);
}

void FakeAuthorizationServices::announce(const std::string& tool, const std::vector<std::string>& arguments) {
  const std::scoped_lock lock(mutex_);
  announced_.push_back(arguments);
  announced_.back().insert(announced_.back().begin(), tool);
}

void FakeAuthorizationServices::expectHollowFolder(const std::string& folder) {
  const std::scoped_lock lock(mutex_);
  hollowFolders_.push_back(folder);
}

AuthorizationStatus FakeAuthorizationServices::copyRights(AuthorizationRef session, const AuthorizationItems& rights,
                                                          const AuthorizationItems& environment,
                                                          AuthorizationFlags flags) {
  std::vector<std::string> names;
  for (const platform::AuthorizationItem& right : rights) names.push_back(right.name);
  const bool fails = log_.command("authorization.copyRights", names);
  const std::scoped_lock lock(mutex_);
  const AuthorizationStatus status =
      isOpen(session) ? nextAnswer("copyRights", fails) : platform::errAuthorizationInvalidRef;
  return keep({"copyRights", session, rights, environment, flags, {}, {}, 0}, status);
}

AuthorizationStatus FakeAuthorizationServices::free(AuthorizationRef session, AuthorizationFlags flags) {
  const bool fails = log_.command("authorization.free");
  const std::scoped_lock lock(mutex_);
  const AuthorizationStatus status = isOpen(session) ? nextAnswer("free", fails) : platform::errAuthorizationInvalidRef;
  if (status == platform::errAuthorizationSuccess) std::erase(open_, session);
  return keep({"free", session, {}, {}, flags, {}, {}, 0}, status);
}

AuthorizationStatus FakeAuthorizationServices::executeWithPrivileges(AuthorizationRef session, const std::string& tool,
                                                                     AuthorizationFlags flags,
                                                                     const std::vector<std::string>& arguments,
                                                                     std::shared_ptr<CommunicationsPipe>* pipe) {
  std::vector<std::string> commandLine = arguments;
  commandLine.insert(commandLine.begin(), tool);
  const bool fails = log_.command("authorization.executeWithPrivileges", commandLine);
  ToolEffect effect;
  {
    const std::scoped_lock lock(mutex_);
    const AuthorizationStatus status =
        isOpen(session) ? nextAnswer("executeWithPrivileges", fails) : platform::errAuthorizationInvalidRef;
    keep({"executeWithPrivileges", session, {}, {}, flags, tool, arguments, 0}, status);
    if (status != platform::errAuthorizationSuccess) return status;
    *pipe = std::make_shared<Pipe>(outputs_, output_[tool]);
    pipes_.push_back(*pipe);
    const auto own = effects_.find(tool);
    effect = own == effects_.end() ? fileCommand(tool, disk_) : own->second;
  }
  if (effect) effect(arguments);
  return platform::errAuthorizationSuccess;
}

AuthorizationStatus FakeAuthorizationServices::copyPrivilegedReference(AuthorizationRef* session,
                                                                       AuthorizationFlags flags) {
  const bool fails = log_.command("authorization.copyPrivilegedReference");
  const std::scoped_lock lock(mutex_);
  const AuthorizationStatus status = nextAnswer("copyPrivilegedReference", fails);
  *session = parentSession_;  // also with a refusal: only the status decides
  return keep({"copyPrivilegedReference", parentSession_, {}, {}, flags, {}, {}, 0}, status);
}

void FakeAuthorizationServices::releaseRights() { log_.note("authorization.releaseRights"); }

void FakeAuthorizationServices::setRootsTool(const std::string& tool) {
  const std::scoped_lock lock(mutex_);
  rootsTool_ = tool;
}

platform::ToolCommand FakeAuthorizationServices::commandForRoot(const std::string& tool,
                                                                const std::vector<std::string>& arguments) {
  const std::scoped_lock lock(mutex_);
  if (rootsTool_.empty()) return {tool, arguments};
  std::vector<std::string> all = {tool};
  all.insert(all.end(), arguments.begin(), arguments.end());
  return {rootsTool_, all};
}

}  // namespace qm::testing
