# SPDX-License-Identifier: MIT
# What only a build for a Mac needs: Objective-C++, the source of utf8proc and, on Linux, stubs of the system's libraries.
enable_language(C OBJCXX)
set(CMAKE_OBJCXX_STANDARD ${CMAKE_CXX_STANDARD})
set(CMAKE_OBJCXX_STANDARD_REQUIRED ON)
set(CMAKE_OBJCXX_EXTENSIONS OFF)

# `scripts/setup macos` downloads it, because neither the system nor the compiler has the library for both architectures.
set(QM_UTF8PROC_SOURCE ${PROJECT_SOURCE_DIR}/build/tools/macos/utf8proc CACHE PATH "The source of utf8proc 2.8.0")
if(NOT EXISTS ${QM_UTF8PROC_SOURCE}/utf8proc.c)
  message(FATAL_ERROR "The source of utf8proc is not in ${QM_UTF8PROC_SOURCE}. Run scripts/setup macos.")
endif()
add_library(utf8proc STATIC ${QM_UTF8PROC_SOURCE}/utf8proc.c)
target_include_directories(utf8proc SYSTEM PUBLIC ${QM_UTF8PROC_SOURCE})
target_compile_definitions(utf8proc PUBLIC UTF8PROC_STATIC)

# On Linux programs are linked against stubs of a Mac's libraries, which are generated from the declarations.
if(CMAKE_CROSSCOMPILING)
  execute_process(COMMAND ${CMAKE_CURRENT_LIST_DIR}/stubs ${QM_MAC_DECLARATIONS} ${QM_MAC_STUBS} COMMAND_ERROR_IS_FATAL ANY)
endif()
