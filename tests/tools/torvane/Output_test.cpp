#include "tools/torvane/output/Output.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <array>
#include <csignal>

#include "tools/torvane/ExitStatus.h"

namespace torvane {
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr char kHostile[] = "a\x1b[31m\xff\n\xe2\x80\xae";

// An answer on its way into memory.
class Outputs : public testing::Test {
  protected:
    ~Outputs() override { End(); }

    Output& Begin(Format format, bool color = false) {
        End();
        file_ = ::open_memstream(&buffer_, &size_);
        out_ = std::make_unique<Output>(format, color, file_);
        return *out_;
    }

    // What has been written, at the end of it.
    std::string Written() {
        out_->Flush();
        return {buffer_, size_};
    }

    // A list of one column "name" and one number.
    std::string List(Format format, std::vector<Json> const& rows, Json const& more = Json::object()) {
        Output& out = Begin(format);
        out.BeginList({"thing", 3}, {{"name", "NAME"}, {"size", "SIZE", true}});
        for (auto const& row : rows)
            out.Row(row);
        out.EndList(more);
        return Written();
    }

  private:
    void End() {
        out_.reset();
        if (file_ != nullptr) (void)std::fclose(file_);
        std::free(buffer_);
        file_ = nullptr;
        buffer_ = nullptr;
    }

