#include "Platform/linux/privileges/PolkitAuthorization.h"

#include <sys/prctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <optional>
#include <utility>

#include "Platform/linux/privileges/ConsoleText.h"
#include "Platform/linux/privileges/HelperOpening.h"

namespace qm::linux_ {

using namespace platform;  // the names of Authorization Services are long enough as they are

namespace {

constexpr const char* kAdministratorRight = "system.privilege.admin";

class OutputPipe : public CommunicationsPipe {
 public:
  explicit OutputPipe(posix::UniqueFd fd) : fd_(std::move(fd)) {}

  int readCharacter() override {
    if (next_ == size_ && !fill()) return -1;
    return static_cast<unsigned char>(block_[next_++]);
  }

 private:
  bool fill() {
    ssize_t got = 0;
    do {
      got = ::read(fd_.get(), block_.data(), block_.size());
    } while (got < 0 && errno == EINTR);
    next_ = 0;
    size_ = got > 0 ? static_cast<std::size_t>(got) : 0;
    return size_ > 0;
  }

  posix::UniqueFd fd_;
  std::array<char, 4096> block_{};
  std::size_t next_ = 0;
  std::size_t size_ = 0;
};

const std::string* valueOf(const AuthorizationItems& items, const char* name) {
  const auto found = std::ranges::find(items, name, &AuthorizationItem::name);
  return found == items.end() ? nullptr : &found->value;
}

bool has(AuthorizationFlags flags, AuthorizationFlags wanted) { return (flags & wanted) != 0; }

// Whoever reads the memory of this process, or takes its descriptors, has the session's rights.
void keepMemoryToOurselves(bool wanted) { ::prctl(PR_SET_DUMPABLE, wanted ? 0 : 1); }

}  // namespace

PolkitAuthorization::PolkitAuthorization(Console& console, PrivilegePrograms programs)
    : console_(console), programs_(std::move(programs)) {}

PolkitAuthorization::~PolkitAuthorization() = default;

AuthorizationStatus PolkitAuthorization::create(const AuthorizationItems& /*environment*/, AuthorizationFlags /*flags*/,
                                                AuthorizationRef* session) {
  const std::scoped_lock lock(mutex_);
  // Never the same twice: what was freed stays unknown.
  *session = reinterpret_cast<AuthorizationRef>(++lastSession_);  // NOLINT(performance-no-int-to-ptr)
  sessions_[*session] = nullptr;
  return errAuthorizationSuccess;
}

void PolkitAuthorization::announce(const std::string& /*tool*/, const std::vector<std::string>& arguments) {
  const std::scoped_lock lock(mutex_);
  announced_ = leftAsItWas(arguments);
}

std::string PolkitAuthorization::takeAnnounced() {
  const std::scoped_lock lock(mutex_);
  return std::exchange(announced_, {});
}

AuthorizationStatus PolkitAuthorization::copyRights(AuthorizationRef session, const AuthorizationItems& rights,
                                                    const AuthorizationItems& environment, AuthorizationFlags flags) {
  const std::string announced = takeAnnounced();
  {
    const std::scoped_lock lock(mutex_);
    const auto found = sessions_.find(session);
    if (found == sessions_.end()) return errAuthorizationInvalidRef;
    const auto isOther = [](const AuthorizationItem& right) { return right.name != kAdministratorRight; };
    if (std::ranges::any_of(rights, isOther)) return errAuthorizationDenied;
    if (rights.empty() || (found->second && found->second->isOpen())) return errAuthorizationSuccess;
  }
  return has(flags, kAuthorizationFlagExtendRights) ? open(session, environment, flags, announced)
                                                    : errAuthorizationDenied;
}

AuthorizationStatus PolkitAuthorization::open(AuthorizationRef session, const AuthorizationItems& environment,
                                              AuthorizationFlags flags, const std::string& announced) {
  const std::string* user = valueOf(environment, "username");
  const std::string* password = valueOf(environment, "password");
  const bool withCredentials = user != nullptr && password != nullptr;
  if (!withCredentials && !has(flags, kAuthorizationFlagInteractionAllowed)) {
    return errAuthorizationInteractionNotAllowed;
  }
  keepMemoryToOurselves(true);
  HelperOpening opening = withCredentials ? openHelperWithCredentials(programs_, console_, *user, *password)
                                          : openHelperWithDialog(programs_, console_);
  const std::scoped_lock lock(mutex_);
  if (opening.connection) {
    sessions_[session] = std::move(opening.connection);
  } else {
    console_.print(inOneLine("Administrator rights were not granted: " + opening.cause + announced));
    if (std::ranges::none_of(sessions_, [](const auto& each) { return each.second != nullptr; })) {
      keepMemoryToOurselves(false);
    }
  }
  return opening.status;
}

AuthorizationStatus PolkitAuthorization::free(AuthorizationRef session, AuthorizationFlags /*flags*/) {
  const std::scoped_lock lock(mutex_);
  if (sessions_.erase(session) == 0) return errAuthorizationInvalidRef;
  if (sessions_.empty()) keepMemoryToOurselves(false);
  return errAuthorizationSuccess;
}

AuthorizationStatus PolkitAuthorization::executeWithPrivileges(AuthorizationRef session, const std::string& tool,
                                                               AuthorizationFlags /*flags*/,
                                                               const std::vector<std::string>& arguments,
                                                               std::shared_ptr<CommunicationsPipe>* pipe) {
  SharedConnection connection;
  {
    const std::scoped_lock lock(mutex_);
    const auto found = sessions_.find(session);
    if (found != sessions_.end()) connection = found->second;
  }
  if (!connection) return errAuthorizationInvalidRef;
  posix::UniqueFd output;
  const AuthorizationStatus status = connection->launch(tool, arguments, &output);
  if (status == errAuthorizationInvalidRef) {
    console_.print(
        inOneLine(tool + " was not started: the program with administrator rights has ended" + leftAsItWas(arguments)));
  }
  if (status == errAuthorizationSuccess && pipe != nullptr) *pipe = std::make_shared<OutputPipe>(std::move(output));
  return status;
}

AuthorizationStatus PolkitAuthorization::copyPrivilegedReference(AuthorizationRef* session,
                                                                 AuthorizationFlags /*flags*/) {
  *session = nullptr;
  return errAuthorizationSuccess;
}

}  // namespace qm::linux_
