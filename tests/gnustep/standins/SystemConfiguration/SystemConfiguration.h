// SPDX-License-Identifier: MIT
#pragma once

// Returns the console user that a test has set.
#import <Foundation/Foundation.h>

using CFStringRef = const void*;

/// Null if nobody is at the console. The caller releases the name.
CFStringRef SCDynamicStoreCopyConsoleUser(const void* store, unsigned* user, unsigned* group);