    char* buffer_ = nullptr;
    std::size_t size_ = 0;
    std::FILE* file_ = nullptr;
    std::unique_ptr<Output> out_;
};

TEST_F(Outputs, ATableWithoutRowsHasItsTitles) {
    EXPECT_EQ(List(Format::kTable, {}), "NAME  SIZE\n");
}

TEST_F(Outputs, ATableThatWantsTitlesWithRowsOnlyHasNoneWithoutRows) {
    Output& out = Begin(Format::kTable);
    out.BeginList({"thing", 1}, {{"name", "NAME"}}, Titles::kWithRows);
    out.EndList();
    EXPECT_EQ(Written(), "");
    out.BeginList({"thing", 1}, {{"name", "NAME"}}, Titles::kWithRows);
    out.Row({{"name", "a"}});
    out.EndList();
    EXPECT_EQ(Written(), "NAME\na\n");
}

TEST_F(Outputs, InTablesLineUp) {
    EXPECT_EQ(List(Format::kTable, {{{"name", "a"}, {"size", 1}}, {{"name", "longer"}, {"size", 12345}}}),
              "NAME     SIZE\n"
              "a           1\n"
              "longer  12345\n");
}

TEST_F(Outputs, InTablesLineUpByTheirWidthOnATerminal) {
    EXPECT_EQ(List(Format::kTable, {{{"name", "\xe4\xb8\xad\xe6\x96\x87\xe5"}, {"size", 1}}}),
              "NAME      SIZE\n"
              "\xe4\xb8\xad\xe6\x96\x87\\xE5     1\n");
}

TEST_F(Outputs, InTablesHaveTheWidthsOfTheFirstRows) {
    Output& out = Begin(Format::kTable);
    out.BeginList({"thing", 1}, {{"name", "N"}, {"size", "S", true}});
    for (int i = 0; i < 100; ++i)
        out.Row({{"name", "ab"}, {"size", i}});
    out.Row({{"name", "abcdef"}, {"size", 7}});
    EXPECT_THAT(Written(), testing::EndsWith("ab  99\nabcdef   7\n"));
}

TEST_F(Outputs, InTablesAreNotWidenedByOneVeryLongCell) {
    std::string const wide(500, 'w');
    EXPECT_EQ(List(Format::kTable, {{{"name", wide}, {"size", 1}}, {{"name", "b"}, {"size", 2}}}),
              "NAME" + std::string(56, ' ') + "  SIZE\n" + wide + "     1\nb" + std::string(59, ' ') + "     2\n");
}

TEST_F(Outputs, InTablesShowNothingForWhatIsMissingAndJsonForWhatIsNested) {
    EXPECT_EQ(List(Format::kTable, {{{"name", nullptr}}, {{"name", {"x", "y"}}, {"size", true}}}),
              "NAME       SIZE\n"
              "\n"
              "[\"x\",\"y\"]  true\n");
}

TEST_F(Outputs, InJsonAreOneDocument) {
    EXPECT_EQ(List(Format::kJson, {{{"name", "a"}, {"size", 1}, {"more", 2}}, {{"name", "b"}}}, {{"total", 2}}),
              "{\"schema\":\"thing\",\"version\":3,\"items\":[\n"
              "{\"name\":\"a\",\"size\":1,\"more\":2},\n"
              "{\"name\":\"b\"}\n"
              "],\n"
              "\"total\":2}\n");
    EXPECT_EQ(Json::parse(List(Format::kJson, {})).at("items"), Json::array());
}

TEST_F(Outputs, InJsonlAreADocumentALine) {
    EXPECT_EQ(List(Format::kJsonl, {{{"name", "a"}}, {{"name", "b"}}}, {{"total", 2}}),
              "{\"schema\":\"thing\",\"version\":3,\"name\":\"a\"}\n"
              "{\"schema\":\"thing\",\"version\":3,\"name\":\"b\"}\n");
}

TEST_F(Outputs, InCsvHaveTheColumnsAndAHead) {
    EXPECT_EQ(List(Format::kCsv, {{{"name", "a,b"}, {"size", 1}, {"more", 2}}, {{"size", 2}}}),
              "name,size\n"
              "\"a,b\",1\n"
              ",2\n");
}

TEST_F(Outputs, EscapeHostileTextsInEveryForm) {
    std::vector<Json> const rows{{{"name", kHostile}}};
    EXPECT_EQ(List(Format::kTable, rows), "NAME                     SIZE\na\\x1B[31m\\xFF\\n\\u{202E}\n");
    EXPECT_EQ(List(Format::kCsv, rows), "name,size\na\\x1B[31m\\xFF\\n\\u{202E},\n");
    std::string const json = R"("name":"a\u001b[31m\\xFF\n\u202e"})";
    EXPECT_THAT(List(Format::kJson, rows), HasSubstr("{" + json));
    EXPECT_THAT(List(Format::kJsonl, rows), HasSubstr(json));
}

TEST_F(Outputs, OfAnAnswerSuitEveryForm) {
    auto const answer = [&](Format format) {
        Begin(format).Answer({"one", 1}, {{"key", "k,1"}, {"size", 7}, {"list", {1, 2}}},
                             [](Output& out) { out.Line("key k,1"); });
        return Written();
    };
    EXPECT_EQ(answer(Format::kTable), "key k,1\n");
    EXPECT_EQ(answer(Format::kCsv), "key,size\n\"k,1\",7\n");
    EXPECT_EQ(answer(Format::kJsonl), "{\"schema\":\"one\",\"version\":1,\"key\":\"k,1\",\"size\":7,\"list\":[1,2]}\n");
    EXPECT_THAT(answer(Format::kJson), testing::StartsWith("{\n  \"schema\": \"one\",\n  \"version\": 1,\n"));
}

TEST_F(Outputs, HaveLinesForPeopleOnlyInTables) {
    for (Format const format : {Format::kJson, Format::kJsonl, Format::kCsv}) {
        Begin(format).Line("text");
        EXPECT_EQ(Written(), "");
    }
    Begin(Format::kTable).Line(kHostile);
    EXPECT_EQ(Written(), "a\\x1B[31m\\xFF\\n\\u{202E}\n");
}

TEST_F(Outputs, KeepLinesAndRowsInTheirOrder) {
    Output& out = Begin(Format::kTable);
    out.BeginList({"thing", 1}, {{"name", "NAME"}});
    out.Row({{"name", "a"}});
    out.Line("between");
    out.Row({{"name", "b"}});
    out.EndList();
    EXPECT_EQ(Written(), "NAME\na\nbetween\nb\n");
}

TEST_F(Outputs, ColourWhatIsPainted) {
    Output& out = Begin(Format::kTable, true);
    out.Line("is " + out.Painted("bad\n", Output::Paint::kBad) + ", " + out.Painted("good", Output::Paint::kGood));
    EXPECT_EQ(Written(), "is \x1b[31mbad\\n\x1b[0m, \x1b[32mgood\x1b[0m\n");
}

TEST_F(Outputs, DoNotColourWhatOnlyLooksPainted) {
    Output& out = Begin(Format::kTable, true);
    std::string const mark = Output(Format::kTable, true, stdout).Painted("x", Output::Paint::kBad);
    out.Line(mark);
    EXPECT_THAT(Written(), Not(HasSubstr("\x1b")));
}

TEST_F(Outputs, WithoutColoursHaveNone) {
    Output& out = Begin(Format::kTable, false);
    EXPECT_EQ(out.Painted("x", Output::Paint::kBad), "x");
    EXPECT_EQ(Begin(Format::kJson, true).Painted("x", Output::Paint::kBad), "x");
}

TEST(OutputFiles, ThatTakeNoMoreStopTheCommand) {
    std::FILE* const full = std::fopen("/dev/full", "we");
    ASSERT_NE(full, nullptr);
    Output out(Format::kTable, false, full);
    try {
        out.Line("x");
        out.Flush();
        FAIL();
    } catch (Stop const& stop) {
        EXPECT_EQ(stop.status(), ExitStatus::kIo);
        EXPECT_STREQ(stop.what(), "cannot write the output: No space left on device");
    }
    (void)std::fclose(full);
}

TEST(OutputFiles, ThatNobodyReadsAreOutlivedOnDemand) {
    (void)std::signal(SIGPIPE, SIG_IGN);
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    (void)::close(ends[0]);
    std::FILE* const pipe = ::fdopen(ends[1], "w");
    Output out(Format::kTable, false, pipe);
    out.OutliveReader();
    out.Line("x");
    EXPECT_NO_THROW(out.Flush());
    EXPECT_NO_THROW(out.Line(std::string(100000, 'x')));
    (void)std::fclose(pipe);
}

TEST(OutputFiles, ThatNobodyReadsEndQuietly) {
    (void)std::signal(SIGPIPE, SIG_IGN);
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    (void)::close(ends[0]);
    std::FILE* const pipe = ::fdopen(ends[1], "w");
    Output out(Format::kJsonl, false, pipe);
    EXPECT_THROW(out.Answer({"one", 1}, {{"x", 1}}, {}), ClosedPipe);
    (void)std::fclose(pipe);
}

}  // namespace
}  // namespace torvane
