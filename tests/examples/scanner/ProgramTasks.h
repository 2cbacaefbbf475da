#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <string>

#include "tests/examples/scanner/Program.h"

inline constexpr char kMails[] = "a@example.com b@example.com c@example.com d@example.com e@example.com";

// Scans as tasks, and the commands about them, as a user runs them.
class Tasks : public testing::Test {
  protected:
    Tasks() {
        program_.Document("mails.txt", kMails);
        program_.Document("note.gz", Gzip("the passphrase, All rights reserved"));
    }

    Program::Run Run(std::string const& arguments) const {
        std::size_t const command = std::min(arguments.find(' '), arguments.size());
        return program_.Execute(arguments.substr(0, command) + " --root @ROOT" + arguments.substr(command));
    }
    nlohmann::json Findings(std::string const& task) const {
        Program::Run const run = Run("findings --format json " + task);
        EXPECT_EQ(run.status, 0) << run.err;
        return run.Json().at("findings");
    }
    nlohmann::json History() const { return Run("tasks --format json").Json().at("tasks"); }
    // A templates file in which a rule of the template "secrets" looks for words that a document has.
    std::string Edited() const {
        std::string templates = program_.Execute("templates").out;
        std::string const rule = R"("passphrase", "min_count": 3)";
        std::size_t const at = templates.find(rule);
        EXPECT_NE(at, std::string::npos);
        program_.tree().Write("my.json", templates.replace(at, rule.size(), "\"All rights\""));
        return "--templates " + (program_.tree() / "my.json");
    }
    // A templates file with one template less.
    std::string Fewer() const {
        nlohmann::json templates = nlohmann::json::parse(program_.Execute("templates").out);
        templates.at("templates").erase(4);
        program_.tree().Write("fewer.json", templates.dump());
        return "--templates " + (program_.tree() / "fewer.json");
    }
    std::set<std::string> CachesOf(std::string const& tpl) const {
        std::set<std::string> caches;
        for (auto const& entry : std::filesystem::directory_iterator(program_.tree() / ("root/cache/template/" + tpl)))
            caches.insert(entry.path().filename());
        return caches;
    }
    bool Exists(std::string const& below_root) const {
        return std::filesystem::exists(program_.tree() / ("root/" + below_root));
    }
    static std::set<std::string> PathsAndVerdicts(nlohmann::json const& entries) {
        std::set<std::string> texts;
        for (nlohmann::json const& entry : entries)
            texts.insert(entry.at("path").get<std::string>() + "\n" + entry.at("verdict").get<std::string>());
        return texts;
    }

    Program program_;
};
