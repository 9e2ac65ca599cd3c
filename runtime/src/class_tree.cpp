// The loaded class tree: lookups, lineage and merged member lists.
#include "class_tree.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <unordered_set>

namespace kesto {

ClassTree::ClassTree(void* block, std::size_t size, Release release)
    : block_(block), size_(size), release_(release), header_(static_cast<const TreeHeader*>(block)) {
    TreeLayout layout{};
    LayoutFor(*header_, &layout);
    const auto* base = static_cast<const unsigned char*>(block);
    textStarts_ = reinterpret_cast<const std::uint32_t*>(base + layout.textStarts);
    units_ = reinterpret_cast<const char16_t*>(base + layout.units);
    classes_ = reinterpret_cast<const ClassEntry*>(base + layout.classes);
    members_ = reinterpret_cast<const MemberEntry*>(base + layout.members);
    supers_ = reinterpret_cast<const std::uint32_t*>(base + layout.supers);
    own_ = reinterpret_cast<const std::uint32_t*>(base + layout.own);
    classNameAt_ = reinterpret_cast<const SourcePosition*>(base + layout.classNameAt);
    memberNameAt_ = reinterpret_cast<const SourcePosition*>(base + layout.memberNameAt);
    byName_ = reinterpret_cast<const std::uint32_t*>(base + layout.byName);
}

ClassTree::~ClassTree() {
    if (release_ != nullptr) release_(block_, size_);
}

std::shared_ptr<ClassTree> ClassTree::Empty() {
    TreeHeader header{};
    std::memcpy(header.magic, kTreeMagic, sizeof header.magic);
    header.version = kTreeFormatVersion;
    header.headerBytes = sizeof(TreeHeader);
    header.strings = 1;  // the empty text
    TreeLayout layout{};
    LayoutFor(header, &layout);
    header.totalBytes = layout.total;
    void* block = ::operator new(layout.total, std::align_val_t{8});
    std::memset(block, 0, layout.total);
    std::memcpy(block, &header, sizeof header);
    return std::make_shared<ClassTree>(block, layout.total, [](void* b, std::size_t) {
        ::operator delete(b, std::align_val_t{8});
    });
}

std::span<const std::uint32_t> ClassTree::Own(std::uint32_t index, MemberKind kind) const {
    const int k = static_cast<int>(kind);
    const std::uint32_t begin = classes_[index].own[k];
    const std::uint32_t end = k + 1 < kMemberKindCount ? classes_[index].own[k + 1] : classes_[index + 1].own[0];
    return {own_ + begin, own_ + end};
}

TextId ClassTree::FindText(std::u16string_view text) const {
    std::uint32_t low = 0;
    std::uint32_t high = header_->strings;
    while (low < high) {
        const std::uint32_t middle = low + (high - low) / 2;
        if (Text(middle) < text) {
            low = middle + 1;
        } else {
            high = middle;
        }
    }
    return low < header_->strings && Text(low) == text ? low : kNoText;
}

std::uint32_t ClassTree::FindClass(std::u16string_view name) const {
    const TextId id = FindText(name);
    if (id == kNoText) return kNoClass;
    const auto byName = ClassesByName();
    auto it = std::lower_bound(byName.begin(), byName.end(), id,
                               [this](std::uint32_t cls, TextId wanted) { return classes_[cls].name < wanted; });
    return it != byName.end() && classes_[*it].name == id ? *it : kNoClass;
}

std::vector<std::uint32_t> ClassTree::Lineage(std::uint32_t index) const {
    // Most lineages are plain chains, one super class each: followed as they are,
    // no set of classes seen needed. At the first class with two or more, or should
    // a chain come back on itself (a tree from the loader has no cycle, but the walk
    // does not count on that), the general walk takes over from the start.
    std::vector<std::uint32_t> order;
    for (std::uint32_t current = index;;) {
        order.push_back(current);
        const auto supers = Supers(current);
        if (supers.empty()) return order;
        if (supers.size() > 1 || order.size() > header_->classes) break;
        current = supers[0];
    }
    // Pre-order with an explicit stack: popping a class pushes its supers right to
    // left, so they come off left to right; a class seen before is skipped.
    order.clear();
    std::vector<std::uint32_t> pending{index};
    std::unordered_set<std::uint32_t> seen;
    while (!pending.empty()) {
        const std::uint32_t current = pending.back();
        pending.pop_back();
        if (!seen.insert(current).second) continue;
        order.push_back(current);
        const auto supers = Supers(current);
        for (auto it = supers.rbegin(); it != supers.rend(); ++it) {
            if (seen.find(*it) == seen.end()) pending.push_back(*it);
        }
    }
    return order;
}

std::uint32_t ClassTree::DefiningMember(std::uint32_t index, MemberKind kind, std::u16string_view name) const {
    const TextId id = FindText(name);
    if (id == kNoText) return kNoMember;
    for (std::uint32_t cls : Lineage(index)) {
        const auto own = Own(cls, kind);
        auto it = std::lower_bound(own.begin(), own.end(), id,
                                   [this](std::uint32_t member, TextId wanted) { return members_[member].name < wanted; });
        if (it != own.end() && members_[*it].name == id) return *it;
    }
    return kNoMember;
}

std::vector<std::uint32_t> ClassTree::MergeLineage(std::uint32_t index, MemberKind kind) const {
    // Each class's own list is a run sorted by name number. The runs are merged in
    // pairs, neighbour with neighbour, until one is left: every pass halves them, so
    // a lineage of L classes with M members costs M log L, however deep it is. Each
    // entry carries its name number above its member index; merges compare names
    // only and take from the left run first among equals, so the nearer definition
    // stays in front of those it overrides.
    std::vector<std::uint64_t> entries;
    std::vector<std::size_t> runs{0};
    for (std::uint32_t cls : Lineage(index)) {
        const auto own = Own(cls, kind);
        if (own.empty()) continue;
        for (std::uint32_t member : own) entries.push_back(std::uint64_t{members_[member].name} << 32 | member);
        runs.push_back(entries.size());
    }
    std::vector<std::uint64_t> scratch(entries.size());
    auto byName = [](std::uint64_t a, std::uint64_t b) { return (a >> 32) < (b >> 32); };
    while (runs.size() > 2) {
        std::vector<std::size_t> next{0};
        for (std::size_t r = 0; r + 1 < runs.size(); r += 2) {
            const std::size_t begin = runs[r];
            const std::size_t middle = runs[r + 1];
            const std::size_t end = r + 2 < runs.size() ? runs[r + 2] : middle;
            std::merge(entries.begin() + static_cast<std::ptrdiff_t>(begin),
                       entries.begin() + static_cast<std::ptrdiff_t>(middle),
                       entries.begin() + static_cast<std::ptrdiff_t>(middle),
                       entries.begin() + static_cast<std::ptrdiff_t>(end),
                       scratch.begin() + static_cast<std::ptrdiff_t>(begin), byName);
            next.push_back(end);
        }
        entries.swap(scratch);
        runs = std::move(next);
    }
    std::vector<std::uint32_t> merged;
    merged.reserve(entries.size());
    std::uint64_t lastName = ~std::uint64_t{0};
    for (std::uint64_t entry : entries) {
        if ((entry >> 32) == lastName) continue;
        lastName = entry >> 32;
        merged.push_back(static_cast<std::uint32_t>(entry));
    }
    return merged;
}

MemberSpan ClassTree::Members(const std::shared_ptr<const ClassTree>& self, std::uint32_t index, MemberKind kind,
                              bool inherited) const {
    if (!inherited || Supers(index).empty()) return {self, Own(index, kind)};
    const std::uint64_t key = std::uint64_t{index} * kMemberKindCount + static_cast<std::uint64_t>(kind);
    auto& slot = merged_[key];
    if (!slot) slot = std::make_shared<const std::vector<std::uint32_t>>(MergeLineage(index, kind));
    return {slot, std::span<const std::uint32_t>(*slot)};
}

std::shared_ptr<const TreeAnswers> ClassTree::FindAnswers(const std::string& key) const {
    auto found = answers_.find(key);
    return found == answers_.end() ? nullptr : found->second;
}

void ClassTree::KeepAnswers(std::string key, std::shared_ptr<const TreeAnswers> answers) const {
    const std::size_t bytes = answers->Bytes();
    if (answerBytes_ + bytes > kKeptAnswerBytes) {
        answers_.clear();
        answerBytes_ = 0;
    }
    auto [at, added] = answers_.emplace(std::move(key), std::move(answers));
    if (added) answerBytes_ += bytes;
}

}  // namespace kesto
