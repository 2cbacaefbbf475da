#include "bench/TemplateRoot.h"

#include <unordered_set>

#include "bench/AnswerStore.h"
#include "bench/Answers.h"
#include "bench/Definitions.h"
#include "bench/Require.h"
#include "front/DLPCacheMgr.h"
#include "host/base/Global.h"
#include "host/policy/KwDefineMgr.h"
#include "host/policy/KwIdName.h"
#include "host/policy/KwLocateMgr.h"
#include "host/policy/QVKKeywordMatchResult.h"
#include "template/DLPCacheTplMgr.h"

namespace bench {
namespace {

QVKKeywordText TextOf(HString const& tpl_id) {
    QVKKeywordText text;
    text.tpl_id = tpl_id;
    text.text = "The text in which a match lies, as it is shown to whoever looks at the finding.";
    text.line_positions = {{1, {{4, 8}, {24, 29}}}, {3, {{0, 7}}}};
    return text;
}

}  // namespace

TemplateRoot& TemplateRoot::Instance(std::size_t templates, std::size_t files) {
    static TemplateRoot root(templates, files);
    return root;
}

TemplateRoot::TemplateRoot(std::size_t templates, std::size_t files) {
    KwLocateMgr::pins()->set_root(HString(directory_.path()));
    Require(KwDefineMgr::pins()->install(MakeDefinitions(templates, kRules)), "the definitions could not be installed");
    Require(DLPCacheMgr::pins() != nullptr && DLPCacheTplMgr::pins() != nullptr, "the library could not be started");
    Varnok::Global::pins()->logging = 0;
    for (std::size_t tpl = 0; tpl < templates; ++tpl)
        tpl_ids_.push_back(TplId(tpl));
    PickFiles(files);
    for (std::size_t file = 0; file < files; ++file)
        Store(file);
    for (HString const& tpl_id : tpl_ids_)
        OpenCache(tpl_id);
}

// Files whose keys do not meet in a chain of the index.
void TemplateRoot::PickFiles(std::size_t files) {
    DLPCache::Index const any{HString()};
    std::unordered_set<long long> taken;
    for (std::size_t i = 0; files_.size() < files; ++i) {
        DLPCacheTpl::Key key;
        key.short_name = HString("report-" + std::to_string(i) + ".txt");
        key.md5 = HString(KeyOf(i));
        std::string const index_key = key.md5.get_md5_std_format_lower(HString()).get_str();
        long long const slot = FirstSlotOf(any, index_key, kBuckets);
        if (slot > 0 && taken.insert(slot).second) files_.push_back(key);
    }
}

// Stores every template's answer, as a scanner does.
void TemplateRoot::Store(std::size_t file) {
    DLPCacheTpl::Key const& key = files_[file];
    QVKKeywordMatchNode node;
    node.file_node->file_path = HString("/srv/share/") << key.short_name;
    node.file_node->file_md5 = key.md5;
    node.file_node->short_name = key.short_name;
    node.tips->stored_name = key.short_name;
    node.matched_tpl_ids = tpl_ids_;
    for (std::size_t tpl = 0; tpl < tpl_ids_.size(); ++tpl) {
        node.attach_nodes.push_back(MakeAttachNode(tpl, kRules, key.short_name));
        node.texts.push_back(TextOf(tpl_ids_[tpl]));
    }
    Require(DLPCacheMgr::pins()->AddMatchNode(node) == 0, "an answer could not be stored");
}

void TemplateRoot::OpenCache(HString const& tpl_id) {
    auto const* tpl = KwDefineMgr::pins()->get_tpl_by_id(tpl_id);
    HString const md5 = KwDefineMgr::pins()->get_md5_by_tpl(*tpl);
    Cache cache;
    cache.tpl_id = tpl_id;
    cache.cache = DLPCacheTplMgr::pins()->GetCache(*tpl, md5);
    HString directory = KwLocateMgr::pins()->get_template_path(tpl_id, true);
    directory << Varnok::IdToFileName(md5) << "/";
    cache.index_path = directory.get_str() + "index";
    cache.data_path = directory.get_str() + "cache";
    DLPCache::Index const index{HString(cache.index_path)};
    for (DLPCacheTpl::Key const& key : files_) {
        std::string const index_key = key.md5.get_md5_std_format_lower(HString()).get_str();
        long long offset = 0;
        int length = 0;
        Require(index.Find(index_key, offset, length) == DLPCache::kFound && length > 0,
                "an answer is not in the index");
        cache.places.push_back({FirstSlotOf(index, index_key, kBuckets), offset, static_cast<std::size_t>(length)});
    }
    caches_.push_back(std::move(cache));
}

QVKKeywordCheckParam TemplateRoot::Check(std::size_t i, std::size_t first, std::size_t count) const {
    DLPCacheTpl::Key const& key = KeyOfFile(i);
    QVKKeywordFileItem item;
    item.file_nodes.push_back({HString("/srv/share/") << key.short_name, key.md5, key.short_name});
    for (std::size_t tpl = first; tpl < first + count; ++tpl)
        item.tpl_ids.push_back(tpl_ids_.at(tpl));
    item.count_matched = true;
    item.threshold = 1;
    item.lookup_flag = true;
    item.check_every_node = true;
    QVKKeywordCheckParam check;
    check.task_id = "task";
    check.file_items.push_back(std::move(item));
    return check;
}

void TemplateRoot::Query(QVKKeywordCheckParam const& check) const {
    QVKKeywordMatchResult result;
    Require(DLPCacheMgr::pins()->QueryCache(check, result) == DLPCache::kFullHit, "QueryCache did not give a full hit");
    auto const& found = result.match_items[0].match_nodes[0];
    Require(found.attach_nodes.size() == check.file_items[0].tpl_ids.size() && result.sensitive,
            "an answer is incomplete");
}

void TemplateRoot::Find(std::size_t tpl, std::size_t i) const {
    QVKReportKeywordAttachNode node;
    QVKKeywordText text;
    HString stored_name;
    int const found = caches_[tpl].cache->Find(KeyOfFile(i), node, text, stored_name);
    Require(found == DLPCache::kTplMatched && node.items.size() == kRules, "DLPCacheTpl::Find failed");
}

void TemplateRoot::RawCalls(std::size_t tpl, std::size_t i) const {
    Cache const& cache = caches_[tpl];
    Place const& place = cache.places[i % cache.places.size()];
    char bytes[4096];
    Require(place.length <= sizeof bytes, "a record is longer than expected");
    RawFind(cache.index_path, cache.data_path, place, bytes);
}

}  // namespace bench
