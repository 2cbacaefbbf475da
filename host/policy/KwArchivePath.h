#pragma once

#include "host/base/HString.h"

// The record files of the agent's tables.
namespace Varnok {

// Short names of those of the definitions, the same in the agent's configuration directory and in every snapshot.
inline constexpr char kTemplateArchive[] = "KeywordTemplate.arc";
inline constexpr char kFormatItemArchive[] = "KeywordFormatItem.arc";
inline constexpr char kDataClassArchive[] = "KeywordDataClass.arc";
inline constexpr char kDataLevelArchive[] = "KeywordDataLevel.arc";
// Of the audit policies; in the agent's configuration directory only.
inline constexpr char kAuditPolicyArchive[] = "PolicySensitiveFileAudit.arc";

// The path of a record file in the agent's configuration directory; empty without memory.
[[nodiscard]] HString ArchivePath(char const* short_name) noexcept;
// The same in `directory`, which must not be empty.
[[nodiscard]] HString ArchivePath(HString const& directory, char const* short_name);

}  // namespace Varnok
