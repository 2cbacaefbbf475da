#pragma once

#include <atomic>

#include "host/base/Export.h"
#include "host/base/HString.h"
#include "host/policy/QVKConfigKeywordTemplateNode.h"
#include "host/policy/QVKKeywordText.h"
#include "host/policy/QVKReportKeywordAttachNode.h"
#include "template/DLPCacheTplCodes.h"

class KwDefineMgr;
namespace DLPCache {
class Manager;
}  // namespace DLPCache

// The answers of one keyword template in one definition state (its id and the MD5 of its definition), per file: nothing
// found, or the matched rules and the text. Lies in one directory with a snapshot of the definitions that it depends
// on.
//
// Made and kept by DLPCacheTplMgr; usable until the process ends (the destructor frees nothing). Any thread may call
// Add and Find; they take no lock of their own (see DLPCache::Manager). Nothing throws; codes are TplCode or those of
// the store.
class TORVANE_API DLPCacheTpl {
  public:
    // The file side of a look-up.
    struct TORVANE_API Key {
        HString short_name;      // the file's short (display) name
        HString md5;             // of the file's content
        long long number_1 = 0;  // not set by the library; part of the key
        long long number_2 = 0;

        // Lower-case short name, ":", lower-case MD5, ":", first number, ":", second number.
        [[nodiscard]] HString to_str() const noexcept;
        // With an empty short name and both numbers 0 the lower-case MD5. Otherwise the lower-case MD5 text of: `md5`
        // as it stands, then each of ":" + lower-case short name, ":" + first number, ":" + second number that is not
        // empty or 0. That `md5` is lower-cased in to_str and in the short cut but not before hashing is kept: stored
        // keys depend on it.
        [[nodiscard]] HString to_hash() const noexcept;

      private:
        friend class DLPCacheTpl;
        [[nodiscard]] HString Hash() const;  // to_hash, but throws without memory: no answer goes under an empty key
    };

    // Opens the cache's directory or makes it. When neither the snapshot there nor the process-wide definitions have
    // the MD5 `md5`, the cache has no store and answers every Add and Find with kTplNoStore.
    DLPCacheTpl(QVKConfigKeywordTemplateNode const& tpl, HString const& md5) noexcept;
    ~DLPCacheTpl();
    DLPCacheTpl(DLPCacheTpl const&) = delete;
    DLPCacheTpl& operator=(DLPCacheTpl const&) = delete;

    // What the constructor does, which calls it; to be called once.
    void Init(QVKConfigKeywordTemplateNode const& tpl, HString const& md5) noexcept;
    // For the manager: tries once more to open a cache that has no store, when its snapshot is there by now or `md5` is
    // that of the process-wide definitions again. Others may use the cache meanwhile.
    void OpenAgain(QVKConfigKeywordTemplateNode const& tpl, HString const& md5) noexcept;
    // Whether there is a record store; without one every Add and Find gives kTplNoStore.
    [[nodiscard]] bool HasStore() const noexcept { return manager_.load(std::memory_order_acquire) != nullptr; }

    // Whether a rule of the template looks at file attributes (sub-type 2001 or 2002): then the file's name is part of
    // the key.
    [[nodiscard]] bool IsDependFileAttr() const noexcept;

    // Stores the answer for a file that is not yet cached; `node` without items means that nothing was found.
    // kTplStored, kTplStoredEmpty, kTplNoStore, kTplNotEncoded (an item of sub-type 2005 among others), or a negative
    // code of the store. Adding a key that is present is the caller's slip: it leaves a further slot behind and can
    // spoil the first record.
    int Add(HString const& key, QVKReportKeywordAttachNode const& node, QVKKeywordText const& text,
            HString const& stored_name) const noexcept;
    int Add(Key const& key, QVKReportKeywordAttachNode const& node, QVKKeywordText const& text,
            HString const& stored_name) const noexcept;

    // kTplMatched with `node`, `text` and `stored_name` filled, kTplNotMatched, kTplNotCached (both with `node` reset),
    // kTplNoStore, kTplNotDecoded, or a negative code of the store. Names come from the process-wide definitions, rules
    // from the snapshot. On a negative code the three are in any state.
    [[nodiscard]] int Find(HString const& key, QVKReportKeywordAttachNode& node, QVKKeywordText& text,
                           HString& stored_name) const noexcept;
    [[nodiscard]] int Find(Key const& key, QVKReportKeywordAttachNode& node, QVKKeywordText& text,
                           HString& stored_name) const noexcept;

    // Fills what is not stored from the cache's definitions: the template's names, and of each item the rule's names,
    // type and text. Without memory some are left out.
    void FillAttachTplInfo(QVKReportKeywordAttachNode& node) const noexcept;
    // Puts `name` in place of each item's stored short name; of a member path ("a.zip/b/c.txt") the inner part stays.
    void ResetFileShortName(HString const& name, QVKReportKeywordAttachNode& node) const noexcept;

    // Waits for the file operations under way; from then on Add and Find fail with a code of the store, also when the
    // files exist again. For the manager, before it deletes the directory.
    void Retire() noexcept;

    // The cache's own definitions (its snapshot); null only without memory. They live as long as the process.
    [[nodiscard]] KwDefineMgr const* definitions() const noexcept { return define_mgr_; }

  private:
    enum class Snapshot { kMatches, kDiffers, kUnknown };  // unknown: it could not be read

    // The steps of Init. Without memory they throw, and there is no store.
    void Open(QVKConfigKeywordTemplateNode const& tpl, HString const& md5);
    Snapshot LoadSnapshot(QVKConfigKeywordTemplateNode const& tpl, HString const& md5);
    bool MakeSnapshot(QVKConfigKeywordTemplateNode const& tpl, HString const& md5, HString const& directory);
    void OpenStore(HString const& directory, int bucket_count);
    void FillInfo(QVKReportKeywordAttachNode& node) const;

    // The store is published last, so that whoever sees it sees the rest; from then on nothing changes.
    std::atomic<DLPCache::Manager*> manager_{nullptr};
    KwDefineMgr* define_mgr_ = nullptr;
    Snapshot snapshot_ = Snapshot::kUnknown;                         // in the directory, as it was read; for Open alone
    std::atomic<QVKConfigKeywordTemplateNode const*> tpl_{nullptr};  // held by define_mgr_
    std::atomic<bool> depends_on_file_attr_{false};                  // of tpl_, which does not change
};
