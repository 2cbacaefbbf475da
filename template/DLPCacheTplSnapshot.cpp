#include "template/DLPCacheTplSnapshot.h"

#include <algorithm>
#include <cerrno>
#include <new>

#include "host/base/HFile.h"
#include "host/base/NoThrow.h"
#include "host/policy/KwDefineMgr.h"
#include "host/policy/QVKConfigKeywordDataClassVTMgr.h"
#include "host/policy/QVKConfigKeywordDataLevelVTMgr.h"
#include "host/policy/QVKConfigKeywordFormatItemVTMgr.h"
#include "host/policy/QVKConfigKeywordTemplateVT.h"
#include "host/policy/QVKConfigKeywordTemplateVTMgr.h"
#include "template/DLPCacheTplLog.h"

namespace DLPCache {

namespace {

using Templates = std::span<QVKConfigKeywordTemplateNode const* const>;

// The path that the agent's own archive of `TableMgr` has, moved into `directory`.
template <class TableMgr>
HString SnapshotFile(HString const& directory) {
    HString const name = TableMgr::pins()->get_arc_file().get_short_name();
    if (name.empty())
        throw std::bad_alloc();  // without memory a path is empty; the directory itself must not come of it
    HString path = directory;
    path << name;
    return path;
}

// Every record once, by id.
template <class Table>
void SortOnce(Table& table) {
    std::sort(table.nodes.begin(), table.nodes.end());
    table.nodes.erase(std::unique(table.nodes.begin(), table.nodes.end()), table.nodes.end());
}

QVKConfigKeywordFormatItemVT CollectRules(Templates templates, KwDefineMgr const& definitions) {
    QVKConfigKeywordFormatItemVT table;
    for (auto const* tpl : templates) {
        std::vector<QVKConfigKeywordFormatItemNode const*> rules;
        if (!definitions.get_rules_by_tpl(*tpl, rules)) throw std::bad_alloc();
        for (auto const* rule : rules) {
            if (rule) table.nodes.push_back(*rule);
        }
    }
    SortOnce(table);
    return table;
}

QVKConfigKeywordDataClassVT CollectDataClasses(Templates templates, KwDefineMgr const& definitions) {
    QVKConfigKeywordDataClassVT table;
    for (auto const* tpl : templates) {
        if (auto const* data_class = definitions.get_data_class_by_id(tpl->data_class_id)) {
            table.nodes.push_back(*data_class);
        } else {
            kTplLog.Write(kLogError, 795, "defect config keyword data class, id: ", tpl->data_class_id);
        }
    }
    SortOnce(table);
    return table;
}

QVKConfigKeywordDataLevelVT CollectDataLevels(Templates templates, KwDefineMgr const& definitions) {
    QVKConfigKeywordDataLevelVT table;
    for (auto const* tpl : templates) {
        if (auto const* data_level = definitions.get_data_level_by_id(tpl->data_level_id)) {
            table.nodes.push_back(*data_level);
        } else {
            kTplLog.Write(kLogError, 814, "defect config keyword data level, id: ", tpl->data_level_id);
        }
    }
    SortOnce(table);
    return table;
}

}  // namespace

HString TplSnapshotFile(HString const& directory) {
    return SnapshotFile<QVKConfigKeywordTemplateVTMgr>(directory);
}

int WriteTplSnapshot(Templates templates, HString const& directory) noexcept {
    return NoThrow(ENOMEM, [&] {
        HString const tpl_file = TplSnapshotFile(directory);
        if (HFile::IsFileExistFile(tpl_file)) return 0;
        KwDefineMgr const* definitions = KwDefineMgr::pins();
        if (!definitions) return ENOMEM;

        auto const rules = CollectRules(templates, *definitions);
        int failed = rules.to_file(SnapshotFile<QVKConfigKeywordFormatItemVTMgr>(directory));
        if (failed != 0) return failed;
        auto const classes = CollectDataClasses(templates, *definitions);
        failed = classes.to_file(SnapshotFile<QVKConfigKeywordDataClassVTMgr>(directory));
        if (failed != 0) return failed;
        auto const levels = CollectDataLevels(templates, *definitions);
        failed = levels.to_file(SnapshotFile<QVKConfigKeywordDataLevelVTMgr>(directory));
        if (failed != 0) return failed;
        // Last: from here on the snapshot counts as complete.
        QVKConfigKeywordTemplateVT table;
        for (auto const* tpl : templates)
            table.nodes.push_back(*tpl);
        return table.to_file(tpl_file);
    });
}

}  // namespace DLPCache
