// Every relative link of the pages leads to a file, and every fragment to a heading of its page.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <regex>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

fs::path const kSource = TORVANE_SOURCE_DIR;

std::vector<std::string> LinesOf(fs::path const& page) {
    std::ifstream file(page);
    EXPECT_TRUE(file.is_open()) << page;
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);)
        lines.push_back(line);
    return lines;
}

// README.md and its like in the root, docs/ and the examples.
std::vector<fs::path> Pages() {
    std::vector<fs::path> pages{kSource / "examples/scanner/README.md"};
    for (fs::path const& folder : {kSource, kSource / "docs"}) {
        for (auto const& entry : fs::directory_iterator(folder))
            if (entry.path().extension() == ".md") pages.push_back(entry.path());
    }
    std::sort(pages.begin(), pages.end());
    return pages;
}

// What a heading is called in a link: lower case, blanks as dashes, no other marks.
std::string AnchorOf(std::string const& heading) {
    std::string anchor;
    for (char const c : heading) {
        if (std::isalnum(static_cast<unsigned char>(c)) != 0) {
            anchor += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        } else if (c == ' ' || c == '-') {
            anchor += '-';
        }
    }
    return anchor;
}

bool HasHeading(fs::path const& page, std::string const& anchor) {
    std::vector<std::string> const lines = LinesOf(page);
    return std::any_of(lines.begin(), lines.end(), [&](std::string const& line) {
        std::size_t const text = line.find_first_not_of('#');
        return text != std::string::npos && text > 0 && line[text] == ' ' && AnchorOf(line.substr(text + 1)) == anchor;
    });
}

// The targets of a page's links; what is indented by four is code.
std::vector<std::string> TargetsOf(fs::path const& page) {
    static std::regex const link(R"(\]\(([^)\s]+)\))");
    std::vector<std::string> targets;
    for (std::string const& line : LinesOf(page)) {
        if (line.starts_with("    ")) continue;
        for (std::sregex_iterator at(line.begin(), line.end(), link); at != std::sregex_iterator(); ++at)
            targets.push_back((*at)[1]);
    }
    return targets;
}

// Empty: it leads somewhere.
std::string WhyDead(fs::path const& page, std::string const& target) {
    if (target.find("://") != std::string::npos) return {};
    std::size_t const hash = std::min(target.find('#'), target.size());
    fs::path const file = hash == 0 ? page : page.parent_path() / target.substr(0, hash);
    if (!fs::exists(file)) return "no such file";
    if (hash != target.size() && !HasHeading(file, target.substr(hash + 1))) return "no such heading";
    return {};
}

TEST(DocumentLinks, EveryRelativeLinkLeadsSomewhere) {
    std::size_t links = 0;
    for (fs::path const& page : Pages()) {
        for (std::string const& target : TargetsOf(page)) {
            EXPECT_EQ(WhyDead(page, target), "") << page << ": " << target;
            ++links;
        }
    }
    EXPECT_GE(links, 20U);
}

TEST(DocumentLinks, EveryPageOfTheDocumentsIsInTheReadme) {
    std::vector<std::string> const targets = TargetsOf(kSource / "README.md");
    for (fs::path const& page : Pages()) {
        std::string const path = page.lexically_relative(kSource);
        if (path == "README.md") continue;
        EXPECT_EQ(std::count(targets.begin(), targets.end(), path) > 0, true) << path;
    }
}

TEST(DocumentLinks, DeadOnesAreSeen) {
    fs::path const page = kSource / "docs/operating.md";
    EXPECT_EQ(WhyDead(page, "formats.md"), "");
    EXPECT_EQ(WhyDead(page, "format.md"), "no such file");
    EXPECT_EQ(WhyDead(page, "#sizing"), "");
    EXPECT_EQ(WhyDead(page, "#size"), "no such heading");
}

}  // namespace
