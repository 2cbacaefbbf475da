#include "tools/torvane/cache/KeyLookup.h"

namespace torvane {

namespace {

// What is wrong with the store or with a chain that may hold a key.
std::string LookOnce(StoreView const& store, std::vector<std::string> const& keys, KeyLook& found) {
    found.search = {};
    found.key = keys.front();
    found.unstorable = 0;
    found.keys = keys.size();
    if (std::string wrong = store.Damage(); !wrong.empty()) return wrong;
    if (!store.index().head() || store.IsLeftover()) return {};
    std::string wrong;
    for (std::string const& key : keys) {
        IndexView::Search const search = store.Find(key);
        if (&key == &keys.front() || search.outcome == IndexView::Outcome::kFound) {
            found.search = search;
            found.key = key;
        }
        if (search.outcome == IndexView::Outcome::kFound) return {};
        if (search.outcome == IndexView::Outcome::kNoBucket) ++found.unstorable;
        if (search.outcome == IndexView::Outcome::kBroken && wrong.empty()) {
            wrong = "the key's chain is damaged behind slot " + std::to_string(search.number);
        }
    }
    return wrong;
}

}  // namespace

KeyLook LookUp(StoreView& store, std::vector<std::string> const& keys) {
    KeyLook found;
    static_cast<Look&>(found) = LookAtFile(store.place().IndexPath(), [&] {
        store.OpenAgain();
        return LookOnce(store, keys, found);
    });
    return found;
}

}  // namespace torvane
