// SPDX-License-Identifier: MIT
#pragma once

#include <Platform/ProductIdentity.h>

inline constexpr qm::platform::ProductIdentity kTidy = {
    .program = "pack",
    .toolHelper = "tidy-helper",
    .credentialsAgent = "tidy-agent",
    .zipTool = "tidy-zip",
    .toolHelperAction = "com.example.tidy.admin",
};
