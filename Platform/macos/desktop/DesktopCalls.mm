// SPDX-License-Identifier: MIT
#include "Platform/macos/desktop/DesktopCalls.h"

#include <CoreFoundation/CoreFoundation.h>
#include <CoreServices/CoreServices.h>

#include <memory>
#include <type_traits>

#include "Platform/macos/Framework.h"

namespace qm::macos {
namespace {

constexpr OSType kFinder = 'MACS';
constexpr AEEventClass kFinderSuite = 'fndr';
constexpr AEEventID kUpdate = 'fupd';

struct Release {
  void operator()(CFTypeRef object) const { ::CFRelease(object); }
};
template <class Reference>
using Owned = std::unique_ptr<std::remove_pointer_t<Reference>, Release>;

Owned<CFURLRef> urlOf(const std::string& path) {
  const auto* const bytes = reinterpret_cast<const UInt8*>(path.data());
  return Owned<CFURLRef>(
      ::CFURLCreateFromFileSystemRepresentation(nullptr, bytes, static_cast<CFIndex>(path.size()), false));
}

class Descriptor {
 public:
  Descriptor() = default;
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() {
    const Pool pool;
    ::AEDisposeDesc(&value_);
  }
  AEDesc* get() { return &value_; }

 private:
  AEDesc value_{typeNull, nullptr};
};

/// The result is not checked, because every system supports descriptors of this type.
void nameFinder(Descriptor& finder) { ::AECreateDesc(typeApplSignature, &kFinder, sizeof kFinder, finder.get()); }

}  // namespace

std::string locationOf(const std::string& path) {
  const Pool pool;
  const auto url = urlOf(path);
  if (!url) return {};
  const Owned<CFDataRef> text(::CFURLCreateData(nullptr, url.get(), kCFStringEncodingUTF8, true));
  if (!text) return {};
  const auto* const bytes = reinterpret_cast<const char*>(::CFDataGetBytePtr(text.get()));
  return std::string(bytes, static_cast<std::size_t>(::CFDataGetLength(text.get())));
}

struct UpdateEvent::Parts {
  Descriptor finder;
  Descriptor event;
  Descriptor reply;
};

platform::OSStatus permissionToUpdateFinder() {
  const Pool pool;
  Descriptor finder;
  nameFinder(finder);
  return ::AEDeterminePermissionToAutomateTarget(finder.get(), kFinderSuite, kUpdate, false);
}

UpdateEvent::UpdateEvent() : parts_(std::make_unique<Parts>()) {
  const Pool pool;
  nameFinder(parts_->finder);
}

UpdateEvent::~UpdateEvent() = default;

platform::OSStatus UpdateEvent::create() {
  const Pool pool;
  return ::AECreateAppleEvent(kFinderSuite, kUpdate, parts_->finder.get(), kAutoGenerateReturnID, kAnyTransactionID,
                              parts_->event.get());
}

platform::OSStatus UpdateEvent::setLocation(const std::string& location) {
  const Pool pool;
  return ::AEPutParamPtr(parts_->event.get(), keyDirectObject, typeFileURL, location.data(),
                         static_cast<Size>(location.size()));
}

platform::OSStatus UpdateEvent::send() {
  const Pool pool;
  return ::AESendMessage(parts_->event.get(), parts_->reply.get(), kAENoReply, kAEDefaultTimeout);
}

platform::OSStatus registerBundle(const std::string& path) {
  const Pool pool;
  return ::LSRegisterURL(urlOf(path).get(), true);
}

}  // namespace qm::macos
