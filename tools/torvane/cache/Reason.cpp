#include "tools/torvane/cache/Reason.h"

#include <algorithm>
#include <utility>

#include "tools/torvane/cache/SnapshotLook.h"

namespace torvane {

namespace {

constexpr int kFingerprintSubType = 2005;

class Explainer {
  public:
    Explainer(CacheRoot const& root, FileIdentity const& file, std::string const& template_id)
        : file_(file),
          id_(template_id),
          config_(root.ConfigPath()),
          places_(root.Stores(StoreKind::kTemplate, {{}, {}, template_id})) {}

    Explanation Run() {
        LookAtVersions();
        FindCurrent();
        if (definitions_->changed()) {
            SetUnsound({Soundness::kBusy, "the definitions kept changing"});
        } else if (told_.current_md5.empty()) {
            told_.reason = Reason::kTemplateUnknown;
        } else {
            Judge();
        }
        if (definitions_->damaged() && told_.damage.empty()) told_.damage = DamageOfDefinitions();
        return std::move(told_);
    }

  private:
    [[nodiscard]] char const* DamageOfDefinitions() const {
        return told_.from_config ? "the agent's definitions are damaged" : "the newest cache's definitions are damaged";
    }

    void LookAtVersions() {
        for (StorePlace const& place : places_) {
            SnapshotLook look_at_snapshot = LookAtSnapshot(place);
            // The agent knows of none that is not finished.
            if (look_at_snapshot.soundness != Soundness::kSound && IsUnfinished(place)) continue;
            snapshots_.push_back(std::move(look_at_snapshot));
            Snapshot const& snapshot = *snapshots_.back().snapshot;
            StoreView store(place);
            KeyLook look = LookUp(store, AnswerKeys(file_, snapshot.DependsOnName(id_)));
            KnownVersion version;
            version.place = place;
            version.since = snapshot.made();
            version.has_answer = look.search.outcome == IndexView::Outcome::kFound;
            if (!version.has_answer) version.damage = look.damage;
            told_.versions.push_back(std::move(version));
            looks_.push_back(std::move(look));
        }
    }

    // The agent's own definitions, or for want of them the newest cache's.
    void FindCurrent() {
        told_.from_config = config_.exists();
        definitions_ = &config_;
        if (!told_.from_config) {
            std::optional<std::int64_t> newest;
            for (SnapshotLook const& look : snapshots_) {
                if (!look.snapshot->exists() || (newest && look.snapshot->made() <= *newest)) continue;
                newest = look.snapshot->made();
                definitions_ = look.snapshot.get();
            }
        }
        told_.current_md5 = definitions_->Md5Of(id_);
        if (auto const* const tpl = definitions_->Template(id_)) {
            told_.fingerprint_rules = definitions_->definitions().is_exist_rule_sub_type(*tpl, kFingerprintSubType);
        }
        for (std::size_t at = 0; at < snapshots_.size(); ++at) {
            KnownVersion& version = told_.versions[at];
            version.current = version.place.version == told_.current_md5;
            // What a damaged definition lacks was not removed by anybody.
            if (!version.current && !definitions_->damaged())
                version.differences = Differences(*snapshots_[at].snapshot, *definitions_, id_);
        }
    }

    void Judge() {
        bool const elsewhere = std::any_of(told_.versions.begin(), told_.versions.end(),
                                           [](KnownVersion const& version) { return version.has_answer; });
        told_.reason = elsewhere ? Reason::kDefinitionChanged : Reason::kNeverStored;
        for (std::size_t at = 0; at < told_.versions.size(); ++at) {
            if (told_.versions[at].current) JudgeCurrent(told_.versions[at].place, snapshots_[at], looks_[at]);
        }
        if (told_.reason != Reason::kNeverStored) return;
        // It may have been stored where nobody can read it any more.
        auto const unsound = std::find_if(looks_.begin(), looks_.end(),
                                          [](KeyLook const& look) { return look.soundness != Soundness::kSound; });
        if (unsound != looks_.end()) SetUnsound(*unsound);
    }

    void JudgeCurrent(StorePlace const& place, SnapshotLook const& snapshot, KeyLook const& look) {
        told_.place = place;
        told_.key = look.key;
        told_.search = look.search;
        if (look.soundness != Soundness::kSound) return SetUnsound(look);
        if (snapshot.snapshot->Md5Of(id_) != place.version) return SetUnsound(snapshot);
        if (look.unstorable == look.keys && look.keys != 0) told_.reason = Reason::kKeyUnstorable;
        bool const is_found = look.search.outcome == IndexView::Outcome::kFound;
        told_.may_be_unstorable = !is_found && look.unstorable != 0 && look.unstorable != look.keys;
        if (is_found) JudgeRecord(place, look);
    }

    void JudgeRecord(StorePlace const& place, KeyLook const& found) {
        StoreView store(place);
        bool text_damaged = false;
        StoreView::Look const look = store.LookAt(found.search.number, found.search.slot, [&](RecordBytes bytes) {
            AnswerRecord answer;
            std::string wrong = DecodeAnswer(bytes, answer);
            text_damaged = answer.text_damaged;
            // The library still answers with the rules.
            return text_damaged ? std::string() : wrong;
        });
        if (look.soundness != Soundness::kSound) return SetUnsound(look);
        told_.reason = HasRecord(look.slot) ? Reason::kMatched : Reason::kNotMatched;
        if (text_damaged) told_.damage = "its text cannot be decoded, the library gives an empty one";
    }

    void SetUnsound(Look const& look) {
        told_.reason = look.soundness == Soundness::kBusy ? Reason::kBusy : Reason::kDamaged;
        told_.damage = look.damage;
    }

    FileIdentity const& file_;
    std::string const& id_;
    Snapshot config_;
    std::vector<StorePlace> places_;
    std::vector<SnapshotLook> snapshots_;  // of the places
    std::vector<KeyLook> looks_;           // the same
    Snapshot const* definitions_ = nullptr;
    Explanation told_;
};

}  // namespace

char const* NameOf(Reason reason) {
    switch (reason) {
        case Reason::kMatched:
            return "matched";
        case Reason::kNotMatched:
            return "not-matched";
        case Reason::kNeverStored:
            return "never-stored";
        case Reason::kDefinitionChanged:
            return "definition-changed";
        case Reason::kTemplateUnknown:
            return "template-unknown";
        case Reason::kKeyUnstorable:
            return "key-unstorable";
        case Reason::kDamaged:
            return "damaged";
        case Reason::kBusy:
            break;
    }
    return "busy";
}

bool IsHit(Reason reason) {
    return reason == Reason::kMatched || reason == Reason::kNotMatched;
}

Explanation Explain(CacheRoot const& root, FileIdentity const& file, std::string const& template_id) {
    return Explainer(root, file, template_id).Run();
}

}  // namespace torvane
