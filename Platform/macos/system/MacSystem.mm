// SPDX-License-Identifier: MIT

// Services that convert what the frameworks report.
#import <CoreFoundation/CoreFoundation.h>
#import <SystemConfiguration/SystemConfiguration.h>
#include <unistd.h>

#include "Platform/foundation/ControlCharacters.h"
#include "Platform/foundation/Utf8.h"
#include "Platform/macos/Framework.h"
#include "Platform/macos/MacServices.h"
#include "Platform/posix/ItemPath.h"
#include "Platform/posix/SmallFile.h"

namespace qm::macos {
namespace {

using platform::PropertyList;
using platform::PropertyListValue;

class MacConsole final : public platform::Console {
 public:
  void print(std::string_view text) override {
    const Pool pool;
    NSLog(@"%@", stringOf(foundation::replacingInvalidBytes(foundation::replacingControlCharacters(text, ' ', "\n"))));
  }
};

class MacDirectories final : public platform::StandardDirectories {
 public:
  std::vector<std::string> search(platform::StandardDirectory directory, platform::DomainMask domains) const override {
    const Pool pool;
    NSArray* const found = NSSearchPathForDirectoriesInDomains(static_cast<NSSearchPathDirectory>(directory),
                                                               static_cast<NSSearchPathDomainMask>(domains), YES);
    std::vector<std::string> paths;
    for (NSUInteger i = 0; i < [found count]; ++i) paths.push_back(textOf([found objectAtIndex:i]));
    return paths;
  }

  /// The system returns the path with a slash at the end, which is removed.
  std::string temporaryDirectory() const override {
    const Pool pool;
    return posix::withoutTrailingSlashes(textOf(NSTemporaryDirectory()));
  }
};

class MacPackages final : public platform::Packages {
 public:
  /// Reads a property of the item itself. `NSWorkspace` gives the same answer but may be used on the main thread only.
  bool isFilePackage(const std::string& path) const override {
    const std::string item = posix::resolvedTextPath(path);
    if (item.empty()) return false;
    const Pool pool;
    id answer = nil;
    [[NSURL fileURLWithPath:stringOf(item)] getResourceValue:&answer forKey:NSURLIsPackageKey error:nullptr];
    return [answer boolValue];
  }
};

PropertyListValue numberOf(NSNumber* number) {
  if (CFGetTypeID((CFTypeRef)number) == CFBooleanGetTypeID()) return static_cast<bool>([number boolValue]);
  if (CFNumberIsFloatType((CFNumberRef)number)) return static_cast<double>([number doubleValue]);
  return static_cast<std::int64_t>([number longLongValue]);
}

PropertyListValue valueOf(id object) {
  if ([object isKindOfClass:[NSString class]]) return textOf(object);
  if ([object isKindOfClass:[NSNumber class]]) return numberOf(object);
  return std::monostate();
}

/// A binary list may have keys of any kind. Only texts are keys here.
PropertyList listOf(NSDictionary* dictionary) {
  PropertyList list;
  NSArray* const keys = [dictionary allKeys];
  for (NSUInteger i = 0; i < [keys count]; ++i) {
    const id key = [keys objectAtIndex:i];
    if ([key isKindOfClass:[NSString class]]) list.emplace(textOf(key), valueOf([dictionary objectForKey:key]));
  }
  return list;
}

class MacPropertyLists final : public platform::PropertyLists {
 public:
  std::optional<PropertyList> read(const std::string& path) const override {
    constexpr std::size_t kLargest = std::size_t{16} * 1024 * 1024;
    const std::optional<std::string> bytes = posix::readSmallFile(path, kLargest);
    if (!bytes) return std::nullopt;
    const Pool pool;
    NSData* const data = [NSData dataWithBytes:bytes->data() length:bytes->size()];
    const id root = [NSPropertyListSerialization propertyListWithData:data
                                                              options:NSPropertyListImmutable
                                                               format:nullptr
                                                                error:nullptr];
    if (![root isKindOfClass:[NSDictionary class]]) return std::nullopt;
    return listOf(root);
  }
};

class MacFacts final : public platform::SystemInformation {
 public:
  std::string operatingSystemVersion() const override {
    const Pool pool;
    return textOf([[NSProcessInfo processInfo] operatingSystemVersionString]);
  }
  int processorCount() const override {
    const Pool pool;
    return static_cast<int>([[NSProcessInfo processInfo] processorCount]);
  }
  std::uint64_t physicalMemory() const override {
    const Pool pool;
    return [[NSProcessInfo processInfo] physicalMemory];
  }
  std::string globallyUniqueString() const override {
    const Pool pool;
    return textOf([[NSProcessInfo processInfo] globallyUniqueString]);
  }
  std::optional<std::string> executablePath() const override {
    const Pool pool;
    return optionalTextOf([[NSBundle mainBundle] executablePath]);
  }
  std::optional<std::string> bundleVersion() const override {
    const Pool pool;
    return optionalTextOf([[[NSBundle mainBundle] infoDictionary] objectForKey:@"CFBundleVersion"]);
  }
  std::string zipToolPath() const override { return "/usr/bin/ditto"; }
};

class MacThreads final : public platform::Threads {
 public:
  /// The work is copied into the capture, because GCC's Objective-C rejects a capture with an initialiser: it reads
  /// that as a message.
  bool detachNewThread(std::function<void()> body) override {
    return threads_.detachNewThread([body] {
      const Pool pool;
      body();
    });
  }

 private:
  platform::StandardThreads threads_;
};

class MacUsers final : public platform::Users {
 public:
  unsigned realUserId() const override { return ::getuid(); }

  std::string userName() const override {
    const Pool pool;
    return textOf(NSUserName());
  }
  std::string homeDirectory() const override {
    const Pool pool;
    return textOf(NSHomeDirectory());
  }
  /// A null name is not passed on, because the system would return the home of the process's own user.
  std::optional<std::string> homeDirectoryForUser(const std::optional<std::string>& name) const override {
    const Pool pool;
    NSString* const user = name ? stringOf(*name) : nil;
    return user == nil ? std::nullopt : optionalTextOf(NSHomeDirectoryForUser(user));
  }
  std::optional<std::string> consoleUser() const override {
    const Pool pool;
    NSString* const name = (NSString*)SCDynamicStoreCopyConsoleUser(nullptr, nullptr, nullptr);
    [name autorelease];
    return optionalTextOf(name);
  }
};

}  // namespace

std::unique_ptr<platform::Console> makeConsole() { return std::make_unique<MacConsole>(); }
std::unique_ptr<platform::StandardDirectories> makeDirectories() { return std::make_unique<MacDirectories>(); }
std::unique_ptr<platform::Packages> makePackages() { return std::make_unique<MacPackages>(); }
std::unique_ptr<platform::PropertyLists> makePropertyLists() { return std::make_unique<MacPropertyLists>(); }
std::unique_ptr<platform::SystemInformation> makeSystemInformation() { return std::make_unique<MacFacts>(); }
std::unique_ptr<platform::Threads> makeThreads() { return std::make_unique<MacThreads>(); }
std::unique_ptr<platform::Users> makeUsers() { return std::make_unique<MacUsers>(); }

}  // namespace qm::macos
