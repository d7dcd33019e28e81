// SPDX-License-Identifier: MIT
#include <algorithm>
#include <iterator>
#include <tuple>

#include "Platform/Clock.h"
#include "Platform/DesktopShell.h"
#include "Platform/FileReferences.h"
#include "Platform/FileSystem.h"
#include "Platform/FinderInformation.h"
#include "Platform/Platform.h"
#include "Shared/QMAuthorization.h"
#include "Shared/QMFileManager.h"
#include "Shared/QMTask.h"

using qm::foundation::Color;
using qm::platform::platform;

namespace {

/// The bits of the label in the Finder flags.
constexpr unsigned kLabelMask = 0x000E;

/// The lowest bit of the flags is ignored: each colour has two values.
struct LabelColor {
  unsigned flags = 0;
  Color color;
};
constexpr LabelColor kLabelColors[] = {
    {2, {0.0, 0.0, 0.72}},      {4, {0.2056, 0.5, 0.85}},  {6, {0.7917, 0.26, 0.86}},  {8, {0.5789, 0.56, 0.98}},
    {10, {0.1388, 0.54, 0.95}}, {12, {0.0083, 0.54, 1.0}}, {14, {0.0888, 0.52, 0.98}},
};

constexpr const char* kTouch = "/usr/bin/touch";
constexpr QMTask::TimeoutInterval kTouchLimit(5.0);

void setCreationDateToNow(const std::string& path) {
  std::ignore = platform().fileSystem->setCreationDate(path, platform().clock->now());
}

std::optional<std::uint16_t> finderFlags(const QMFileManager::FSRef& reference) {
  return platform().finderInformation->finderFlags(reference);
}

}  // namespace

unsigned QMFileManager::finderColorIndexForPath(const std::string& path) {
  return finderFlags(stringToFSRef(path)).value_or(0);
}

/// Only flags that hold nothing but a label, and possibly the lowest bit, have a colour.
std::optional<Color> QMFileManager::finderColorForPath(const std::string& path) {
  const unsigned label = finderColorIndexForPath(path) & ~1U;
  const auto* found = std::find_if(std::begin(kLabelColors), std::end(kLabelColors),
                                   [label](const LabelColor& row) { return row.flags == label; });
  if (found == std::end(kLabelColors)) return std::nullopt;
  return found->color;
}

void QMFileManager::setFinderColorIndex(unsigned index, const std::string& path) {
  const FSRef reference = stringToFSRef(path);
  const auto flags = finderFlags(reference);
  if (!flags) return;
  const auto changed = static_cast<std::uint16_t>((*flags & ~kLabelMask) | (index & kLabelMask));
  std::ignore = platform().finderInformation->setFinderFlags(reference, changed);
}

bool QMFileManager::touchFile(const std::optional<std::string>& path, SetCreationDate setCreationDate) {
  if (!path) return false;
  const std::vector<std::string> arguments{"-c", *path};
  const bool isWritable = platform().fileSystem->isWritableFile(*path);
  if (isWritable) QMTask::runTask(kTouch, arguments, kTouchLimit);
  if (setCreationDate == SetCreationDate::Yes) setCreationDateToNow(*path);
  return isWritable ||
         QMAuthorization::sharedController()->authExecTask(kTouch, arguments, QMAuthorization::Async::No) == 0;
}

bool QMFileManager::touchFile(const std::optional<std::string>& path) { return touchFile(path, SetCreationDate::No); }

QMFileManager::FSRef QMFileManager::stringToFSRef(const std::string& path) {
  return platform().fileReferences->make(path);
}

std::optional<std::string> QMFileManager::stringWithFSRef(const FSRef* reference) {
  if (reference == nullptr) return std::nullopt;
  return platform().fileReferences->path(*reference);
}

bool QMFileManager::registerApplicationWithLaunchServices(const std::string& path) {
  return platform().desktopShell->registerApplication(path) == qm::platform::noErr;
}

void QMFileManager::notifyFileSystemChanged(const std::string& path) {
  const FSRef reference = stringToFSRef(path);
  SendFinderSyncEvent(&reference);
}

QMFileManager::OSStatus SendFinderSyncEvent(const QMFileManager::FSRef* reference) {
  if (reference == nullptr) return qm::platform::fnfErr;
  auto& shell = *platform().desktopShell;
  std::unique_ptr<qm::platform::Alias> alias;
  const QMFileManager::OSStatus error = shell.newMinimalAlias(*reference, &alias);
  return error != qm::platform::noErr ? error : shell.sendUpdateEvent(*alias);
}
