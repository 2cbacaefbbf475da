#include <tkrzw_dbm_hash.h>
#include <tkrzw_file_pos.h>

#include "bench/Answers.h"
#include "bench/Require.h"
#include "bench/peers/Store.h"

namespace bench {
namespace {

std::unique_ptr<tkrzw::HashDBM> MakeDbm(Flags flags) {
    if (flags == Flags::kDefault) return std::make_unique<tkrzw::HashDBM>();
    return std::make_unique<tkrzw::HashDBM>(std::make_unique<tkrzw::PositionalParallelFile>());
}

// A file read and written by position in place of a mapping, and no file lock. Safe against SIGKILL: what was written
// is the kernel's, and a file that was not closed is repaired when it is opened next.
int OptionsOf(Flags flags) {
    return flags == Flags::kFast ? tkrzw::File::OPEN_NO_LOCK : tkrzw::File::OPEN_DEFAULT;
}

class TkrzwStore final : public Store {
  public:
    TkrzwStore(std::string const& directory, Flags flags, Access access) : dbm_(MakeDbm(flags)) {
        tkrzw::Status const opened = dbm_->Open(directory + "/answers.tkh", access == Access::kWrite, OptionsOf(flags));
        Require(opened.IsOK(), "tkrzw: open failed");
    }
    ~TkrzwStore() override { Require(dbm_->Close().IsOK(), "tkrzw: close failed"); }

    bool Get(std::string const& key, std::string& value) override {
        tkrzw::Status const found = dbm_->Get(key, &value);
        Require(found.IsOK() || found == tkrzw::Status::NOT_FOUND_ERROR, "tkrzw: get failed");
        return found.IsOK();
    }

    void Put(std::string const& key, std::string_view value) override {
        Require(dbm_->Set(key, value, false).IsOK(), "tkrzw: set failed");
    }

  private:
    std::unique_ptr<tkrzw::HashDBM> dbm_;
};

class Tkrzw final : public Engine {
  public:
    [[nodiscard]] std::string Name() const override { return "tkrzw"; }
    [[nodiscard]] std::unique_ptr<Store> Open(std::string const& directory, Flags flags, Access access) const override {
        return std::make_unique<TkrzwStore>(directory, flags, access);
    }
    void Fill(std::string const& directory, Flags /*flags*/, std::size_t answers) const override {
        TkrzwStore store(directory, Flags::kDefault, Access::kWrite);
        for (std::size_t i = 0; i < answers; ++i) {
            Value const value = ValueOf(i);
            store.Put(KeyOf(i), {value.data(), value.size()});
        }
    }
};

}  // namespace

std::unique_ptr<Engine> MakeTkrzw() {
    return std::make_unique<Tkrzw>();
}

}  // namespace bench
