#pragma once

#include <sys/stat.h>

#include <filesystem>
#include <functional>

#include "tests/support/BucketCount.h"
#include "tests/tools/torvane/ReadRoot.h"
#include "tools/torvane/commands/Listing.h"

// ls on roots with several stores, some of which somebody else removes or closes meanwhile.
class LsTool : public ReadRoot {
  protected:
    // Three tasks with a text each.
    void MakeThreeTasks() {
        Define("T1");
        AsAgent([] {
            for (char const* const id : {"t1", "t2", "t3"}) {
                AddTask(id);
                AddText(id, "text");
            }
        });
    }
    // Two templates with an answer each.
    void MakeTwoTemplates() {
        Define("T1");
        Define("T2");
        AsAgent([] {
            StoreNoMatch("/x/b.txt", kMd5B, "T1");
            StoreNoMatch("/x/b.txt", kMd5B, "T2");
        });
    }
    // A template whose answers are one chain; as many slots as its index has.
    [[nodiscard]] std::size_t MakeOneChain() {
        SetBucketCount(Root(), "2");  // bucket 0 holds nothing
        Define("T1");
        AsAgent([] {
            for (int number = 0; number < 20; ++number)
                StoreNoMatch("/x/f", HString(number).get_md5_std_format_lower(HString()).get_str(), "T1");
        });
        return (ReadBytes(TemplateStore("T1") + "/index").size() - 27) / 57;
    }
    static void Change(std::string const& file, std::function<void(std::string&)> const& change) {
        std::string bytes = ReadBytes(file);
        change(bytes);
        WriteBytes(file, bytes);
    }
    // The list when somebody removes everything of `directory` but what is given first; how it ended, and the rows.
    [[nodiscard]] std::pair<torvane::ExitStatus, std::vector<std::string>> ListWhileRemoved(
        torvane::Listed listed, std::string const& directory, char const* member) const {
        torvane::Settings settings;
        torvane::CacheRoot const root(Root());
        torvane::Listing listing(root, {}, settings);
        std::vector<std::string> rows;
        (void)listing.ForEach(listed, [&](torvane::Json const& row) {
            rows.push_back(row[member].get<std::string>());
            for (std::string const& name : Files(directory))
                if (name != rows.front() && name != rows.front() + ".arc")
                    std::filesystem::remove_all(directory + "/" + name);
            return true;
        });
        return {listing.Status(), rows};
    }
    // Nobody but its owner may read what is made so; as one who is not the owner.
    [[nodiscard]] std::optional<ToolResult> RunWithout(std::string const& closed, std::vector<std::string> words) {
        for (auto const& entry : std::filesystem::recursive_directory_iterator(root_.Path()))
            std::filesystem::permissions(entry.path(), std::filesystem::perms(entry.is_directory() ? 0755 : 0644));
        EXPECT_EQ(::chmod(root_.Path().c_str(), 0755), 0);
        EXPECT_EQ(::chmod(closed.c_str(), 0), 0);
        words.insert(words.begin(), {"--root", Root(), "--format", "json"});
        auto result = tool_.RunUnprivileged(words);
        EXPECT_EQ(::chmod(closed.c_str(), 0700), 0);
        return result;
    }
};
