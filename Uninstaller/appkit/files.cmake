# SPDX-License-Identifier: MIT
# The front end's own files, for every system with AppKit. What such systems do each in its own way (`SystemCalls.h`,
# `systemPlatform`) is added by whoever builds it.
set(QM_APPKIT_FILES
  AppController.mm
  Application.mm
  Controls.mm
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
