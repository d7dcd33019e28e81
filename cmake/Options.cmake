# What every target of the project is compiled with.
add_library(qm_options INTERFACE)
target_compile_options(qm_options INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast> -Wcast-align
  -Woverloaded-virtual -Wnon-virtual-dtor -Wnull-dereference -Wformat=2 -Wimplicit-fallthrough
  $<$<BOOL:${QM_WERROR}>:-Werror>)
target_include_directories(qm_options INTERFACE ${PROJECT_SOURCE_DIR} ${PROJECT_BINARY_DIR}/generated)
# GCC 12 inlines the standard library's strings and streams in optimised builds and then warns of faults
# that are not there; the same sources are compiled with these warnings in the other builds.
target_compile_options(qm_options INTERFACE
  $<$<AND:$<CXX_COMPILER_ID:GNU>,$<CONFIG:Release,RelWithDebInfo>>:-Wno-null-dereference;-Wno-restrict;-Wno-stringop-overflow>)

# Clang takes the older standard library's own use of what that has deprecated, in std::stable_sort, for ours. GCC, which
# knows better, still warns of ours.
target_compile_options(qm_options INTERFACE $<$<CXX_COMPILER_ID:Clang>:-Wno-deprecated-declarations>)

# Whoever finds a fault in a program that handles others' files, or runs as root, shall not get far with it. The
# sanitizers watch the same places themselves, and see less where these do.
if(NOT QM_SANITIZE AND NOT QM_FUZZ AND NOT CMAKE_SYSTEM_NAME STREQUAL "Darwin")
  include(CheckCXXCompilerFlag)
  include(CheckCXXSourceCompiles)
  foreach(flag -fstack-protector-strong -fstack-clash-protection -fcf-protection)
    string(MAKE_C_IDENTIFIER "QM_HAS${flag}" known)
    check_cxx_compiler_flag(${flag} ${known})
    target_compile_options(qm_options INTERFACE $<$<BOOL:${${known}}>:${flag}>)
  endforeach()
  # The C library's checks take an optimiser; the third level, a compiler that knows sizes while the program runs.
  check_cxx_source_compiles("#if !__has_builtin(__builtin_dynamic_object_size)
    #error
    #endif
    int main() {}" QM_HAS_DYNAMIC_OBJECT_SIZE)
  if(QM_HAS_DYNAMIC_OBJECT_SIZE)
    set(fortify_level 3)
  else()
    set(fortify_level 2)
  endif()
  target_compile_options(qm_options INTERFACE
    $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=${fortify_level}>)
endif()
# The same objects serve the programs and the library for others. Nobody replaces a function of ours from outside, so that
# they are no slower than those of programs alone.
target_compile_options(qm_options INTERFACE $<$<PLATFORM_ID:Darwin>:-fstack-protector-strong> -fPIC $<$<PLATFORM_ID:Linux>:-fno-semantic-interposition>)
# A quarter less time for a tenth more memory: otherwise GCC looks for what it can free from the first megabytes on.
target_compile_options(qm_options INTERFACE
  $<$<CXX_COMPILER_ID:GNU>:SHELL:--param ggc-min-heapsize=1000000>)

if(QM_SANITIZE)
  # Everything, tests' libraries aside, is built with the sanitizers.
  # The check of objects' types opens a pipe, and reports a fault in tests that have no descriptor left.
  add_compile_options(-fsanitize=${QM_SANITIZE} -fno-sanitize=vptr -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${QM_SANITIZE})
  # The sanitizers' instrumentation makes the compiler see null pointers that cannot be.
  target_compile_options(qm_options INTERFACE -Wno-null-dereference -Wno-maybe-uninitialized)
endif()
if(QM_COVERAGE)
  add_compile_options(--coverage -fprofile-update=atomic)
  add_link_options(--coverage)
endif()

# For programs that run threads of GLib's and none of their own: ThreadSanitizer, which does not see that library's
# locks, would report its every step.
function(qm_without_thread_sanitizer)
  if(QM_SANITIZE MATCHES thread)
    foreach(target ${ARGN})
      target_compile_options(${target} PRIVATE -fno-sanitize=all)
      target_link_options(${target} PRIVATE -fno-sanitize=all)
    endforeach()
  endif()
endfunction()

# A program carries what it calls, however its files were compiled. Tests call all that they are made of, and are compiled
# and linked faster in one piece.
function(qm_separate_sections name)
  if(NOT CMAKE_CURRENT_SOURCE_DIR MATCHES "^${PROJECT_SOURCE_DIR}/tests(/|$)")
    target_compile_options(${name} PRIVATE -ffunction-sections -fdata-sections)
  endif()
endfunction()

# The project's own targets: qm_library(name sources...), qm_executable(name sources...). The global property
# QM_PROGRAMS names the programs that are neither tests nor benchmarks.
function(qm_library name)
  add_library(${name} STATIC ${ARGN})
  target_link_libraries(${name} PRIVATE qm_options)
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR})
  qm_separate_sections(${name})
endfunction()

function(qm_executable name)
  add_executable(${name} ${ARGN})
  target_link_libraries(${name} PRIVATE qm_options)
  qm_separate_sections(${name})
  target_link_options(${name} PRIVATE
    $<$<PLATFORM_ID:Linux>:-pie;-Wl,-z,relro,-z,now,-z,noexecstack,--gc-sections>
    $<$<PLATFORM_ID:Darwin>:-Wl,-dead_strip>)
  if(NOT CMAKE_CURRENT_SOURCE_DIR MATCHES "^${PROJECT_SOURCE_DIR}/(tests|bench)(/|$)")
    set_property(GLOBAL APPEND PROPERTY QM_PROGRAMS ${name})
  endif()
endfunction()
