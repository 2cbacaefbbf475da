#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "host/policy/KwDefinitions.h"
#include "tests/support/TempRoot.h"
#include "tests/tools/torvane/Tool.h"

// A cache as an agent makes it, and the program that looks at it. The agent is a child process: the test itself never
// has a manager.
class ReadRoot : public testing::Test {
  protected:
    static constexpr char kMd5A[] = "0cc175b9c0f1b6a831c399e269772661";  // of "a"
    static constexpr char kMd5B[] = "92eb5ffee6ae2fec3ad71c777531578f";  // of "b"

    ReadRoot();

    // The agent's definitions: one keyword rule, "rule <id>", in each template. Kept in config as well.
    void Define(std::string const& template_id, std::string const& rule_text = "word");
    // The template's answers go by the name of the file too.
    void DefineByName(std::string const& template_id);

    // Runs `work` in an agent over the root, with the definitions in force.
    void AsAgent(std::function<void()> const& work) const;
    // Within AsAgent.
    static void StoreMatch(std::string const& path, std::string const& md5, std::string const& template_id);
    static void StoreNoMatch(std::string const& path, std::string const& md5, std::string const& template_id);
    static void AddTask(std::string const& task_id);
    static void AddFinding(std::string const& task_id, std::string const& path);
    static void Count(std::string const& path, int times);
    static void CountOnce(std::string const& path);  // whatever it was before
    static void AddText(std::string const& task_id, std::string const& name);

    // One of everything: template "T1" with a match for a.txt and none for b.txt, task "t1" with a finding and a text,
    // and two finds of /a under policy "p1".
    void MakeSmallRoot();
    [[nodiscard]] std::string File(std::string const& name, std::string const& content) const;
    [[nodiscard]] std::string Root() const { return root_ / "root"; }
    // The only template cache's directory.
    [[nodiscard]] std::string TemplateStore(std::string const& template_id) const;

    [[nodiscard]] ToolResult Run(std::vector<std::string> words) const;
    // With --format json, held against the schema.
    [[nodiscard]] nlohmann::ordered_json Json(std::vector<std::string> words) const;
    [[nodiscard]] nlohmann::ordered_json Items(std::vector<std::string> words) const { return Json(words)["items"]; }
    [[nodiscard]] nlohmann::ordered_json Why(std::string const& path, std::string const& template_id) const;

    TempRoot root_;
    Tool tool_{root_};
    KwDefinitions definitions_;
};

// A directory and every name below it with its kind, size, times and bytes.
[[nodiscard]] std::vector<std::string> EverythingBelow(std::string const& directory);
