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
  ~Descriptor() { ::AEDisposeDesc(&value_); }
  AEDesc* get() { return &value_; }

 private:
  AEDesc value_{typeNull, nullptr};
};

platform::OSStatus nameFinder(Descriptor& finder) {
  return ::AECreateDesc(typeApplSignature, &kFinder, sizeof kFinder, finder.get());
}

platform::OSStatus makeUpdate(Descriptor& finder, const std::string& location, Descriptor& event) {
  if (const ::OSStatus status = ::AECreateAppleEvent(kFinderSuite, kUpdate, finder.get(), kAutoGenerateReturnID,
                                                     kAnyTransactionID, event.get())) {
    return status;
  }
  return ::AEPutParamPtr(event.get(), keyDirectObject, typeFileURL, location.data(),
                         static_cast<Size>(location.size()));
}

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

platform::OSStatus permissionToUpdateFinder() {
  const Pool pool;
  Descriptor finder;
  const platform::OSStatus status = nameFinder(finder);
  return status != 0 ? status : ::AEDeterminePermissionToAutomateTarget(finder.get(), kFinderSuite, kUpdate, false);
}

platform::OSStatus sendFinderUpdate(const std::string& location) {
  const Pool pool;
  Descriptor finder;
  Descriptor event;
  Descriptor reply;
  if (const platform::OSStatus status = nameFinder(finder)) return status;
  if (const platform::OSStatus status = makeUpdate(finder, location, event)) return status;
  return ::AESendMessage(event.get(), reply.get(), kAENoReply, kAEDefaultTimeout);
}

platform::OSStatus registerBundle(const std::string& path) {
  const Pool pool;
  const auto url = urlOf(path);
  return url ? ::LSRegisterURL(url.get(), true) : platform::fnfErr;
}

}  // namespace qm::macos
