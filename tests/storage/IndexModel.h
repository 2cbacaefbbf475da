#pragma once

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "host/base/Murmur3.h"

// What an index file must answer, held in plain containers.
struct ModelPlace {
    long long offset = 0;
    int length = 0;
};

class TextIndexModel {
  public:
    explicit TextIndexModel(unsigned buckets) : buckets_(buckets), slots_(buckets) {}

    int Add(std::string const& key, ModelPlace place) {
        unsigned const bucket = BucketOf(key);
        if (bucket == 0) return -12;
        auto& chain = chains_[bucket];
        if (!chain.empty()) ++slots_;  // the first lies in the table
        chain.push_back({key, place});
        return 0;
    }
    // The first that was added answers.
    int Find(std::string const& key, ModelPlace& place) const {
        unsigned const bucket = BucketOf(key);
        if (bucket == 0) return -12;
        auto const chain = chains_.find(bucket);
        if (chain == chains_.end()) return 0;
        for (auto const& [held, at] : chain->second) {
            if (held == key) return place = at, 1;
        }
        return 0;
    }
    [[nodiscard]] unsigned long long Slots() const { return slots_; }

  private:
    [[nodiscard]] unsigned BucketOf(std::string const& key) const {
        return Varnok::Murmur3_32(key.data(), static_cast<int>(key.size())) % buckets_;
    }

    unsigned buckets_;
    unsigned long long slots_;
    std::map<unsigned, std::vector<std::pair<std::string, ModelPlace>>> chains_;
};

class NumberIndexModel {
  public:
    explicit NumberIndexModel(int slots) : slots_(slots) {}

    int Add(int key, ModelPlace place) {
        if (key < 1) return -14;
        if (key > slots_ + 1) return -12;
        slots_ = std::max(slots_, key);
        places_[key] = place;
        return 0;
    }
    int Find(int key, ModelPlace& place) const {
        if (key < 1) return -14;
        auto const found = places_.find(key);
        if (found == places_.end()) return 0;
        place = found->second;
        return 1;
    }
    [[nodiscard]] unsigned long long Slots() const { return static_cast<unsigned long long>(slots_); }

  private:
    int slots_;
    std::map<int, ModelPlace> places_;
};
