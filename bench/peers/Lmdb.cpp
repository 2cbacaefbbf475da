#include <lmdb.h>

#include "bench/Answers.h"
#include "bench/Require.h"
#include "bench/peers/Store.h"

namespace bench {
namespace {

constexpr std::size_t kMapBytes = std::size_t{1} << 30;

MDB_val ValueFrom(std::string_view bytes) {
    return {bytes.size(), const_cast<char*>(bytes.data())};
}

// Safe against SIGKILL, though not against a power cut: MDB_NOSYNC only leaves out fsync; pages go to the kernel before
// the meta page that makes them count. MDB_NOLOCK leaves the exclusion of writers to the caller, as our store does.
// MDB_WRITEMAP is slower here, since each opening then maps and unmaps what it has written.
constexpr unsigned kFastFlags = MDB_NOSYNC | MDB_NOLOCK | MDB_NORDAHEAD;

unsigned EnvironmentFlags(Flags flags, Access access) {
    if (flags == Flags::kDefault) return 0;
    return kFastFlags | (access == Access::kRead ? MDB_RDONLY : 0U);
}

class LmdbStore final : public Store {
  public:
    LmdbStore(std::string const& directory, unsigned flags) {
        Require(mdb_env_create(&env_) == 0 && mdb_env_set_mapsize(env_, kMapBytes) == 0, "LMDB: no environment");
        Require(mdb_env_open(env_, directory.c_str(), flags, 0600) == 0, "LMDB: open failed");
        MDB_txn* const txn = Begin(flags & MDB_RDONLY);
        Require(mdb_dbi_open(txn, nullptr, 0, &dbi_) == 0, "LMDB: no database");
        Require(mdb_txn_commit(txn) == 0, "LMDB: commit failed");
    }
    ~LmdbStore() override { mdb_env_close(env_); }

    bool Get(std::string const& key, std::string& value) override {
        MDB_txn* const txn = Begin(MDB_RDONLY);
        MDB_val name = ValueFrom(key), found{};
        int const failed = mdb_get(txn, dbi_, &name, &found);
        Require(failed == 0 || failed == MDB_NOTFOUND, "LMDB: get failed");
        if (failed == 0) value.assign(static_cast<char const*>(found.mv_data), found.mv_size);
        mdb_txn_abort(txn);
        return failed == 0;
    }

    void Put(std::string const& key, std::string_view value) override {
        MDB_txn* const txn = Begin(0);
        PutInto(txn, key, value);
        Require(mdb_txn_commit(txn) == 0, "LMDB: commit failed");
    }

    void PutAll(std::size_t answers) {
        MDB_txn* const txn = Begin(0);
        for (std::size_t i = 0; i < answers; ++i) {
            Value const value = ValueOf(i);
            PutInto(txn, KeyOf(i), {value.data(), value.size()});
        }
        Require(mdb_txn_commit(txn) == 0, "LMDB: commit failed");
    }

  private:
    MDB_txn* Begin(unsigned flags) {
        MDB_txn* txn = nullptr;
        Require(mdb_txn_begin(env_, nullptr, flags, &txn) == 0, "LMDB: no transaction");
        return txn;
    }
    void PutInto(MDB_txn* txn, std::string const& key, std::string_view value) {
        MDB_val name = ValueFrom(key), content = ValueFrom(value);
        Require(mdb_put(txn, dbi_, &name, &content, MDB_NOOVERWRITE) == 0, "LMDB: put failed");
    }

    MDB_env* env_ = nullptr;
    MDB_dbi dbi_ = 0;
};

class Lmdb final : public Engine {
  public:
    [[nodiscard]] std::string Name() const override { return "LMDB"; }
    [[nodiscard]] std::unique_ptr<Store> Open(std::string const& directory, Flags flags, Access access) const override {
        return std::make_unique<LmdbStore>(directory, EnvironmentFlags(flags, access));
    }
    void Fill(std::string const& directory, Flags /*flags*/, std::size_t answers) const override {
        LmdbStore(directory, MDB_NOSYNC).PutAll(answers);
    }
};

}  // namespace

std::unique_ptr<Engine> MakeLmdb() {
    return std::make_unique<Lmdb>();
}

}  // namespace bench
