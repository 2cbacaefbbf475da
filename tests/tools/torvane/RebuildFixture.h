#pragma once

#include <filesystem>
#include <string>

#include "tests/tools/torvane/CheckFixture.h"

// Runs repair and compact on that root.
class Rebuilding : public CheckedRoot {
  protected:
    ~Rebuilding() override { std::filesystem::remove_all(Out()); }

    [[nodiscard]] std::string Out() const { return root_.Path() + "-out"; }
    [[nodiscard]] ToolResult Repair() const { return Run({"repair", "--out", Out(), "--format", "json"}); }
    [[nodiscard]] ToolResult Compact() const { return Run({"compact", "--out", Out(), "--format", "json"}); }
    [[nodiscard]] ToolResult VerifyOut() const { return tool_.Run({"verify", "--format", "json", "--root", Out()}); }
};
