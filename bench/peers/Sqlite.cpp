#include <sqlite3.h>

#include "bench/Answers.h"
#include "bench/Require.h"
#include "bench/peers/Store.h"

namespace bench {
namespace {

// By default the journal is the write-ahead log (WAL). Fast means, all of it safe against SIGKILL:
// - a rollback journal, since a log, its index and a checkpoint for each opening cost more than the log saves; whoever
//   opens the file after a kill rolls an unfinished change back;
// - synchronous=OFF: leaves out fsync, not the order of writes, and the kernel keeps what it has taken;
// - the journal is kept and overwritten in place of being deleted;
// - unix-none: leaves the exclusion of writers to the caller, as our store does.
constexpr int kDefaultOpen = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;

class SqliteStore final : public Store {
  public:
    SqliteStore(std::string const& directory, int flags, char const* vfs, char const* pragmas) {
        std::string const path = directory + "/answers.sqlite";
        Require(sqlite3_open_v2(path.c_str(), &db_, flags, vfs) == SQLITE_OK, "SQLite: open failed");
        Run(pragmas);
    }
    ~SqliteStore() override {
        sqlite3_finalize(get_);
        sqlite3_finalize(put_);
        Require(sqlite3_close(db_) == SQLITE_OK, "SQLite: close failed");
    }

    bool Get(std::string const& key, std::string& value) override {
        Prepare(get_, "SELECT value FROM answers WHERE key = ?1");
        BindKey(get_, key);
        int const step = sqlite3_step(get_);
        Require(step == SQLITE_ROW || step == SQLITE_DONE, "SQLite: select failed");
        if (step == SQLITE_ROW) {
            auto const* bytes = static_cast<char const*>(sqlite3_column_blob(get_, 0));
            value.assign(bytes, static_cast<std::size_t>(sqlite3_column_bytes(get_, 0)));
        }
        sqlite3_reset(get_);
        return step == SQLITE_ROW;
    }

    void Put(std::string const& key, std::string_view value) override {
        Prepare(put_, "INSERT INTO answers VALUES (?1, ?2)");
        BindKey(put_, key);
        Require(sqlite3_bind_blob(put_, 2, value.data(), static_cast<int>(value.size()), SQLITE_STATIC) == SQLITE_OK,
                "SQLite: bind failed");
        Require(sqlite3_step(put_) == SQLITE_DONE, "SQLite: insert failed");
        sqlite3_reset(put_);
    }

    void Run(char const* sql) { Require(sqlite3_exec(db_, sql, nullptr, nullptr, nullptr) == SQLITE_OK, sql); }

  private:
    void Prepare(sqlite3_stmt*& statement, char const* sql) {
        if (statement) return;
        Require(sqlite3_prepare_v2(db_, sql, -1, &statement, nullptr) == SQLITE_OK, sql);
    }
    static void BindKey(sqlite3_stmt* statement, std::string const& key) {
        Require(sqlite3_bind_text(statement, 1, key.data(), static_cast<int>(key.size()), SQLITE_STATIC) == SQLITE_OK,
                "SQLite: bind failed");
    }

    sqlite3* db_ = nullptr;
    sqlite3_stmt* get_ = nullptr;
    sqlite3_stmt* put_ = nullptr;
};

class Sqlite final : public Engine {
  public:
    [[nodiscard]] std::string Name() const override { return "SQLite"; }
    [[nodiscard]] std::unique_ptr<Store> Open(std::string const& directory, Flags flags, Access access) const override {
        if (flags == Flags::kDefault) return std::make_unique<SqliteStore>(directory, kDefaultOpen, nullptr, "");
        char const* const pragmas =
            access == Access::kRead ? "" : "PRAGMA synchronous=OFF; PRAGMA journal_mode=PERSIST";
        return std::make_unique<SqliteStore>(directory, kDefaultOpen | SQLITE_OPEN_NOMUTEX, "unix-none", pragmas);
    }
    void Fill(std::string const& directory, Flags flags, std::size_t answers) const override {
        char const* const journal = flags == Flags::kDefault ? "PRAGMA journal_mode=WAL" : "PRAGMA journal_mode=DELETE";
        SqliteStore store(directory, kDefaultOpen, nullptr, journal);
        store.Run("CREATE TABLE answers (key TEXT PRIMARY KEY, value BLOB NOT NULL) WITHOUT ROWID");
        store.Run("BEGIN");
        for (std::size_t i = 0; i < answers; ++i) {
            Value const value = ValueOf(i);
            store.Put(KeyOf(i), {value.data(), value.size()});
        }
        store.Run("COMMIT");
    }
};

}  // namespace

std::unique_ptr<Engine> MakeSqlite() {
    return std::make_unique<Sqlite>();
}

}  // namespace bench
