# SPDX-License-Identifier: MIT
# The files of the front end that macOS and GNUstep share. The two systems implement `SystemCalls.h` and
# `systemPlatform` differently, so whoever uses this list adds those files.
set(QM_APPKIT_FILES
  AppController.mm
  Application.mm
  Controls.mm
  Description.cpp
  Details.mm
  FreshKeys.cpp
  FrontEnd.mm
  Instances.cpp
  Localize.mm
  MainInterface.mm
  MainThread.mm
  Measure.cpp
  PlanController.mm
  PlanView.mm
  UserInterface.mm)
list(TRANSFORM QM_APPKIT_FILES PREPEND ${CMAKE_CURRENT_LIST_DIR}/)
