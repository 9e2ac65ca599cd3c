// The exact reader's dictionary: texts, name lookup and names defined twice.
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
    return FindDuplicates(byName_, [this](std::uint32_t cls) { return ClassName(cls); });
}

}  // namespace kesto
