#include <gdbm.h>

#include <cstdlib>

#include "bench/Answers.h"
#include "bench/Require.h"
#include "bench/peers/Store.h"

namespace bench {
namespace {

// Nothing of these weakens what a SIGKILL leaves: GDBM_NOLOCK leaves the exclusion of writers to the caller, as our
// store does, GDBM_NOMMAP reads and writes in place of mapping the whole file. gdbm's tables are changed in place:
// whatever the flags, a kill between two of its own writes may cost it a bucket; what was put before stays.
constexpr int kFastFlags = GDBM_NOLOCK | GDBM_NOMMAP;

datum DatumOf(std::string_view bytes) {
    return {const_cast<char*>(bytes.data()), static_cast<int>(bytes.size())};
}

class GdbmStore final : public Store {
  public:
    GdbmStore(std::string const& directory, int flags) {
        file_ = gdbm_open((directory + "/answers.gdbm").c_str(), 0, flags, 0600, nullptr);
        Require(file_ != nullptr, "gdbm: open failed");
    }
    ~GdbmStore() override { gdbm_close(file_); }

    bool Get(std::string const& key, std::string& value) override {
        datum const found = gdbm_fetch(file_, DatumOf(key));
        if (found.dptr == nullptr) {
            Require(gdbm_errno == GDBM_ITEM_NOT_FOUND, "gdbm: fetch failed");
            return false;
        }
        value.assign(found.dptr, static_cast<std::size_t>(found.dsize));
        std::free(found.dptr);
        return true;
    }

    void Put(std::string const& key, std::string_view value) override {
        Require(gdbm_store(file_, DatumOf(key), DatumOf(value), GDBM_INSERT) == 0, "gdbm: store failed");
    }

  private:
    GDBM_FILE file_ = nullptr;
};

class Gdbm final : public Engine {
  public:
    [[nodiscard]] std::string Name() const override { return "gdbm"; }
    [[nodiscard]] std::unique_ptr<Store> Open(std::string const& directory, Flags flags, Access access) const override {
        int const mode = access == Access::kRead ? GDBM_READER : GDBM_WRCREAT;
        return std::make_unique<GdbmStore>(directory, mode | (flags == Flags::kFast ? kFastFlags : 0));
    }
    void Fill(std::string const& directory, Flags /*flags*/, std::size_t answers) const override {
        GdbmStore store(directory, GDBM_WRCREAT);
        for (std::size_t i = 0; i < answers; ++i) {
            Value const value = ValueOf(i);
            store.Put(KeyOf(i), {value.data(), value.size()});
        }
    }
};

}  // namespace

std::unique_ptr<Engine> MakeGdbm() {
    return std::make_unique<Gdbm>();
}

}  // namespace bench
