#include "tests/examples/scanner/Program.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>

#include "tests/support/BucketCount.h"

namespace {

void Replace(std::string& text, std::string const& from, std::string const& to) {
    for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
}

}  // namespace

Program::Program(int buckets) {
    SetBucketCount(tree_ / "root", std::to_string(buckets));
    tree_.Write("docs/plain.txt", "nothing here");
}

Program::Run Program::Execute(std::string arguments) const {
    Replace(arguments, "@ROOT", tree_ / "root");
    Replace(arguments, "@DOCS", tree_ / "docs");
    std::string const command =
        std::string(SCANNER_PROGRAM) + " </dev/null >" + (tree_ / "out") + " 2>" + (tree_ / "err") + " " + arguments;
    int const status = std::system(command.c_str());
    EXPECT_TRUE(WIFEXITED(status)) << command;
    return {WEXITSTATUS(status), tree_.Read("out"), tree_.Read("err")};
}

nlohmann::json Program::Scan(std::string const& options) const {
    Run const run = Execute("scan --root @ROOT --format json " + options + " @DOCS");
    EXPECT_NE(run.status, 2) << run.err;
    return run.Json();
}
