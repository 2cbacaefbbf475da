#include "tools/torvane/cli/Settings.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/TempRoot.h"
#include "tools/torvane/ExitStatus.h"

namespace torvane {
namespace {

// Settings with files in the test's directory.
class SettingsOf : public testing::Test {
  protected:
    SettingsOf() {
        std::filesystem::create_directories(root_ / "user/torvane");
        sources_.system_file = system_;
        sources_.default_root = "/default";
        sources_.environment["XDG_CONFIG_HOME"] = root_ / "user";
    }

    // "value (source)" of a setting.
    std::string Of(std::string const& name) const {
        for (Setting const& setting : LoadSettings(sources_).all)
            if (setting.name == name) return setting.value + " (" + setting.source + ")";
        return "none";
    }

    std::string Refusal() const {
        try {
            (void)LoadSettings(sources_);
        } catch (Stop const& stop) {
            return std::to_string(static_cast<int>(stop.status())) + " " + stop.what();
        }
        return "";
    }

    TempRoot root_;
    std::string system_ = root_ / "system.conf";
    std::string user_ = root_ / "user/torvane/torvane.conf";
    SettingSources sources_;
};

TEST_F(SettingsOf, NoSourceAreTheDefaults) {
    Settings const settings = LoadSettings(sources_);
    EXPECT_EQ(settings.root, "/default");
    EXPECT_EQ(settings.format, Format::kTable);
    EXPECT_EQ(settings.color, Color::kAuto);
    EXPECT_FALSE(settings.quiet);
    EXPECT_TRUE(settings.progress);
    EXPECT_FALSE(settings.show_text);
    for (Setting const& setting : settings.all)
        EXPECT_EQ(setting.source, "default") << setting.name;
    EXPECT_EQ(settings.all.size(), 7U);
}

TEST_F(SettingsOf, AQuietRunShowNoProgress) {
    sources_.options = {{"quiet", "yes"}, {"progress", "yes"}};
    EXPECT_FALSE(LoadSettings(sources_).progress);
}

TEST_F(SettingsOf, NoSourceNameTheUsersFileFirst) {
    EXPECT_EQ(Of("config"), user_ + ":" + system_ + " (default)");
}

TEST_F(SettingsOf, EverySourceInItsOrder) {
    EXPECT_EQ(Of("root"), "/default (default)");
    WriteBytes(system_, "root = /system\n");
    EXPECT_EQ(Of("root"), "/system (file " + system_ + ")");
    WriteBytes(user_, "root = /user\n");
    EXPECT_EQ(Of("root"), "/user (file " + user_ + ")");
    sources_.environment["TORVANE_ROOT"] = "/environment";
    EXPECT_EQ(Of("root"), "/environment (environment TORVANE_ROOT)");
    sources_.options["root"] = "/option";
    EXPECT_EQ(Of("root"), "/option (option)");
}

TEST_F(SettingsOf, EverySettingFromTheEnvironmentBeforeTheFile) {
    WriteBytes(system_, "format = csv\ncolor = always\nquiet = no\nprogress = yes\n");
    sources_.environment.insert(
        {{"TORVANE_FORMAT", "json"}, {"TORVANE_COLOR", "never"}, {"TORVANE_QUIET", "1"}, {"TORVANE_PROGRESS", "off"}});
    Settings const settings = LoadSettings(sources_);
    EXPECT_EQ(settings.format, Format::kJson);
    EXPECT_EQ(settings.color, Color::kNever);
    EXPECT_TRUE(settings.quiet);
    EXPECT_FALSE(settings.progress);
    EXPECT_EQ(Of("quiet"), "yes (environment TORVANE_QUIET)");
}

TEST_F(SettingsOf, EverySettingFromTheFile) {
    WriteBytes(system_, "format = jsonl\ncolor = always\nquiet = true\nprogress = 0\n");
    Settings const settings = LoadSettings(sources_);
    EXPECT_EQ(settings.format, Format::kJsonl);
    EXPECT_EQ(settings.color, Color::kAlways);
    EXPECT_TRUE(settings.quiet);
    EXPECT_FALSE(settings.progress);
}

TEST_F(SettingsOf, TheUsersFileLeaveTheSystemsOthers) {
    WriteBytes(system_, "format = csv\nroot = /system\n");
    WriteBytes(user_, "format = json\n");
    EXPECT_EQ(Of("format"), "json (file " + user_ + ")");
    EXPECT_EQ(Of("root"), "/system (file " + system_ + ")");
}

TEST_F(SettingsOf, TheLastLineForANameCount) {
    WriteBytes(system_, "format = csv\nformat = json\n");
    EXPECT_EQ(Of("format"), "json (file " + system_ + ")");
}

TEST_F(SettingsOf, ANamedFileReplaceBothOthers) {
    WriteBytes(system_, "format = csv\n");
    WriteBytes(user_, "color = never\n");
    std::string const named = root_ / "named.conf";
    WriteBytes(named, "quiet = yes\n");
    sources_.environment["TORVANE_CONFIG"] = named;
    EXPECT_EQ(Of("format"), "table (default)");
    EXPECT_EQ(Of("color"), "auto (default)");
    EXPECT_EQ(Of("quiet"), "yes (file " + named + ")");
    EXPECT_EQ(Of("config"), named + " (environment TORVANE_CONFIG)");
    sources_.options["config"] = "/dev/null";
    EXPECT_EQ(Of("quiet"), "no (default)");
}

TEST_F(SettingsOf, ANamedFileThatIsMissingAreRefused) {
    sources_.options["config"] = root_ / "missing";
    EXPECT_EQ(Refusal(), "3 " + (root_ / "missing") + ": No such file or directory");
}

TEST_F(SettingsOf, TheHomeDirectoryWithoutAnotherConfigurationDirectory) {
    sources_.environment.erase("XDG_CONFIG_HOME");
    sources_.environment["HOME"] = root_.Path();
    std::filesystem::create_directories(root_ / ".config/torvane");
    WriteBytes(root_ / ".config/torvane/torvane.conf", "format = csv\n");
    EXPECT_EQ(Of("format"), "csv (file " + (root_ / ".config/torvane/torvane.conf") + ")");
    sources_.environment["XDG_CONFIG_HOME"] = "relative";
    EXPECT_EQ(Of("format"), "csv (file " + (root_ / ".config/torvane/torvane.conf") + ")");
}

TEST_F(SettingsOf, AnEmptyVariableAreNone) {
    sources_.environment.insert({{"TORVANE_ROOT", ""}, {"TORVANE_FORMAT", ""}, {"NO_COLOR", ""}});
    EXPECT_EQ(Of("root"), "/default (default)");
    EXPECT_EQ(Of("format"), "table (default)");
    EXPECT_EQ(Of("color"), "auto (default)");
}

TEST_F(SettingsOf, NoColorAreThoseOfTheEnvironment) {
    WriteBytes(system_, "color = always\n");
    sources_.environment["NO_COLOR"] = "1";
    EXPECT_EQ(Of("color"), "never (environment NO_COLOR)");
    sources_.environment["TORVANE_COLOR"] = "always";
    EXPECT_EQ(Of("color"), "always (environment TORVANE_COLOR)");
    sources_.options["color"] = "auto";
    EXPECT_EQ(Of("color"), "auto (option)");
}

TEST_F(SettingsOf, ShowingTextsAreOptionsOnly) {
    sources_.options["show-text"] = "yes";
    EXPECT_EQ(Of("show-text"), "yes (option)");
    WriteBytes(system_, "show-text = yes\n");
    EXPECT_EQ(Refusal(), "2 " + system_ + ":1: texts are shown only with the option --show-text");
}

TEST_F(SettingsOf, RootsLoseTheirLastSeparators) {
    sources_.options["root"] = "a//";
    EXPECT_EQ(Of("root"), "a (option)");
    sources_.options["root"] = "/";
    EXPECT_EQ(Of("root"), "/ (option)");
}

TEST_F(SettingsOf, RootsThatDependOnTheWorkingDirectoryAreOptionsOnly) {
    sources_.environment["TORVANE_ROOT"] = "x";
    EXPECT_EQ(Refusal(), "2 TORVANE_ROOT: 'x' is no absolute path");
    sources_.environment.erase("TORVANE_ROOT");
    WriteBytes(system_, "\nroot = ~/x\n");
    EXPECT_EQ(Refusal(), "2 " + system_ + ":2: root: '~/x' is no absolute path");
    sources_.options["root"] = "";
    EXPECT_EQ(Refusal(), "2 --root: the path is empty");
}

TEST_F(SettingsOf, WrongValuesAreRefusedWithTheNearest) {
    sources_.options["format"] = "jsn";
    EXPECT_EQ(Refusal(), "2 --format: 'jsn' is none of table, json, jsonl, csv; did you mean 'json'?");
    sources_.options.clear();
    sources_.environment["TORVANE_PROGRESS"] = "noo";
    EXPECT_EQ(Refusal(), "2 TORVANE_PROGRESS: 'noo' is none of yes, no; did you mean 'no'?");
    sources_.environment.erase("TORVANE_PROGRESS");
    WriteBytes(system_, "colour = never\n");
    EXPECT_EQ(Refusal(), "2 " + system_ + ":1: unknown setting 'colour'; did you mean 'color'?");
}

}  // namespace
}  // namespace torvane
