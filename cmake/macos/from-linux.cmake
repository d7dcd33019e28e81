# SPDX-License-Identifier: MIT
# Builds on Linux for one architecture of a Mac, with the tools that `scripts/setup macos` has downloaded.
# QM_MAC_ARCHITECTURE is arm64 (the default) or x86_64.
set(CMAKE_SYSTEM_NAME Darwin)
set(QM_MAC_ARCHITECTURE arm64 CACHE STRING "The architecture: arm64 or x86_64")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES QM_MAC_ARCHITECTURE)
set(CMAKE_SYSTEM_PROCESSOR ${QM_MAC_ARCHITECTURE})
string(REPLACE arm64 aarch64 QM_MAC_TARGET ${QM_MAC_ARCHITECTURE})

set(CMAKE_C_COMPILER ${CMAKE_CURRENT_LIST_DIR}/compiler ${QM_MAC_TARGET} cc)
set(CMAKE_CXX_COMPILER ${CMAKE_CURRENT_LIST_DIR}/compiler ${QM_MAC_TARGET} c++)
set(CMAKE_OBJCXX_COMPILER ${CMAKE_CURRENT_LIST_DIR}/compiler ${QM_MAC_TARGET} c++)
find_program(CMAKE_AR llvm-ar-14 REQUIRED)
find_program(CMAKE_RANLIB llvm-ranlib-14 REQUIRED)
set(CMAKE_INSTALL_NAME_TOOL /bin/true CACHE FILEPATH "")
set(CMAKE_OSX_SYSROOT "" CACHE PATH "")
set(CMAKE_OSX_DEPLOYMENT_TARGET "" CACHE STRING "")
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)

# The hand-written headers of the frameworks, and the stubs that are generated from them.
set(QM_MAC_DECLARATIONS ${CMAKE_CURRENT_LIST_DIR}/../../Platform/macos/declarations)
set(QM_MAC_STUBS ${CMAKE_BINARY_DIR}/stubs)
# CMake's own rule has the option -x objective-c++, which this compiler rejects. The ending .mm is enough for it.
set(CMAKE_OBJCXX_COMPILE_OBJECT
  "<CMAKE_OBJCXX_COMPILER> <DEFINES> <INCLUDES> <FLAGS> -o <OBJECT> -c <SOURCE>")
foreach(language C CXX OBJCXX)
  set(CMAKE_${language}_FLAGS_INIT "-isystem ${QM_MAC_DECLARATIONS}")
  set(CMAKE_${language}_LINK_EXECUTABLE
    "${CMAKE_CURRENT_LIST_DIR}/linker ${QM_MAC_TARGET} ${QM_MAC_STUBS} <TARGET> <OBJECTS> <LINK_LIBRARIES>")
endforeach()
