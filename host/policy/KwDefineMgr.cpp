#include "host/policy/KwDefineMgr.h"

#include <algorithm>
#include <cerrno>
#include <memory>
#include <new>
#include <utility>

#include "host/base/HAutoMutex.h"
#include "host/base/NoThrow.h"
#include "host/policy/KwArchivePath.h"
#include "host/policy/KwDefinitionSet.h"
#include "host/policy/KwLocateMgr.h"

namespace {

// What is known of a template: of the set that holds the record itself, else worked out from the newest set into
// `made`.
KwTemplateFacts const& Facts(KwDefinitionSet const* newest, QVKConfigKeywordTemplateNode const& tpl,
                             KwTemplateFacts& made) {
    for (KwDefinitionSet const* set = newest; set != nullptr; set = set->older) {
        if (KwTemplateFacts const* const held = set->FactsHere(tpl)) return *held;
    }
    made = newest != nullptr ? newest->FactsOf(tpl) : KwDefinitionSet(KwDefinitions()).FactsOf(tpl);
    return made;
}

// Reads the archives of a directory, one after another. A missing one is an empty table.
class ArchiveLoader {
  public:
    explicit ArchiveLoader(HString const& directory) : directory_(directory) {}

    template <class Table>
    void Load(char const* short_name, Table& table) {
        int const error = table.from_file(Varnok::ArchivePath(directory_, short_name));
        if (error == EBADMSG) {
            damaged_ = error;
        } else if (unread_ == 0 && error != ENOENT) {
            unread_ = error;
        }
    }
    // Why the first archive that could not be read could not; 0 for none.
    [[nodiscard]] int Unread() const noexcept { return unread_; }
    // EBADMSG when an archive was damaged, else 0.
    [[nodiscard]] int Damaged() const noexcept { return damaged_; }

  private:
    HString const& directory_;
    int unread_ = 0;
    int damaged_ = 0;
};

}  // namespace

KwDefineMgr::KwDefineMgr() noexcept = default;

KwDefineMgr::~KwDefineMgr() {
    KwDefinitionSet const* set = current_.load(std::memory_order_acquire);
    while (set != nullptr)
        delete std::exchange(set, set->older);
}

KwDefineMgr* KwDefineMgr::pins() noexcept {
    static KwDefineMgr* const instance = new (std::nothrow) KwDefineMgr;  // never destroyed
    return instance;
}

void KwDefineMgr::set_config_path(HString const& directory) noexcept {
    HAutoMutex lock(mutex_);
    config_path_set_ = true;
    config_path_ = directory;
}

HString KwDefineMgr::get_config_path() const noexcept {
    HAutoMutex lock(mutex_);
    return config_path_;
}

int KwDefineMgr::load() noexcept {
    return NoThrow(ENOMEM, [&] {
        HAutoMutex lock(mutex_);
        HString const directory = config_path_set_ ? config_path_ : KwLocateMgr::pins()->get_config_path(true);
        if (directory.empty()) return config_path_set_ ? EINVAL : ENOMEM;
        KwDefinitions read;
        ArchiveLoader loader(directory);
        loader.Load(Varnok::kTemplateArchive, read.templates);
        loader.Load(Varnok::kFormatItemArchive, read.rules);
        loader.Load(Varnok::kDataClassArchive, read.data_classes);
        loader.Load(Varnok::kDataLevelArchive, read.data_levels);
        if (loader.Unread() != 0) return loader.Unread();
        return install(std::move(read)) ? loader.Damaged() : ENOMEM;
    });
}

bool KwDefineMgr::install(KwDefinitions definitions) noexcept {
    return NoThrow(false, [&] {
        auto set = std::make_unique<KwDefinitionSet>(std::move(definitions));
        HAutoMutex lock(mutex_);
        set->older = current_.load(std::memory_order_relaxed);
        current_.store(set.release(), std::memory_order_release);
        return true;
    });
}

QVKConfigKeywordTemplateNode const* KwDefineMgr::get_tpl_by_id(HString const& id) const noexcept {
    KwDefinitionSet const* const set = current_.load(std::memory_order_acquire);
    return set == nullptr ? nullptr : set->templates().Find(id);
}

QVKConfigKeywordFormatItemNode const* KwDefineMgr::get_rule_by_id(HString const& id) const noexcept {
    KwDefinitionSet const* const set = current_.load(std::memory_order_acquire);
    return set == nullptr ? nullptr : set->rules().Find(id);
}

QVKConfigKeywordDataClassNode const* KwDefineMgr::get_data_class_by_id(HString const& id) const noexcept {
    KwDefinitionSet const* const set = current_.load(std::memory_order_acquire);
    return set == nullptr ? nullptr : set->data_classes().Find(id);
}

QVKConfigKeywordDataLevelNode const* KwDefineMgr::get_data_level_by_id(HString const& id) const noexcept {
    KwDefinitionSet const* const set = current_.load(std::memory_order_acquire);
    return set == nullptr ? nullptr : set->data_levels().Find(id);
}

bool KwDefineMgr::get_config_vt(std::vector<QVKConfigKeywordTemplateNode const*>& templates) const noexcept {
    return NoThrow(false, [&] {
        KwDefinitionSet const* const set = current_.load(std::memory_order_acquire);
        if (set == nullptr) return true;
        std::vector<QVKConfigKeywordTemplateNode const*> const sorted = set->TemplatesById();
        templates.insert(templates.end(), sorted.begin(), sorted.end());
        return true;
    });
}

HString KwDefineMgr::get_md5_by_tpl(QVKConfigKeywordTemplateNode const& tpl) const noexcept {
    return NoThrow(HString(), [&] {
        KwTemplateFacts made;
        return Facts(current_.load(std::memory_order_acquire), tpl, made).md5;
    });
}

bool KwDefineMgr::get_rules_by_tpl(QVKConfigKeywordTemplateNode const& tpl,
                                   std::vector<QVKConfigKeywordFormatItemNode const*>& rules) const noexcept {
    return NoThrow(false, [&] {
        KwTemplateFacts made;
        KwTemplateFacts const& facts = Facts(current_.load(std::memory_order_acquire), tpl, made);
        rules.insert(rules.end(), facts.rules.begin(), facts.rules.end());
        return true;
    });
}

bool KwDefineMgr::is_exist_rule_sub_type(QVKConfigKeywordTemplateNode const& tpl, int sub_type) const noexcept {
    return NoThrow(false, [&] {
        KwTemplateFacts made;
        std::vector<int> const& sub_types = Facts(current_.load(std::memory_order_acquire), tpl, made).sub_types;
        return std::binary_search(sub_types.begin(), sub_types.end(), sub_type);
    });
}
