#pragma once

#include <string>

#include "examples/scanner/Policy.h"
#include "examples/scanner/TemplateFile.h"
#include "host/policy/KwLocateMgr.h"
#include "tests/examples/scanner/TempTree.h"
#include "tests/support/BucketCount.h"

// A root directory of the process with small indexes, and templates to put in force below it.
class PolicyRoot {
  public:
    PolicyRoot() {
        SetBucketCount(tree_ / "root", "1009");
        KwLocateMgr::pins()->set_root(HString(tree_ / "root"));
    }

    [[nodiscard]] TempTree const& tree() const { return tree_; }

    // The definitions below, in force.
    static scanner::Policy InForce(std::string const& word) {
        KwDefinitions const definitions = Definitions(word);
        scanner::Policy policy(definitions);
        policy.Install(definitions);
        return policy;
    }

    // Three templates in the order "names", "words", "mails"; `word` is the keyword of the second one.
    static KwDefinitions Definitions(std::string const& word) {
        return scanner::ParseTemplates(R"({"data_classes": [{"id": "c", "name": "C"}],
            "data_levels": [{"id": "l", "name": "L", "level": 1}], "templates": [
            {"id": "names", "name": "N", "data_class": "c", "data_level": "l",
             "rules": [{"id": "n", "name": "N", "type": "file_name", "text": "*.pem"}]},
            {"id": "words", "name": "W", "data_class": "c", "data_level": "l",
             "rules": [{"id": "w", "name": "W", "type": "keyword", "text": ")" +
                                           word + R"("}]},
            {"id": "mails", "name": "M", "data_class": "c", "data_level": "l",
             "rules": [{"id": "m", "name": "M", "type": "email"}]}]})",
                                       "test");
    }

  private:
    TempTree tree_;
};
