#pragma once

#include "host/policy/QVKConfigKeywordDataClassVT.h"
#include "host/policy/QVKConfigKeywordDataLevelVT.h"
#include "host/policy/QVKConfigKeywordFormatItemVT.h"
#include "host/policy/QVKConfigKeywordTemplateVT.h"

// A whole set of definitions as the agent hands it over or keeps it on disk. A value.
struct KwDefinitions {
    QVKConfigKeywordTemplateVT templates;
    QVKConfigKeywordFormatItemVT rules;
    QVKConfigKeywordDataClassVT data_classes;
    QVKConfigKeywordDataLevelVT data_levels;

    // Replaces the four archives in `directory` (made when missing), each in one step. 0 on success, else errno.
    [[nodiscard]] TORVANE_API int save(HString const& directory) const noexcept;
};
