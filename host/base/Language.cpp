#include "host/base/Language.h"

#include <atomic>
#include <cerrno>
#include <map>
#include <memory>
#include <new>
#include <string>

#include "host/base/HAutoMutex.h"
#include "host/base/HIniFileHelper.h"
#include "host/base/HMutex.h"
#include "host/base/LanguageTexts.h"
#include "host/base/LocateMgr.h"
#include "host/base/NoThrow.h"
#include "host/base/Retained.h"

namespace Varnok {
namespace {

// The texts that hold while the root directory stays the same. Never changed once others can see it.
struct Table {
    std::map<HString, HString> texts;
    unsigned generation = 0;  // of the root directory
};

constinit std::atomic<Table const*> current{nullptr};

// Held while a table is read, so that it is read once.
HMutex& ReadMutex() noexcept {
    alignas(HMutex) static unsigned char storage[sizeof(HMutex)];
    static HMutex* const mutex = new (storage) HMutex;
    return *mutex;
}

std::unique_ptr<Table> ReadTable(unsigned generation) {
    auto table = std::make_unique<Table>();
    table->generation = generation;
    for (LanguageText const& built_in : kLanguageTexts)
        table->texts[built_in.key] = HString(built_in.text);
    HIniFileHelper file;
    (void)file.setFile(LocateMgr::pins()->get_ini_path(true) << "DLPLanguage.ini");
    for (auto const& [key, text] : file.read_section("Language")) {
        auto const known = table->texts.find(HString(key));
        if (known != table->texts.end()) known->second = HString(text);
    }
    return table;
}

Table const* CurrentTable() {
    unsigned const generation = LocateMgr::pins()->generation();
    Table const* table = current.load(std::memory_order_acquire);
    if (table != nullptr && table->generation == generation) return table;
    HAutoMutex const lock(ReadMutex());
    table = current.load(std::memory_order_acquire);
    if (table != nullptr && table->generation == generation) return table;
    // Other threads may still read the table of the root before.
    Retain(current.exchange(ReadTable(generation).release(), std::memory_order_acq_rel));
    return current.load(std::memory_order_acquire);
}

HString TextOf(HString const& key) {
    Table const* const table = CurrentTable();
    auto const found = table->texts.find(key);
    return found == table->texts.end() ? key : found->second;
}

HString Filled(HString const& key, std::u16string_view placeholder, HString const& value) noexcept {
    return NoThrow(HString(), [&] {
        std::u16string text(TextOf(key).view());
        std::size_t const place = text.find(placeholder);
        if (place != std::u16string::npos) text.replace(place, placeholder.size(), value.view());
        return HString(std::move(text));
    });
}

}  // namespace

HString Lan(HString const& key) noexcept {
    return NoThrow(HString(), [&key] { return TextOf(key); });
}

HString Lan1(HString const& key, HString const& value) noexcept {
    return Filled(key, u"%s", value);
}

HString Lan2(HString const& key, HString const& value) noexcept {
    return Filled(key, u"%d", value);
}

}  // namespace Varnok
