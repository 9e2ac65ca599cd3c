// The loaded dictionary: texts, name lookup, lineage and merged member lists.
#include "dictionary_model.h"

#include <algorithm>

#include "dictionary_text.h"

namespace kesto {

void Dictionary::ReserveText(std::size_t units) { pool_.reserve(units); }

TextRef Dictionary::AddUtf8(std::string_view utf8) {
    TextRef ref{static_cast<std::uint32_t>(pool_.size()), 0};
    AppendUtf8AsUtf16(pool_, utf8);
    ref.length = static_cast<std::uint32_t>(pool_.size() - ref.offset);
    return ref;
}

ClassRecord& Dictionary::NewClass() {
    classNameAt_.emplace_back();
    return classes_.emplace_back();
}

MemberRecord& Dictionary::NewMember() {
    memberNameAt_.emplace_back();
    return members_.emplace_back();
}

void Dictionary::DropLastClass() {
    classes_.pop_back();
    classNameAt_.pop_back();
}

std::uint32_t Dictionary::FindClass(std::u16string_view name) const {
    auto it = std::lower_bound(byName_.begin(), byName_.end(), name,
                               [this](std::uint32_t index, std::u16string_view wanted) {
                                   return ClassName(index) < wanted;
                               });
    if (it == byName_.end() || ClassName(*it) != name) return kNoClass;
    return *it;
}

namespace {

// `sorted` holds equal names in definition order (indices grow with it): each run's
// first entry is the definition, the rest repeat it. Sorted by the repeats' indices,
// which is their order in the file.
template <typename NameOf>
Dictionary::Duplicates FindDuplicates(const std::vector<std::uint32_t>& sorted, NameOf nameOf) {
    Dictionary::Duplicates duplicates;
    std::size_t first = 0;
    for (std::size_t i = 1; i < sorted.size(); ++i) {
        if (nameOf(sorted[i]) != nameOf(sorted[first])) {
            first = i;
            continue;
        }
        duplicates.emplace_back(sorted[first], sorted[i]);
    }
    std::sort(duplicates.begin(), duplicates.end(),
              [](const auto& a, const auto& b) { return a.second < b.second; });
    return duplicates;
}

}  // namespace

Dictionary::Duplicates Dictionary::SortMembers(MemberList& list) const {
    std::sort(list.begin(), list.end(), [this](std::uint32_t a, std::uint32_t b) {
        int order = MemberName(a).compare(MemberName(b));
        return order != 0 ? order < 0 : a < b;
    });
    return FindDuplicates(list, [this](std::uint32_t member) { return MemberName(member); });
}

Dictionary::Duplicates Dictionary::Seal() {
    byName_.resize(classes_.size());
    for (std::uint32_t i = 0; i < byName_.size(); ++i) byName_[i] = i;
    std::stable_sort(byName_.begin(), byName_.end(),
                     [this](std::uint32_t a, std::uint32_t b) { return ClassName(a) < ClassName(b); });
    merged_.clear();
    return FindDuplicates(byName_, [this](std::uint32_t cls) { return ClassName(cls); });
}

std::vector<std::uint32_t> Dictionary::Lineage(std::uint32_t index) const {
    // Iterative pre-order walk: popping a class pushes its supers right to left, so
    // they come off left to right; a class seen before is skipped when popped. That
    // is the same order as the recursive walk, without its stack depth.
    std::vector<std::uint32_t> order;
    std::vector<std::uint32_t> pending{index};
    std::vector<bool> seen(classes_.size(), false);
    while (!pending.empty()) {
        std::uint32_t current = pending.back();
        pending.pop_back();
        if (seen[current]) continue;
        seen[current] = true;
        order.push_back(current);
        const auto& supers = classes_[current].supers;
        for (auto it = supers.rbegin(); it != supers.rend(); ++it) {
            if (!seen[*it]) pending.push_back(*it);
        }
    }
    return order;
}

std::uint32_t Dictionary::DefiningMember(std::uint32_t index, MemberKind kind, std::u16string_view name) const {
    const int k = static_cast<int>(kind);
    for (std::uint32_t cls : Lineage(index)) {
        const MemberList& own = classes_[cls].own[k];
        auto it = std::lower_bound(own.begin(), own.end(), name, [this](std::uint32_t member, std::u16string_view wanted) {
            return MemberName(member) < wanted;
        });
        if (it != own.end() && MemberName(*it) == name) return *it;
    }
    return kNoMember;
}

MemberList Dictionary::MergeLineage(std::uint32_t index, MemberKind kind) const {
    const int k = static_cast<int>(kind);
    MemberList merged;
    for (std::uint32_t cls : Lineage(index)) {
        const MemberList& own = classes_[cls].own[k];
        if (own.empty()) continue;
        // Both runs are sorted; inplace_merge keeps the earlier run first among
        // equal names, so the nearer definition stays in front of any it overrides.
        std::size_t middle = merged.size();
        merged.insert(merged.end(), own.begin(), own.end());
        std::inplace_merge(merged.begin(), merged.begin() + static_cast<std::ptrdiff_t>(middle), merged.end(),
                           [this](std::uint32_t a, std::uint32_t b) { return MemberName(a) < MemberName(b); });
    }
    auto last = std::unique(merged.begin(), merged.end(), [this](std::uint32_t a, std::uint32_t b) {
        return MemberName(a) == MemberName(b);
    });
    merged.erase(last, merged.end());
    merged.shrink_to_fit();
    return merged;
}

std::shared_ptr<const MemberList> Dictionary::Members(const std::shared_ptr<const Dictionary>& self,
                                                      std::uint32_t index, MemberKind kind, bool inherited) const {
    const int k = static_cast<int>(kind);
    const ClassRecord& cls = classes_[index];
    if (!inherited || cls.supers.empty()) return std::shared_ptr<const MemberList>(self, &cls.own[k]);
    if (merged_.size() != classes_.size()) merged_.resize(classes_.size());
    std::shared_ptr<const MemberList>& slot = merged_[index][k];
    if (!slot) slot = std::make_shared<const MemberList>(MergeLineage(index, kind));
    return slot;
}

std::shared_ptr<const PackedAnswers> Dictionary::FindAnswers(const std::string& key) const {
    auto found = answers_.find(key);
    return found == answers_.end() ? nullptr : found->second;
}

void Dictionary::KeepAnswers(std::string key, std::shared_ptr<const PackedAnswers> answers) const {
    std::size_t bytes = answers->Bytes();
    if (answerBytes_ + bytes > kKeptAnswerBytes) {
        answers_.clear();
        answerBytes_ = 0;
    }
    auto [at, added] = answers_.emplace(std::move(key), std::move(answers));
    if (added) answerBytes_ += bytes;
}

}  // namespace kesto
