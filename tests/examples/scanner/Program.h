#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "tests/examples/scanner/TempTree.h"

// The scanner as a user runs it: a root and a directory of documents of its own, small indexes.
class Program {
  public:
    struct Run {
        int status = -1;
        std::string out;
        std::string err;
        // The summary of a run with --format json.
        [[nodiscard]] nlohmann::json Json() const { return nlohmann::json::parse(out); }
    };

    // `buckets`: of each index. Bucket 0 takes no answers, so the fewer there are the more answers cannot be stored.
    explicit Program(int buckets = 100003);

    [[nodiscard]] TempTree const& tree() const { return tree_; }
    std::string Document(std::string const& name, std::string const& content) const {
        return tree_.Write("docs/" + name, content);
    }

    // Runs the program with `arguments`, words as a shell takes them; @ROOT and @DOCS stand for the two directories.
    [[nodiscard]] Run Execute(std::string arguments) const;
    // Scans the documents, JSON summary.
    [[nodiscard]] nlohmann::json Scan(std::string const& options = "") const;

  private:
    TempTree tree_;
};
