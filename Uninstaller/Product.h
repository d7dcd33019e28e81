// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/ProductIdentity.h"
#include "Uninstaller/InstalledFolders.h"

/// The names of the uninstaller and its programs, in one place. A test compares them with the data in `packaging/`.
inline constexpr qm::platform::ProductIdentity kProduct = {
    .program = "tessaly-uninstaller",
    .identifier = "com.quillmark.tessaly-uninstaller",
    .programsFolder = kInstalledProgramsFolder,
    .dataFolder = kInstalledDataFolder,
    .helper = "tessaly-uninstaller-admin-helper",
    .toolHelper = "quillmark-admin-helper",
    .credentialsAgent = "tessaly-uninstaller-credentials-agent",
    .zipTool = "tessaly-ditto",
    .helperAction = "com.quillmark.uninstaller.admin",
    .toolHelperAction = "com.quillmark.admin",
    .workFolderPrefix = ".tessaly-uninstaller-",
    .bundleEntryKey = "X-Quillmark-Bundle",
    .bundleEntryPrefix = "quillmark-bundle-",
};
