// SPDX-License-Identifier: MIT
#pragma once

// The functions of CoreFoundation that the macOS services call. GNUstep does not have them, so they are made from
// Foundation's objects.
#import <Foundation/Foundation.h>

#include <cstring>

using CFTypeRef = const void*;
using CFNumberRef = const void*;
using CFTypeID = unsigned long;

inline constexpr CFTypeID kBooleanForTests = 1;

inline bool hasType(CFTypeRef number, const char* codes) {
  return std::strchr(codes, *[static_cast<NSNumber*>(const_cast<void*>(number)) objCType]) != nullptr;
}

inline CFTypeID CFBooleanGetTypeID() { return kBooleanForTests; }
inline CFTypeID CFGetTypeID(CFTypeRef number) { return hasType(number, "cCB") ? kBooleanForTests : 0; }
inline bool CFNumberIsFloatType(CFNumberRef number) { return hasType(number, "fd"); }
