#pragma once

#include <array>
#include <vector>

#include "host/base/HString.h"
#include "host/policy/SensFile.h"
#include "storage/DLPCacheSerial.h"

namespace DLPCache {

// One sensitive file as a task's store keeps it. See SerialBasic for threads and failures; a failed Read leaves the
// node partly filled, to be discarded. As a record: its length (32 bits, counting itself), path, MD5, the four
// attributes (64 bits each), first extra text, template ids, second extra text.
class TORVANE_API SensFileNode final : public SerialBasic {
  public:
    SensFileNode() noexcept = default;
    explicit SensFileNode(SensFile const& file);  // copies what is stored; throws std::bad_alloc

    // Whether the file has a record that can be read again: no text of it is longer than 32767 units or holds a zero
    // (at which it would end), and the length can be told in 32 bits. Takes no memory.
    [[nodiscard]] static bool IsEncodable(SensFile const& file) noexcept;

    using SerialBasic::Size;
    [[nodiscard]] int Size() const override;  // INT_MAX stands for every length that cannot be told
    [[nodiscard]] bool Write(Varnok::Writer* w) override;
    // Refuses a record whose own length is not `size`.
    [[nodiscard]] bool Read(Varnok::Reader* r, int size) override;

    // Moves what is stored into `file`; afterwards the node is good for nothing.
    void GiveTo(SensFile& file) noexcept;

    HString file_path;
    HString file_md5;
    std::array<long long, 4> file_attrs{};
    HString extra_1;
    std::vector<HString> tpl_ids;
    HString extra_2;
};

}  // namespace DLPCache
