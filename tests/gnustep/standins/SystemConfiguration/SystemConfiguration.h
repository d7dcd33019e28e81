// SPDX-License-Identifier: MIT
#pragma once

// Who is at the console, as a test says it.
#import <Foundation/Foundation.h>

using CFStringRef = const void*;

/// Null while nobody is. Its caller releases the name.
CFStringRef SCDynamicStoreCopyConsoleUser(const void* store, unsigned* user, unsigned* group);
