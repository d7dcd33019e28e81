// SPDX-License-Identifier: MIT
#include "Uninstaller/RemovalObserver.h"

#include <mutex>
#include <optional>
#include <string_view>
#include <vector>

#include "Platform/AuthorizationServices.h"
#include "Platform/Console.h"
#include "Platform/Trash.h"

using namespace qm::platform;  // the names of Authorization Services are long enough as they are

/// The thread that reads the helper's messages prints lines as well.
class RemovalObserver::Notes {
 public:
  template <class Change>
  void note(Change change) {
    const std::scoped_lock lock(mutex_);
    change(observations_);
  }
  Observations read() const {
    const std::scoped_lock lock(mutex_);
    return observations_;
  }

 private:
  mutable std::mutex mutex_;
  Observations observations_;
};

class RemovalObserver::Trash final : public qm::platform::Trash {
 public:
  Trash(qm::platform::Trash& inner, Notes& notes) : inner_(inner), notes_(notes) {}

  Recycled recycleItems(const std::string& sourceFolder, const std::optional<std::string>& trashDirectory,
                        const std::vector<std::string>& names) override {
    Recycled recycled = inner_.recycleItems(sourceFolder, trashDirectory, names);
    const Status& status = recycled.status;
    notes_.note([&](Observations& said) {
      if (!recycled.paths.empty()) said.trashedTo = recycled.paths.back();
      if (status) return;
      said.plainReason = status.localizedDescription();
      said.plainError = status.code();
    });
    return recycled;
  }
  TrashedItems itemsFrom(const std::string& origin, const std::optional<std::string>& trashDirectory) override {
    return inner_.itemsFrom(origin, trashDirectory);
  }
  Status putBack(const TrashedItem& item, const std::optional<std::string>& trashDirectory,
                 MissingFolders missing) override {
    return inner_.putBack(item, trashDirectory, missing);
  }
  void makeDurable() override { inner_.makeDurable(); }

 private:
  qm::platform::Trash& inner_;
  Notes& notes_;
};

class RemovalObserver::Authorization final : public AuthorizationServices {
 public:
  Authorization(AuthorizationServices& inner, Notes& notes) : inner_(inner), notes_(notes) {}

  AuthorizationStatus create(const AuthorizationItems& environment, AuthorizationFlags flags,
                             AuthorizationRef* session) override {
    return inner_.create(environment, flags, session);
  }
  void announce(const std::string& tool, const std::vector<std::string>& arguments) override {
    inner_.announce(tool, arguments);
  }
  void expectHollowFolder(const std::string& folder) override { inner_.expectHollowFolder(folder); }
  AuthorizationStatus copyRights(AuthorizationRef session, const AuthorizationItems& rights,
                                 const AuthorizationItems& environment, AuthorizationFlags flags) override {
    return refused(inner_.copyRights(session, rights, environment, flags));
  }
  AuthorizationStatus free(AuthorizationRef session, AuthorizationFlags flags) override {
    return inner_.free(session, flags);
  }
  AuthorizationStatus executeWithPrivileges(AuthorizationRef session, const std::string& tool, AuthorizationFlags flags,
                                            const std::vector<std::string>& arguments,
                                            std::shared_ptr<CommunicationsPipe>* pipe) override {
    return inner_.executeWithPrivileges(session, tool, flags, arguments, pipe);
  }
  void releaseRights() override { inner_.releaseRights(); }
  ToolCommand commandForRoot(const std::string& tool, const std::vector<std::string>& arguments) override {
    return inner_.commandForRoot(tool, arguments);
  }
  AuthorizationStatus copyPrivilegedReference(AuthorizationRef* session, AuthorizationFlags flags) override {
    return inner_.copyPrivilegedReference(session, flags);
  }

 private:
  AuthorizationStatus refused(AuthorizationStatus status) {
    if (status != errAuthorizationSuccess) notes_.note([](Observations& said) { said.rightsRefused = true; });
    return status;
  }

  AuthorizationServices& inner_;
  Notes& notes_;
};

class RemovalObserver::Console final : public qm::platform::Console {
 public:
  Console(qm::platform::Console& inner, Notes& notes) : inner_(inner), notes_(notes) {}

  void print(std::string_view text) override {
    inner_.print(text);
    notes_.note([&](Observations& said) { said.privilegedReason = text; });
  }

 private:
  qm::platform::Console& inner_;
  Notes& notes_;
};

RemovalObserver::RemovalObserver(const Platform& services)
    : notes_(std::make_unique<Notes>()),
      trash_(std::make_unique<Trash>(*services.trash, *notes_)),
      authorization_(std::make_unique<Authorization>(*services.authorizationServices, *notes_)),
      console_(std::make_unique<Console>(*services.console, *notes_)),
      services_(services) {
  services_.trash = trash_.get();
  services_.authorizationServices = authorization_.get();
  services_.console = console_.get();
}

RemovalObserver::~RemovalObserver() = default;

void RemovalObserver::begin() {
  notes_->note([](Observations& said) { said = {}; });
}

Observations RemovalObserver::observations() const { return notes_->read(); }
