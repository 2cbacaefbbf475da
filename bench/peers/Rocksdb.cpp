#include <rocksdb/db.h>
#include <rocksdb/env.h>
#include <rocksdb/options.h>

#include "bench/Answers.h"
#include "bench/Require.h"
#include "bench/peers/Store.h"

namespace bench {
namespace {

// A log that writes nothing, in place of a new LOG file at each opening.
class SilentLog final : public rocksdb::Logger {
  public:
    using rocksdb::Logger::Logv;
    void Logv(char const*, std::va_list) override {}
};

rocksdb::Options DefaultOptions() {
    rocksdb::Options options;
    options.create_if_missing = true;
    return options;
}

// Safe against SIGKILL: each put is in the write-ahead log, written to the kernel before it counts (also by default,
// where it is not synced either). The rest only spares work at opening.
rocksdb::Options FastOptions() {
    rocksdb::Options options = DefaultOptions();
    options.info_log = std::make_shared<SilentLog>();
    options.paranoid_checks = false;
    options.skip_stats_update_on_db_open = true;
    options.skip_checking_sst_file_sizes_on_db_open = true;
    options.avoid_flush_during_recovery = true;
    return options;
}

class RocksdbStore final : public Store {
  public:
    RocksdbStore(std::string const& directory, rocksdb::Options const& options, bool read_only) {
        rocksdb::DB* db = nullptr;
        std::string const path = directory + "/answers.rocksdb";
        rocksdb::Status const opened =
            read_only ? rocksdb::DB::OpenForReadOnly(options, path, &db) : rocksdb::DB::Open(options, path, &db);
        Require(opened.ok(), "RocksDB: open failed");
        db_.reset(db);
    }

    bool Get(std::string const& key, std::string& value) override {
        rocksdb::Status const found = db_->Get(rocksdb::ReadOptions(), key, &value);
        Require(found.ok() || found.IsNotFound(), "RocksDB: get failed");
        return found.ok();
    }

    void Put(std::string const& key, std::string_view value) override {
        rocksdb::Slice const content(value.data(), value.size());
        Require(db_->Put(rocksdb::WriteOptions(), key, content).ok(), "RocksDB: put failed");
    }

    void Settle() {
        Require(db_->Flush(rocksdb::FlushOptions()).ok(), "RocksDB: flush failed");
        Require(db_->CompactRange(rocksdb::CompactRangeOptions(), nullptr, nullptr).ok(), "RocksDB: compaction failed");
    }

  private:
    std::unique_ptr<rocksdb::DB> db_;
};

class Rocksdb final : public Engine {
  public:
    [[nodiscard]] std::string Name() const override { return "RocksDB"; }
    [[nodiscard]] std::unique_ptr<Store> Open(std::string const& directory, Flags flags, Access access) const override {
        if (flags == Flags::kDefault) return std::make_unique<RocksdbStore>(directory, DefaultOptions(), false);
        return std::make_unique<RocksdbStore>(directory, FastOptions(), access == Access::kRead);
    }
    void Fill(std::string const& directory, Flags /*flags*/, std::size_t answers) const override {
        RocksdbStore store(directory, DefaultOptions(), false);
        for (std::size_t i = 0; i < answers; ++i) {
            Value const value = ValueOf(i);
            store.Put(KeyOf(i), {value.data(), value.size()});
        }
        store.Settle();
    }
};

}  // namespace

std::unique_ptr<Engine> MakeRocksdb() {
    return std::make_unique<Rocksdb>();
}

}  // namespace bench
