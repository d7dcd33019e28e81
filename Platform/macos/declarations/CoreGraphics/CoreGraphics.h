// SPDX-License-Identifier: MIT

// The parts of CoreGraphics that this project uses.
#pragma once

#include <stdbool.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef uint16_t CGKeyCode;
typedef int32_t CGEventSourceStateID;
enum : CGEventSourceStateID { kCGEventSourceStateCombinedSessionState = 0 };

bool CGEventSourceKeyState(CGEventSourceStateID state, CGKeyCode key);

#ifdef __cplusplus
}
#endif
