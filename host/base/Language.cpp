#include "host/base/Language.h"

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <map>
#include <memory>
#include <new>
#include <string_view>
#include <utility>

#include "host/base/HAutoMutex.h"
#include "host/base/HIniFileHelper.h"
#include "host/base/HMutex.h"
#include "host/base/LanguageTexts.h"
#include "host/base/LocateMgr.h"
#include "host/base/NeverDestroyed.h"
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
    static Varnok::NeverDestroyed<HMutex> const mutex([](void* place) { return new (place) HMutex; });
    return *mutex;
}

// Of the errors of opening or reading a file: those that say nothing about the file itself.
bool MayPass(int error) noexcept {
    return error == EMFILE || error == ENFILE || error == EIO || error == EINTR;
}

// Sets `error` to that of reading the file: 0, ENOENT or another.
std::unique_ptr<Table> ReadTable(unsigned generation, int& error) {
    auto table = std::make_unique<Table>();
    table->generation = generation;
    for (LanguageText const& built_in : kLanguageTexts)
        table->texts[built_in.key] = HString(built_in.text);
    HString path = LocateMgr::pins()->get_ini_path(true);
    if (path.empty()) throw std::bad_alloc();  // a relative path must not come of it
    HIniFileHelper file;
    error = file.setFile(path << "DLPLanguage.ini");
    HIniFileHelper::Entries entries;
    if (error == ENOMEM || !file.read_section("Language", entries)) throw std::bad_alloc();
    for (auto const& [key, text] : entries) {
        auto const known = table->texts.find(HString(key));
        if (known != table->texts.end()) known->second = HString(text);
    }
    return table;
}

// The table of the present root. `passing` keeps one that is not to last.
Table const* CurrentTable(std::unique_ptr<Table const>& passing) {
    unsigned const generation = LocateMgr::pins()->generation();
    Table const* table = current.load(std::memory_order_acquire);
    if (table != nullptr && table->generation == generation) return table;
    HAutoMutex const lock(ReadMutex());
    table = current.load(std::memory_order_acquire);
    if (table != nullptr && table->generation == generation) return table;
    int error = 0;
    std::unique_ptr<Table const> read = ReadTable(generation, error);
    if (MayPass(error)) {
        passing = std::move(read);
        return passing.get();
    }
    // Other threads may still read the table of the root before.
    Retain(current.exchange(read.release(), std::memory_order_acq_rel));
    return current.load(std::memory_order_acquire);
}

HString Filled(HString const& key, std::u16string_view placeholder, HString const& value) {
    HString pattern = LanOrThrow(key);
    std::size_t const place = pattern.view().find(placeholder);
    if (place == std::u16string_view::npos) return pattern;
    HString text(pattern.view().substr(0, place));
    text << value << HString(pattern.view().substr(place + placeholder.size()));
    return text;
}

}  // namespace

HString LanOrThrow(HString const& key) {
    std::unique_ptr<Table const> passing;
    Table const* const table = CurrentTable(passing);
    auto const found = table->texts.find(key);
    return found == table->texts.end() ? key : found->second;
}

HString Lan1OrThrow(HString const& key, HString const& value) {
    return Filled(key, u"%s", value);
}

HString Lan2OrThrow(HString const& key, HString const& value) {
    return Filled(key, u"%d", value);
}

HString Lan(HString const& key) noexcept {
    return NoThrow(HString(), [&] { return LanOrThrow(key); });
}

HString Lan1(HString const& key, HString const& value) noexcept {
    return NoThrow(HString(), [&] { return Lan1OrThrow(key, value); });
}

HString Lan2(HString const& key, HString const& value) noexcept {
    return NoThrow(HString(), [&] { return Lan2OrThrow(key, value); });
}

}  // namespace Varnok
