// SPDX-License-Identifier: MIT
#include "Platform/linux/files/BundlePackages.h"

#include <sys/stat.h>

#include <algorithm>
#include <iterator>
#include <string_view>

#include "Platform/posix/ItemPath.h"

namespace qm::linux_ {
namespace {

constexpr std::string_view kBundleExtensions[] = {
    "action",
    "app",
    "appex",
    "bundle",
    "clr",
    "colorpicker",
    "component",
    "definition",
    "download",
    "driver",
    "framework",
    "ibplugin",
    "kext",
    "lbaction",
    "mdimporter",
    "mpkg",
    "octest",
    "pkg",
    "plugin",
    "prefpane",
    "qlgenerator",
    "rtfd",
    "saver",
    "scptd",
    "service",
    "slidesaver",
    "spreporter",
    "sparsebundle",
    "systemextension",
    "wdgt",
    "workflow",
    "xcodeproj",
    "xctest",
    "xpc",
};

mode_t kindAt(const std::string& path) {
  struct stat attributes {};
  return ::stat(path.c_str(), &attributes) == 0 ? attributes.st_mode & S_IFMT : 0;
}

std::string lowercaseAscii(std::string text) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
  std::transform(text.begin(), text.end(), text.begin(), lower);
  return text;
}

/// If the only dot is at the start of a name, it begins no extension.
bool hasBundleExtension(const std::string& name) {
  const auto dot = name.rfind('.');
  if (dot == std::string::npos || dot == 0) return false;
  const std::string extension = lowercaseAscii(name.substr(dot + 1));
  return std::find(std::begin(kBundleExtensions), std::end(kBundleExtensions), extension) !=
         std::end(kBundleExtensions);
}

}  // namespace

bool BundlePackages::isFilePackage(const std::string& path) const {
  if (posix::pathError(path) != 0 || kindAt(path) != S_IFDIR) return false;
  return hasBundleExtension(posix::nameIn(path)) || kindAt(path + "/Contents/Info.plist") == S_IFREG;
}

}  // namespace qm::linux_
