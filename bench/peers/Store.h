#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace bench {

// A store that is open. A value of any other size or an error ends the program.
class Store {
  public:
    Store() = default;
    virtual ~Store() = default;
    Store(Store const&) = delete;
    Store& operator=(Store const&) = delete;

    // False when the key is not present.
    virtual bool Get(std::string const& key, std::string& value) = 0;
    // Adds a key that is not present.
    virtual void Put(std::string const& key, std::string_view value) = 0;
};

// How a store is opened.
enum class Flags {
    kDefault,  // as its manual's first example does
    kFast,     // the fastest found under which what was put survives the death of the process (SIGKILL)
};
enum class Access { kRead, kWrite };

// A kind of store that a user might pick instead.
class Engine {
  public:
    Engine() = default;
    virtual ~Engine() = default;
    Engine(Engine const&) = delete;
    Engine& operator=(Engine const&) = delete;

    [[nodiscard]] virtual std::string Name() const = 0;
    // Opens the store in `directory`, making it when there is none.
    [[nodiscard]] virtual std::unique_ptr<Store> Open(std::string const& directory, Flags flags,
                                                      Access access) const = 0;
    // Makes a store with the first `answers` answers, to be opened with the same flags; leaves it as it is best read.
    virtual void Fill(std::string const& directory, Flags flags, std::size_t answers) const = 0;
};

// The kinds whose packages were found when the benchmark was built, and the names of the others.
[[nodiscard]] std::vector<std::unique_ptr<Engine>> Engines();
[[nodiscard]] std::vector<std::string> MissingEngines();

[[nodiscard]] std::unique_ptr<Engine> MakeSqlite();
[[nodiscard]] std::unique_ptr<Engine> MakeLmdb();
[[nodiscard]] std::unique_ptr<Engine> MakeGdbm();
[[nodiscard]] std::unique_ptr<Engine> MakeTkrzw();
[[nodiscard]] std::unique_ptr<Engine> MakeRocksdb();

}  // namespace bench
