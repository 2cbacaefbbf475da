#pragma once

#include "host/base/Export.h"
#include "host/base/HString.h"

// The language table: the text of each key, in English as built in, or as the file <root>/ini/DLPLanguage.ini (UTF-8,
// section "Language", "key=text" lines) gives it. The file is read once per root directory. An unknown key yields the
// key itself. Any thread; without memory the result is empty.
namespace Varnok {

[[nodiscard]] TORVANE_API HString Lan(HString const& key) noexcept;
// The text with the first "%s" replaced by `value`; a text without one stays as it is.
[[nodiscard]] TORVANE_API HString Lan1(HString const& key, HString const& value) noexcept;
// The text with the first "%d" replaced by `value`, a number's decimal text; a text without one stays as it is.
[[nodiscard]] TORVANE_API HString Lan2(HString const& key, HString const& value) noexcept;

}  // namespace Varnok
