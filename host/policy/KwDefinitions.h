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

    // Replaces the four archives in `directory` (made when missing), each in one step, the templates last: whoever dies
    // in between leaves templates that were there before, with some of the new rules, classes and levels. 0 on success,
    // else the errno of the first archive that could not be kept; EINVAL for the directory "".
    [[nodiscard]] TORVANE_API int save(HString const& directory) const noexcept;
};
