// SPDX-License-Identifier: MIT
#include <poll.h>
#include <xcb/xcb.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

#include "Platform/linux/system/SingleInstance.h"
#include "Uninstaller/appkit/FrontEnd.h"
#include "Uninstaller/appkit/Instances.h"
#include "Uninstaller/appkit/SystemCalls.h"

namespace qm::appkit {

namespace {

using linux_::SingleInstance;

NSWindow* shownWindow() {
  if ([NSApp modalWindow] != nil) return [NSApp modalWindow];
  NSEnumerator* const windows = [[NSApp windows] objectEnumerator];
  while (NSWindow* const window = [windows nextObject]) {
    if ([window delegate] != nil && ([window isVisible] || [window isMiniaturized])) return window;
  }
  return nil;
}

/// Sends requests to the window manager as requests of the user: to move a window to the desktop that is shown, and to
/// bring it to the front.
class WindowManager {
 public:
  WindowManager() : connection_(xcb_connect(nullptr, nullptr)) {}
  WindowManager(const WindowManager&) = delete;
  WindowManager& operator=(const WindowManager&) = delete;
  ~WindowManager() { xcb_disconnect(connection_); }

  void bringForward(xcb_window_t window) {
    if (const auto desktop = shownDesktop()) ask(window, "_NET_WM_DESKTOP", *desktop);
    ask(window, "_NET_ACTIVE_WINDOW", kSaidByTheUser);
    xcb_flush(connection_);
  }

 private:
  static constexpr std::uint32_t kSaidByTheUser = 2;
  static constexpr std::uint8_t kBitsOfData = 32;

  xcb_window_t root() const { return xcb_setup_roots_iterator(xcb_get_setup(connection_)).data->root; }

  template <class Reply, class Cookie>
  auto answer(Reply* (*reply)(xcb_connection_t*, Cookie, xcb_generic_error_t**), Cookie cookie) const {
    return std::unique_ptr<Reply, decltype(&std::free)>(reply(connection_, cookie, nullptr), std::free);
  }
  xcb_atom_t atom(std::string_view name) const {
    const auto length = static_cast<std::uint16_t>(name.size());
    const auto reply = answer(xcb_intern_atom_reply, xcb_intern_atom(connection_, 0, length, name.data()));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
  }
  std::optional<std::uint32_t> shownDesktop() const {
    const auto reply =
        answer(xcb_get_property_reply,
               xcb_get_property(connection_, 0, root(), atom("_NET_CURRENT_DESKTOP"), XCB_ATOM_CARDINAL, 0, 1));
    if (!reply || reply->format != kBitsOfData || reply->value_len != 1) return std::nullopt;
    return *static_cast<const std::uint32_t*>(xcb_get_property_value(reply.get()));
  }
  void ask(xcb_window_t window, std::string_view what, std::uint32_t value) const {
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = kBitsOfData;
    message.window = window;
    message.type = atom(what);
    message.data.data32[0] = value;
    constexpr std::uint32_t mask = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT;
    xcb_send_event(connection_, 0, root(), mask, reinterpret_cast<const char*>(&message));
  }

  xcb_connection_t* const connection_;
};

void bringToFront() {
  NSWindow* const window = shownWindow();
  if (window == nil) return;
  if ([window isMiniaturized]) [window deminiaturize:nil];
  [NSApp activateIgnoringOtherApps:YES];
  [window makeKeyAndOrderFront:nil];
  // GNUstep's `windowRef` is the X server's number of the window.
  WindowManager().bringForward(static_cast<xcb_window_t>(reinterpret_cast<std::uintptr_t>([window windowRef])));
}

bool isAsked(const SingleInstance& instance) {
  pollfd entry{.fd = instance.requests().get(), .events = POLLIN, .revents = 0};
  return ::poll(&entry, 1, 0) > 0;
}

}  // namespace

}  // namespace qm::appkit

/// Checks at intervals whether the program has been started again, also while an alert is shown.
@interface QMFurtherStarts : NSObject {
  const qm::linux_::SingleInstance* instance_;
}
- (id)initWithInstance:(const void*)instance;
- (void)look:(NSTimer*)timer;
@end

@implementation QMFurtherStarts

- (id)initWithInstance:(const void*)instance {
  self = [super init];
  if (self != nil) instance_ = static_cast<const qm::linux_::SingleInstance*>(instance);
  return self;
}

- (void)look:(NSTimer*)timer {
  if (qm::appkit::isAsked(*instance_)) instance_->serve(qm::appkit::bringToFront);
}

@end

namespace qm::appkit {

namespace {

constexpr NSTimeInterval kBetweenLooks = 0.1;

void serveFurtherStarts(const SingleInstance& instance) {
  NSAutoreleasePool* const pool = [[NSAutoreleasePool alloc] init];
  NSTimer* const timer = [NSTimer timerWithTimeInterval:kBetweenLooks
                                                 target:[[QMFurtherStarts alloc] initWithInstance:&instance]
                                               selector:@selector(look:)
                                               userInfo:nil
                                                repeats:YES];
  [[NSRunLoop currentRunLoop] addTimer:timer forMode:NSDefaultRunLoopMode];
  [[NSRunLoop currentRunLoop] addTimer:timer forMode:NSModalPanelRunLoopMode];
  [pool drain];
}

}  // namespace

std::optional<int> leaveToTheOtherInstance() {
  static auto* const instance = new SingleInstance(std::string(frontEnd().product.identifier));
  switch (instance->start(std::chrono::seconds(5))) {
    case SingleInstance::Start::Answered:
      return EXIT_SUCCESS;
    case SingleInstance::Start::NoAnswer:
      return sayThatNobodyAnswers(std::string(frontEnd().product.program));
    case SingleInstance::Start::First:
      if (instance->requests()) serveFurtherStarts(*instance);
      break;
  }
  return std::nullopt;
}

}  // namespace qm::appkit
