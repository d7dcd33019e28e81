// SPDX-License-Identifier: MIT
#pragma once

#import <Foundation/Foundation.h>

#include <string>

namespace qm::appkit {

/// A text for the toolkit. If it is not UTF-8, as a file's name may be, each byte is shown as one character of Latin-1.
inline NSString* textOf(const std::string& text) {
  NSString* const shown = [NSString stringWithUTF8String:text.c_str()];
  return shown != nil ? shown : [NSString stringWithCString:text.c_str() encoding:NSISOLatin1StringEncoding];
}

}  // namespace qm::appkit
