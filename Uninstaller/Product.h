#pragma once

#include "Platform/ProductIdentity.h"
#include "Uninstaller/InstalledFolders.h"

/// What the uninstaller and its programs are called. The one place: the data of `packaging/` has the same names, which
/// a test compares.
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
