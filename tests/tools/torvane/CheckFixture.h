#pragma once

#include <gmock/gmock.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "host/policy/KwDefinitions.h"
#include "host/policy/QVKPolicySensitiveFileAuditNode.h"
#include "tests/tools/torvane/Tool.h"
#include "tools/torvane/cache/IndexView.h"

// What a record store answers.
struct StoredAnswer {
    int code = 0;
    std::string bytes;
    friend bool operator==(StoredAnswer const&, StoredAnswer const&) = default;
};

// A root that the library's managers have made, with small indexes: template "T1" with answers for the letters "a" to
// "z", task "task-1" with three findings and a text, found-times of policy "P1" for three files, the first counted four
// times.
class CheckedRoot : public testing::Test {
  protected:
    CheckedRoot();

    // Directories of the stores, below the root.
    [[nodiscard]] std::string const& Template() const { return template_; }
    static constexpr char kTask[] = "cache/task/task-1";
    static constexpr char kCounters[] = "cache/sensrecord/1/P1";

    // ---- damage

    void Flip(std::string const& file, std::uint64_t offset);
    void Put(std::string const& file, std::uint64_t offset, std::string const& bytes);
    void CutTo(std::string const& file, std::uint64_t length);
    void Append(std::string const& file, std::string const& bytes);
    void Remove(std::string const& file);
    // A slot of an index as it is, and another one in its place.
    [[nodiscard]] torvane::Slot SlotAt(std::string const& file, std::uint64_t number) const;
    void PutSlot(std::string const& file, std::uint64_t number, torvane::Slot const& slot);
    [[nodiscard]] std::uint64_t SlotCount(std::string const& file) const;
    // The first slot for which `is_wanted` holds.
    template <class IsWanted>
    [[nodiscard]] std::uint64_t FindSlot(std::string const& file, IsWanted is_wanted) const {
        for (std::uint64_t number = 1; number <= SlotCount(file); ++number) {
            if (is_wanted(number, SlotAt(file, number))) return number;
        }
        ADD_FAILURE() << "no such slot in " << file;
        return 1;
    }
    [[nodiscard]] std::uint64_t LinkedSlot() const;  // of the template's index, with a link
    [[nodiscard]] std::uint64_t LoneSlot() const;    // used, without one

    // What the library answers from a root with these stores to everything that can be asked for, and to some more that
    // is not there.
    [[nodiscard]] std::map<std::string, StoredAnswer> Answers(std::string const& root) const;
    // Every file below the root's cache with its size and time of change.
    [[nodiscard]] std::map<std::string, std::string> StateOfCache() const;

    // ---- the program

    [[nodiscard]] ToolResult Run(std::vector<std::string> words) const;
    // The kinds of damage that a full verify names, each once, sorted; and the status must say so.
    [[nodiscard]] std::vector<std::string> Damage() const { return Kinds("damage", {}); }
    [[nodiscard]] std::vector<std::string> QuickDamage() const { return Kinds("damage", {"--quick"}); }
    // What a verify lists; it must follow its schema.
    [[nodiscard]] nlohmann::ordered_json Items(std::string const& root) const;
    [[nodiscard]] std::vector<std::string> Waste() const { return Kinds("waste", {}); }
    [[nodiscard]] std::vector<std::string> Kinds(std::string const& severity, std::vector<std::string> words) const;

    TempRoot root_;
    Tool tool_{root_};
    KwDefinitions definitions_;
    QVKPolicySensitiveFileAuditNode policy_;
    std::string template_;

  private:
    void Define();
    void MakeAnswers();
    void MakeFindings();
    void MakeCounts();
};
