// SPDX-License-Identifier: MIT
#include "Platform/linux/desktop/ApplicationBundle.h"

#include <plist/plist.h>
#include <sys/stat.h>

#include <cstdint>
#include <optional>
#include <vector>

#include "Platform/foundation/PathComponents.h"
#include "Platform/linux/system/PlistDocument.h"
#include "Platform/posix/ItemPath.h"
#include "Platform/posix/PosixFileSystem.h"

namespace qm::linux_ {
namespace {

/// The node if it is of the given type, else null.
plist_t ofType(plist_t node, plist_type type) {
  return node != nullptr && ::plist_get_node_type(node) == type ? node : nullptr;
}

std::optional<std::string> textOf(plist_t node) {
  std::uint64_t length = 0;
  const char* text = node == nullptr ? nullptr : ::plist_get_string_ptr(node, &length);
  return text == nullptr ? std::nullopt : std::optional(std::string(text, length));
}

std::string textAt(plist_t dictionary, const char* key) {
  return textOf(ofType(::plist_dict_get_item(dictionary, key), PLIST_STRING)).value_or("");
}

template <class Take>
void forEachElement(plist_t list, Take take) {
  const std::uint32_t count = list == nullptr ? 0 : ::plist_array_get_size(list);
  for (std::uint32_t i = 0; i < count; ++i) take(::plist_array_get_item(list, i));
}

plist_t arrayAt(plist_t dictionary, const char* key) {
  return ofType(::plist_dict_get_item(dictionary, key), PLIST_ARRAY);
}

std::vector<std::string> mediaTypesIn(plist_t information) {
  std::vector<std::string> types;
  forEachElement(arrayAt(information, "CFBundleDocumentTypes"), [&](plist_t documentType) {
    if (ofType(documentType, PLIST_DICT) == nullptr) return;
    forEachElement(arrayAt(documentType, "CFBundleTypeMIMETypes"), [&](plist_t type) {
      if (auto text = textOf(ofType(type, PLIST_STRING))) types.push_back(std::move(*text));
    });
  });
  return types;
}

bool isFileName(const std::string& name) {
  return !name.empty() && name != "." && name != ".." && name.find('/') == std::string::npos &&
         name.find('\0') == std::string::npos;
}

// A desktop that shows the menu opens the icons in it, and would block on a pipe.
bool isRegularFile(const std::string& path) {
  struct stat found {};
  return ::stat(path.c_str(), &found) == 0 && S_ISREG(found.st_mode);
}

std::optional<std::string> iconIn(const std::string& bundle, const std::string& name) {
  if (!isFileName(name)) return std::nullopt;
  const std::string given = bundle + "/Contents/Resources/" + name;
  const std::string stem = name.ends_with(".icns") ? foundation::deletingPathExtension(given) : given;
  for (const char* extension : {".svg", ".png", "", ".icns"}) {
    if (isRegularFile(stem + extension)) return stem + extension;
  }
  return std::nullopt;
}

std::string nameOf(plist_t information, const std::string& bundle) {
  for (const char* key : {"CFBundleDisplayName", "CFBundleName"}) {
    if (auto name = textAt(information, key); !name.empty()) return name;
  }
  return foundation::deletingPathExtension(foundation::lastPathComponent(bundle));
}

}  // namespace

platform::OSStatus readApplicationBundle(const std::string& path, ApplicationBundle& bundle) {
  const posix::PosixFileSystem files;
  if (!files.isDirectory(path)) return files.fileExists(path) ? platform::kLSNotAnApplicationErr : platform::fnfErr;
  const std::string folder = posix::withoutTrailingSlashes(path);
  const PlistDocument document = readPlistDocument(folder + "/Contents/Info.plist");
  plist_t information = ofType(document.get(), PLIST_DICT);
  if (information == nullptr) return platform::kLSNotAnApplicationErr;
  const std::string executable = textAt(information, "CFBundleExecutable");
  const std::string program = folder + "/Contents/MacOS/" + executable;
  if (!isFileName(executable) || !files.isExecutableFile(program)) return platform::kLSNoExecutableErr;
  bundle.identifier = textAt(information, "CFBundleIdentifier");
  bundle.entry = {nameOf(information, folder), program, iconIn(folder, textAt(information, "CFBundleIconFile")),
                  mediaTypesIn(information), folder};
  return platform::noErr;
}

}  // namespace qm::linux_
