// SPDX-License-Identifier: MIT

// Names that the Mac's headers, its Objective-C runtime and programs themselves have at global scope or as macros.

struct FSRef {
  unsigned char hidden[80];
};
struct Async;
typedef signed int SInt32;
typedef unsigned int UInt32;
typedef unsigned char Boolean;
typedef SInt32 OSStatus;
typedef unsigned int OptionBits;
typedef const struct AuthorizationOpaqueRef* AuthorizationRef;
typedef UInt32 AuthorizationFlags;
typedef struct {
  const char* name;
} AuthorizationItem;
typedef struct __FSFileOperation* FSFileOperationRef;
typedef struct AliasRecord* AliasHandle;
struct Color;
struct Exception;
struct Status;
struct Task;
template <class Type>
class Singleton;
enum { noErr = 0, fnfErr = -43, procNotFound = -600, userCanceledErr = -128 };
enum { kLSUnknownErr = -10810, kLSNotAnApplicationErr = -10811, kLSNoExecutableErr = -10827 };
enum { errAuthorizationSuccess = 0, errAuthorizationDenied = -60005, errAuthorizationCanceled = -60006 };
enum { kAuthorizationFlagDefaults = 0, kAuthorizationFlagExtendRights = 2 };
extern const void* const kFSOperationTotalBytesKey;
extern const void* const kFSOperationThroughputKey;

#define nil nullptr
#define Nil nullptr
#define YES true
#define NO false
#define check(assertion)
#define verify(assertion)
#define require(assertion, label)
