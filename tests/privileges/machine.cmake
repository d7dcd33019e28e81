# SPDX-License-Identifier: MIT
# The machine of the tests with the real message bus, polkit and pkexec; the benchmarks use it too.
find_package(PkgConfig REQUIRED)
find_package(GTest REQUIRED)
pkg_check_modules(TEST_POLKIT_AGENT REQUIRED IMPORTED_TARGET polkit-agent-1 gio-2.0)

qm_executable(test-desktop-agent ${CMAKE_CURRENT_LIST_DIR}/DesktopAgent.cpp)
target_link_libraries(test-desktop-agent PRIVATE PkgConfig::TEST_POLKIT_AGENT)
target_compile_definitions(test-desktop-agent PRIVATE POLKIT_AGENT_I_KNOW_API_IS_SUBJECT_TO_CHANGE)
qm_without_thread_sanitizer(test-desktop-agent)

qm_library(polkit_machine ${CMAKE_CURRENT_LIST_DIR}/PolkitMachine.cpp)
target_link_libraries(polkit_machine PUBLIC linux_privileges linux_system privilege_protocol posix_process private_machine)
add_dependencies(polkit_machine
  test-desktop-agent quillmark-admin-helper tessaly-uninstaller-admin-helper tessaly-uninstaller-credentials-agent)
