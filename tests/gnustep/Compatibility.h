// SPDX-License-Identifier: MIT
#pragma once

// Names that AppKit has had since macOS 10.12. GNUstep has the former names only. Included before every file.
#import <AppKit/AppKit.h>

#define NSAlertStyleInformational NSInformationalAlertStyle
#define NSAlertStyleWarning NSWarningAlertStyle
#define NSBezelStyleDisclosure NSDisclosureBezelStyle
#define NSButtonTypePushOnPushOff NSPushOnPushOffButton
#define NSEventMaskAny NSAnyEventMask
#define NSEventTypeKeyDown NSKeyDown
#define NSEventTypeKeyUp NSKeyUp
#define NSTextAlignmentLeft NSLeftTextAlignment
