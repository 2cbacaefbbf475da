#include <gtest/gtest.h>

#include <random>

#include "tests/storage/IndexModel.h"
#include "tests/storage/ManagerFixture.h"
#include "tests/support/Seed.h"

namespace {

constexpr int kOperations = 40000;
constexpr int kReopenEvery = 500;
constexpr int kAnewEvery = 4000;

// What a store must answer: an index model and the bytes of the data file. Index is a model, Key a key of the index.
template <class Index, class Key>
struct StoreModel {
    Index index;
    std::string data = {};

    int Add(Key const& key, std::string const& record) {
        if (record.empty()) return index.Add(key, {-1, 0});
        ModelPlace place;
        int const found = index.Find(key, place);
        if (found < 0) return found;
        bool const in_place = found == 1 && place.length != 0 && static_cast<int>(record.size()) <= place.length;
        auto const offset = in_place ? static_cast<std::size_t>(place.offset) : data.size();
        data.resize(std::max(data.size(), offset + record.size()));
        data.replace(offset, record.size(), record);
        int const added = index.Add(key, {static_cast<long long>(offset), static_cast<int>(record.size())});
        return added < 0 ? added : 1;
    }
    int Find(Key const& key, std::string& record) const {
        ModelPlace place;
        int const found = index.Find(key, place);
        if (found != 1 || place.length == 0) return found;
        record = data.substr(static_cast<std::size_t>(place.offset), static_cast<std::size_t>(place.length));
        return 2;
    }
    int Update(Key const& key, std::string const& record) {
        ModelPlace place;
        int const found = index.Find(key, place);
        if (found != 1) return found;
        if (place.length == 0) return 1;
        if (static_cast<int>(record.size()) != place.length) return -13;
        data.replace(static_cast<std::size_t>(place.offset), record.size(), record);
        return 0;
    }
};

class StoreAgainstModel : public ManagerFixture {
  protected:
    int Draw(int least, int most) { return std::uniform_int_distribution<int>(least, most)(random_); }
    std::string DrawRecord() {
        std::string record(static_cast<std::size_t>(Draw(1, 10) == 1 ? 0 : Draw(1, 30)), '\0');
        for (char& byte : record)
            byte = static_cast<char>(Draw(0, 255));
        return record;
    }
    // A new store beside the old ones.
    void Anew(int buckets) {
        std::string const name = std::to_string(++stores_);
        index_path_ = root_ / (name + "index");
        data_path_ = root_ / (name + "data");
        Open(buckets);
    }
    template <class Key>
    void ExpectAnswer(Key const& key, int code, std::string const& record) const {
        ASSERT_EQ(Get(key), code == 2 ? Data(record) : Without(code));
    }

    std::mt19937 random_{TestSeed()};
    int stores_ = 0;
};

TEST_F(StoreAgainstModel, AgreesOnIntegerKeys) {
    StoreModel<NumberIndexModel, int> model{NumberIndexModel(0)};
    for (int operation = 0; operation < kOperations; ++operation) {
        if (operation % kAnewEvery == 0) {
            model = {NumberIndexModel(20)};
            Anew(20);
        }
        if (operation % kReopenEvery == 0) Open(5);
        int const key = Draw(1, static_cast<int>(model.index.Slots()) + 1);
        int const kind = Draw(1, 10);
        std::string record = DrawRecord();
        if (kind <= 4) {
            ASSERT_EQ(Put(key, record), model.Add(key, record));
        } else if (kind == 5 && !record.empty()) {
            ASSERT_EQ(Rewrite(key, record), model.Update(key, record));
        } else {
            int const code = model.Find(key, record);
            ASSERT_NO_FATAL_FAILURE(ExpectAnswer(key, code, record));
        }
        if (operation % kReopenEvery == kReopenEvery - 1) {
            ASSERT_EQ(DataFile(), model.data);
        }
    }
}

TEST_F(StoreAgainstModel, AgreesOnTextKeys) {
    StoreModel<TextIndexModel, std::string> model{TextIndexModel(1)};
    for (int operation = 0; operation < kOperations; ++operation) {
        if (operation % kAnewEvery == 0) {
            int const buckets = Draw(2, 9);
            model = {TextIndexModel(static_cast<unsigned>(buckets))};
            Anew(buckets);
        }
        if (operation % kReopenEvery == 0) Open(5);
        HString const key(Draw(1, 400));
        std::string const md5 = key.get_md5_std_format_lower(HString()).get_str();
        std::string record = DrawRecord();
        if (Draw(1, 10) <= 4) {
            ASSERT_EQ(Put(key, record), model.Add(md5, record));
        } else {
            int const code = model.Find(md5, record);
            ASSERT_NO_FATAL_FAILURE(ExpectAnswer(key, code, record));
        }
        if (operation % kReopenEvery == kReopenEvery - 1) {
            ASSERT_EQ(store_->GetIndexNumber(), static_cast<int>(model.index.Slots()));
            ASSERT_EQ(Exists(data_path_) ? DataFile() : "", model.data);
        }
    }
}

}  // namespace
