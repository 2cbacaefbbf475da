#include "bench/peers/Store.h"

namespace bench {

std::vector<std::unique_ptr<Engine>> Engines() {
    std::vector<std::unique_ptr<Engine>> engines;
#ifdef TORVANE_BENCH_SQLITE
    engines.push_back(MakeSqlite());
#endif
#ifdef TORVANE_BENCH_LMDB
    engines.push_back(MakeLmdb());
#endif
#ifdef TORVANE_BENCH_GDBM
    engines.push_back(MakeGdbm());
#endif
#ifdef TORVANE_BENCH_TKRZW
    engines.push_back(MakeTkrzw());
#endif
#ifdef TORVANE_BENCH_ROCKSDB
    engines.push_back(MakeRocksdb());
#endif
    return engines;
}

std::vector<std::string> MissingEngines() {
    return {
#ifndef TORVANE_BENCH_SQLITE
        "SQLite (libsqlite3-dev)",
#endif
#ifndef TORVANE_BENCH_LMDB
        "LMDB (liblmdb-dev)",
#endif
#ifndef TORVANE_BENCH_GDBM
        "gdbm (libgdbm-dev)",
#endif
#ifndef TORVANE_BENCH_TKRZW
        "tkrzw (libtkrzw-dev)",
#endif
#ifndef TORVANE_BENCH_ROCKSDB
        "RocksDB (librocksdb-dev)",
#endif
    };
}

}  // namespace bench
