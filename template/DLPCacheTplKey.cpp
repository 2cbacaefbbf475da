#include "host/base/NoThrow.h"
#include "template/DLPCacheTpl.h"

namespace {

HString Lower(HString text) {
    return text.to_lower_case();
}

}  // namespace

HString DLPCacheTpl::Key::to_str() const noexcept {
    return NoThrow(HString(), [&] {
        HString text = Lower(short_name);
        text << ":" << Lower(md5) << ":" << number_1 << ":" << number_2;
        return text;
    });
}

HString DLPCacheTpl::Key::to_hash() const noexcept {
    return NoThrow(HString(), [&] { return Hash(); });
}

HString DLPCacheTpl::Key::Hash() const {
    if (number_1 == 0 && number_2 == 0 && short_name.empty()) return Lower(md5);
    HString text = md5;
    if (short_name.not_empty()) text << ":" << Lower(short_name);
    if (number_1 != 0) text << ":" << number_1;
    if (number_2 != 0) text << ":" << number_2;
    return text.get_md5_std_format_lower(HString());
}
