#pragma once

#include <gmock/gmock.h>

#include <filesystem>

#include "tests/support/SoundRoot.h"
#include "tests/tools/torvane/CheckFixture.h"

// A sound root, and what verify says of it once a test has damaged it.
class VerifyOf : public CheckedRoot {
  protected:
    [[nodiscard]] std::string Index() const { return Template() + "/index"; }
    [[nodiscard]] std::string Data() const { return Template() + "/cache"; }
    [[nodiscard]] std::string Out() const { return root_.Path() + "-out"; }
    ~VerifyOf() override { std::filesystem::remove_all(Out()); }

    [[nodiscard]] std::uint64_t Next(std::uint64_t number) const {
        return (static_cast<std::uint64_t>(SlotAt(Index(), number).next) - DLPCache::IndexHead::kSize) / 57 + 1;
    }
    // Of a bucket with two more slots behind it.
    [[nodiscard]] std::uint64_t LongChain() const {
        return FindSlot(Index(), [this](std::uint64_t number, auto const& slot) {
            return slot.next != 0 && SlotAt(Index(), Next(number)).next != 0;
        });
    }
    template <class Change>
    void ChangeSlot(std::uint64_t number, Change change) {
        torvane::Slot slot = SlotAt(Index(), number);
        change(slot);
        PutSlot(Index(), number, slot);
    }
};
