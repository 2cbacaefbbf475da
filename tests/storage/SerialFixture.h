#pragma once

#include <climits>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host/base/IBuffer.h"
#include "host/base/OBuffer.h"
#include "storage/DLPCacheSerial.h"

// A record put together from functions, with the coders within reach.
struct Record : DLPCache::SerialBasic {
    using SerialBasic::ReadHString;
    using SerialBasic::ReadVTHString;
    using SerialBasic::Size;
    using SerialBasic::WriteHString;
    using SerialBasic::WriteVTHString;

    int Size() const override { return size; }
    bool Write(Varnok::Writer* w) override { return write(w); }
    bool Read(Varnok::Reader* r, int length) override { return read(r, length); }

    int size = 0;
    std::function<bool(Varnok::Writer*)> write = [](Varnok::Writer*) { return true; };
    std::function<bool(Varnok::Reader*, int)> read = [](Varnok::Reader*, int) { return true; };
};

// A writer over `capacity` bytes.
class Output {
  public:
    explicit Output(std::size_t capacity) : bytes_(capacity, '\xEE'), writer_(&start_, 0, Length(capacity)) {}
    Varnok::Writer* Get() { return &writer_; }
    // What was written.
    [[nodiscard]] std::string Bytes() const { return bytes_.substr(0, static_cast<std::size_t>(writer_.GetLength())); }

  private:
    static long long Length(std::size_t capacity) { return static_cast<long long>(capacity); }

    std::string bytes_;
    unsigned char* start_ = reinterpret_cast<unsigned char*>(bytes_.data());
    Varnok::OBuffer writer_;
};

// A reader over bytes that the caller keeps.
class Input {
  public:
    explicit Input(std::string_view bytes)
        : reader_(reinterpret_cast<unsigned char const*>(bytes.data()), static_cast<long long>(bytes.size()), false) {}
    Varnok::Reader* Get() { return &reader_; }
    [[nodiscard]] long long Remaining() const { return reader_.remaining(); }

  private:
    Varnok::IBuffer reader_;
};
