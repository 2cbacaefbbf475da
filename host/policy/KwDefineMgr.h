#pragma once

#include <atomic>
#include <vector>

#include "host/base/Export.h"
#include "host/base/HMutex.h"
#include "host/base/HString.h"
#include "host/policy/KwDefinitions.h"

class KwDefinitionSet;

// A set of template, rule, data class and data level definitions, each found by id in constant time.
//
// Readers take no lock. `install` and `load` put a whole new set in place at once: a reader sees the old set or the new
// one, never a mixture, and the old set is kept, so that pointers handed out before stay valid for the manager's life
// (each replacement costs the memory of its set until then). A record that this manager has handed out is answered (its
// MD5, its rules) from the set that it came from, also after a replacement. Any thread may call anything; nothing
// throws.
class TORVANE_API KwDefineMgr {
  public:
    KwDefineMgr() noexcept;
    ~KwDefineMgr();
    KwDefineMgr(KwDefineMgr const&) = delete;
    KwDefineMgr& operator=(KwDefineMgr const&) = delete;

    // The process-wide definitions; empty until the agent loads or installs some. Null only without memory.
    [[nodiscard]] static KwDefineMgr* pins() noexcept;

    // The directory that `load` reads; never set, it is the agent's (KwLocateMgr::get_config_path).
    void set_config_path(HString const& directory) noexcept;
    [[nodiscard]] HString get_config_path() const noexcept;
    // Reads the four archives and puts them in place; a missing or damaged one is an empty table. 0, or EBADMSG: one
    // was damaged, the rest is in place. Any other errno: one could not be read (EINVAL: the directory is ""), and
    // nothing was replaced.
    int load() noexcept;
    // Puts `definitions` in place. Of records with the same id the first counts. False without memory (nothing
    // replaced).
    bool install(KwDefinitions definitions) noexcept;

    // The record of an id, or null. It stays valid as long as the manager and must not be changed, nor what it shares.
    [[nodiscard]] QVKConfigKeywordTemplateNode const* get_tpl_by_id(HString const& id) const noexcept;
    [[nodiscard]] QVKConfigKeywordFormatItemNode const* get_rule_by_id(HString const& id) const noexcept;
    [[nodiscard]] QVKConfigKeywordDataClassNode const* get_data_class_by_id(HString const& id) const noexcept;
    [[nodiscard]] QVKConfigKeywordDataLevelNode const* get_data_level_by_id(HString const& id) const noexcept;

    // Appends every template, in id order. They stay valid as long as the manager. False without memory (nothing
    // appended).
    bool get_config_vt(std::vector<QVKConfigKeywordTemplateNode const*>& templates) const noexcept;

    // The MD5 (32 upper-case hexadecimal digits) of what decides the outcome of a scan with the template. It goes over
    // these fields, written as the archives hold them (integers of 32 bits, texts as a count of units and the units):
    //
    //     template id, data class id, data level id,
    //     number of rules, and for each of them: id, name, sub-type, rule type, rule text, description, least count
    //
    // The rules are those of the template that this manager has defined, in id order, each once. The order in which the
    // template lists them, ids without a rule, names of template, class and level, and times of editing do not count. A
    // rule's name does: an answer shows it from the definitions that were kept with it.
    //
    // No hashing for a record that this manager has handed out. For any other, a caller's own copy for instance, it is
    // worked out from the record and the rules that are in place now. Empty without memory.
    [[nodiscard]] HString get_md5_by_tpl(QVKConfigKeywordTemplateNode const& tpl) const noexcept;
    // Appends the template's rules that are defined, in the template's order. They stay valid as long as the manager.
    // False without memory (nothing appended).
    bool get_rules_by_tpl(QVKConfigKeywordTemplateNode const& tpl,
                          std::vector<QVKConfigKeywordFormatItemNode const*>& rules) const noexcept;
    // Whether a defined rule of the template has the sub-type. Also false without memory, which only a record that this
    // manager has not handed out needs.
    [[nodiscard]] bool is_exist_rule_sub_type(QVKConfigKeywordTemplateNode const& tpl, int sub_type) const noexcept;

  private:
    std::atomic<KwDefinitionSet const*> current_{nullptr};  // newest first, each set links to the one before it
    // Guards the two members below and replacements of the set; held while `load` reads. Taken under it: the root's
    // path.
    mutable HMutex mutex_;
    HString config_path_;
    bool config_path_set_ = false;  // else `load` reads the agent's directory
};
