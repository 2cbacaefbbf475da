#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <utility>

#include "host/policy/KwDefineMgr.h"

// Puts the definitions in force for the process. Installed records must not be changed, so they share nothing with
// `definitions`.
inline void InstallCopyOf(KwDefinitions definitions) {
    auto const unshare = [](auto& table) {
        for (auto& node : table.nodes)
            node.common = std::make_shared<QVKCommon>(*node.common);
    };
    unshare(definitions.templates);
    unshare(definitions.rules);
    unshare(definitions.data_classes);
    unshare(definitions.data_levels);
    ASSERT_TRUE(KwDefineMgr::pins()->install(std::move(definitions)));
}
