# SPDX-License-Identifier: MIT
# Gives QuillmarkShared::shared and QuillmarkShared::static.
include(CMakeFindDependencyMacro)
find_dependency(Threads)
include(${CMAKE_CURRENT_LIST_DIR}/QuillmarkSharedTargets.cmake)
