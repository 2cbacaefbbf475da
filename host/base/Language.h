#pragma once

#include "host/base/Export.h"
#include "host/base/HString.h"

// The language table: the text of each key, in English as built in, or as the file <root>/ini/DLPLanguage.ini (UTF-8,
// section "Language", "key=text" lines) gives it. The file is read once per root directory; while it cannot be read for
// want of descriptors or after an I/O error the built-in texts hold, and it is tried again. An unknown key yields the
// key itself. Any thread; without memory the result is empty.
namespace Varnok {

[[nodiscard]] TORVANE_API HString Lan(HString const& key) noexcept;  // the text as it stands
// The text with the first "%s" replaced by `value`; a text without one stays as it is.
[[nodiscard]] TORVANE_API HString Lan1(HString const& key, HString const& value) noexcept;
// The text with the first "%d" replaced by `value`, a number's decimal text; a text without one stays as it is.
[[nodiscard]] TORVANE_API HString Lan2(HString const& key, HString const& value) noexcept;

// The same for who puts texts together and must not take a missing piece for an empty one: these throw std::bad_alloc
// without memory.
[[nodiscard]] HString LanOrThrow(HString const& key);
[[nodiscard]] HString Lan1OrThrow(HString const& key, HString const& value);
[[nodiscard]] HString Lan2OrThrow(HString const& key, HString const& value);

}  // namespace Varnok
