// Interning, renumbering and laying out a class tree.
#include "class_tree_builder.h"

#include <xxhash.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <string>

#include "dictionary_names.h"
#include "dictionary_text.h"

namespace kesto {
namespace {

std::uint32_t HashOf(std::string_view text) { return static_cast<std::uint32_t>(XXH3_64bits(text.data(), text.size())); }

void FreeBlock(void* block, std::size_t) { ::operator delete(block, std::align_val_t{8}); }

// The texts as 16-bit units, numbered in code-unit order: `rank` maps a draft's
// number to the new one.
struct RankedTexts {
    std::u16string units;
    std::vector<std::uint32_t> starts;
    std::vector<std::uint32_t> rank;
};

RankedTexts Rank(const TextInterner& texts) {
    const std::uint32_t count = texts.Count();
    std::u16string units;
    std::vector<std::uint32_t> starts;
    starts.reserve(count + 1);
    for (std::uint32_t id = 0; id < count; ++id) {
        starts.push_back(static_cast<std::uint32_t>(units.size()));
        AppendUtf8AsUtf16(units, texts.Get(id));
    }
    starts.push_back(static_cast<std::uint32_t>(units.size()));
    auto view = [&](std::uint32_t id) { return std::u16string_view(units.data() + starts[id], starts[id + 1] - starts[id]); };
    std::vector<std::uint32_t> order(count);
    for (std::uint32_t id = 0; id < count; ++id) order[id] = id;
    std::sort(order.begin(), order.end(), [&](std::uint32_t a, std::uint32_t b) { return view(a) < view(b); });
    RankedTexts ranked;
    ranked.rank.resize(count);
    ranked.starts.reserve(count + 1);
    ranked.units.reserve(units.size());
    for (std::uint32_t r = 0; r < count; ++r) {
        ranked.rank[order[r]] = r;
        ranked.starts.push_back(static_cast<std::uint32_t>(ranked.units.size()));
        ranked.units.append(view(order[r]));
    }
    ranked.starts.push_back(static_cast<std::uint32_t>(ranked.units.size()));
    return ranked;
}

// True when some class is its own ancestor. Iterative depth-first walk, so that
// no chain is too deep for it.
bool HasCycle(std::uint32_t classCount, const std::vector<std::uint32_t>& starts,
              const std::vector<std::uint32_t>& links) {
    enum : std::uint8_t { kWhite, kGray, kBlack };
    std::vector<std::uint8_t> color(classCount, kWhite);
    std::vector<std::pair<std::uint32_t, std::uint32_t>> stack;  // class, next link
    for (std::uint32_t start = 0; start < classCount; ++start) {
        if (color[start] != kWhite) continue;
        color[start] = kGray;
        stack.emplace_back(start, starts[start]);
        while (!stack.empty()) {
            auto& [cls, next] = stack.back();
            if (next == starts[cls + 1]) {
                color[cls] = kBlack;
                stack.pop_back();
                continue;
            }
            const std::uint32_t super = links[next++];
            if (color[super] == kGray) return true;
            if (color[super] == kWhite) {
                color[super] = kGray;
                stack.emplace_back(super, starts[super]);
            }
        }
    }
    return false;
}

}  // namespace

TextInterner::TextInterner() {
    starts_.push_back(0);
    slots_.assign(1024, 0);
    Intern({});
}

void TextInterner::Grow() {
    std::vector<std::uint32_t> slots(slots_.size() * 2, 0);
    const std::size_t mask = slots.size() - 1;
    for (std::uint32_t id = 0; id < Count(); ++id) {
        std::size_t at = hashes_[id] & mask;
        while (slots[at] != 0) at = (at + 1) & mask;
        slots[at] = id + 1;
    }
    slots_ = std::move(slots);
}

TextId TextInterner::Intern(std::string_view utf8) {
    const std::uint32_t hash = HashOf(utf8);
    const std::size_t mask = slots_.size() - 1;
    std::size_t at = hash & mask;
    while (slots_[at] != 0) {
        const TextId id = slots_[at] - 1;
        if (hashes_[id] == hash && Get(id) == utf8) return id;
        at = (at + 1) & mask;
    }
    const TextId id = Count();
    bytes_.insert(bytes_.end(), utf8.begin(), utf8.end());
    starts_.push_back(static_cast<std::uint32_t>(bytes_.size()));
    hashes_.push_back(hash);
    slots_[at] = id + 1;
    if (std::size_t{Count()} * 2 > slots_.size()) Grow();
    return id;
}

std::shared_ptr<ClassTree> BuildClassTree(DraftTree& draft) {
    const std::uint32_t classCount = static_cast<std::uint32_t>(draft.classes.size());
    const std::uint32_t memberCount = static_cast<std::uint32_t>(draft.members.size());
    RankedTexts ranked = Rank(draft.texts);
    const auto& rank = ranked.rank;
    for (ClassEntry& entry : draft.classes) {
        entry.name = rank[entry.name];
        entry.classType = rank[entry.classType];
        entry.description = rank[entry.description];
    }
    for (MemberEntry& entry : draft.members) {
        for (TextId* id : {&entry.name, &entry.type, &entry.description, &entry.formalSpec, &entry.cardinality,
                           &entry.collection, &entry.defaultValue})
            *id = rank[*id];
    }
    auto text = [&](TextId id) {
        return std::u16string_view(ranked.units.data() + ranked.starts[id], ranked.starts[id + 1] - ranked.starts[id]);
    };

    // Classes by name; two of one name refuse the draft.
    std::vector<std::uint32_t> byName(classCount);
    for (std::uint32_t c = 0; c < classCount; ++c) byName[c] = c;
    std::sort(byName.begin(), byName.end(),
              [&](std::uint32_t a, std::uint32_t b) { return draft.classes[a].name < draft.classes[b].name; });
    for (std::uint32_t i = 1; i < classCount; ++i) {
        if (draft.classes[byName[i - 1]].name == draft.classes[byName[i]].name) return nullptr;
    }

    // Super classes, completed as FullClassName does and looked up.
    if (!draft.supersResolved) {
        for (std::uint32_t c = 0; c < classCount; ++c) {
            for (std::uint32_t i = draft.superStarts[c]; i < draft.superStarts[c + 1]; ++i) {
                const std::u16string full = FullClassName(text(rank[draft.supers[i]]), text(draft.classes[c].name));
                auto it = std::lower_bound(byName.begin(), byName.end(), std::u16string_view(full),
                                           [&](std::uint32_t cls, std::u16string_view wanted) {
                                               return text(draft.classes[cls].name) < wanted;
                                           });
                if (it == byName.end() || text(draft.classes[*it].name) != full) return nullptr;
                draft.supers[i] = *it;
            }
        }
    }
    if (HasCycle(classCount, draft.superStarts, draft.supers)) return nullptr;

    // Own members: grouped by class and kind (members of a class are together),
    // then sorted by name; a name twice in one group refuses the draft.
    std::vector<std::uint32_t> own(memberCount);
    std::vector<std::uint32_t> ownStarts(std::size_t{classCount} * kMemberKindCount + 1, 0);
    for (const MemberEntry& entry : draft.members) {
        if (entry.owner >= classCount || entry.kind >= kMemberKindCount) return nullptr;
        ++ownStarts[std::size_t{entry.owner} * kMemberKindCount + entry.kind + 1];
    }
    for (std::size_t i = 1; i < ownStarts.size(); ++i) ownStarts[i] += ownStarts[i - 1];
    {
        std::vector<std::uint32_t> fill(ownStarts.begin(), ownStarts.end() - 1);
        for (std::uint32_t m = 0; m < memberCount; ++m) {
            const MemberEntry& entry = draft.members[m];
            own[fill[std::size_t{entry.owner} * kMemberKindCount + entry.kind]++] = m;
        }
    }
    for (std::size_t g = 0; g + 1 < ownStarts.size(); ++g) {
        auto begin = own.begin() + ownStarts[g];
        auto end = own.begin() + ownStarts[g + 1];
        std::sort(begin, end, [&](std::uint32_t a, std::uint32_t b) { return draft.members[a].name < draft.members[b].name; });
        for (auto it = begin; it != end && it + 1 != end; ++it) {
            if (draft.members[*it].name == draft.members[*(it + 1)].name) return nullptr;
        }
    }

    TreeHeader header{};
    std::memcpy(header.magic, kTreeMagic, sizeof header.magic);
    header.version = kTreeFormatVersion;
    header.headerBytes = sizeof(TreeHeader);
    header.strings = static_cast<std::uint32_t>(ranked.rank.size());
    header.units = static_cast<std::uint32_t>(ranked.units.size());
    header.classes = classCount;
    header.members = memberCount;
    header.supers = static_cast<std::uint32_t>(draft.supers.size());
    header.own = memberCount;
    TreeLayout layout{};
    if (!LayoutFor(header, &layout)) throw std::bad_alloc();
    header.totalBytes = layout.total;
    auto* block = static_cast<unsigned char*>(::operator new(layout.total, std::align_val_t{8}));
    std::memset(block, 0, layout.total);
    std::memcpy(block, &header, sizeof header);
    std::memcpy(block + layout.textStarts, ranked.starts.data(), ranked.starts.size() * sizeof(std::uint32_t));
    std::memcpy(block + layout.units, ranked.units.data(), ranked.units.size() * sizeof(char16_t));
    auto* classes = reinterpret_cast<ClassEntry*>(block + layout.classes);
    for (std::uint32_t c = 0; c <= classCount; ++c) {
        ClassEntry entry = c < classCount ? draft.classes[c] : ClassEntry{};
        entry.supers = draft.superStarts[c];
        // The closing entry only ends the lists: each of its starts is the total.
        for (int k = 0; k < kMemberKindCount; ++k)
            entry.own[k] = ownStarts[std::min(std::size_t{c} * kMemberKindCount + static_cast<std::size_t>(k),
                                              ownStarts.size() - 1)];
        classes[c] = entry;
    }
    if (memberCount > 0) std::memcpy(block + layout.members, draft.members.data(), memberCount * sizeof(MemberEntry));
    if (!draft.supers.empty())
        std::memcpy(block + layout.supers, draft.supers.data(), draft.supers.size() * sizeof(std::uint32_t));
    if (memberCount > 0) std::memcpy(block + layout.own, own.data(), own.size() * sizeof(std::uint32_t));
    if (classCount > 0) {
        std::memcpy(block + layout.classNameAt, draft.classNameAt.data(), classCount * sizeof(SourcePosition));
        std::memcpy(block + layout.byName, byName.data(), classCount * sizeof(std::uint32_t));
    }
    if (memberCount > 0)
        std::memcpy(block + layout.memberNameAt, draft.memberNameAt.data(), memberCount * sizeof(SourcePosition));
    return std::make_shared<ClassTree>(block, layout.total, &FreeBlock);
}

std::shared_ptr<ClassTree> ClassTreeFromDictionary(const Dictionary& dictionary) {
    DraftTree draft;
    auto intern = [&](TextRef ref) { return draft.texts.Intern(Utf16ToUtf8(dictionary.Text(ref))); };
    const std::uint32_t classCount = dictionary.ClassCount();
    draft.classes.reserve(classCount);
    draft.superStarts.reserve(std::size_t{classCount} + 1);
    for (std::uint32_t c = 0; c < classCount; ++c) {
        const ClassRecord& record = dictionary.Class(c);
        ClassEntry entry{};
        entry.name = intern(record.name);
        entry.classType = intern(record.classType);
        entry.description = intern(record.description);
        draft.classes.push_back(entry);
        draft.classNameAt.push_back(dictionary.ClassNameAt(c));
        draft.superStarts.push_back(static_cast<std::uint32_t>(draft.supers.size()));
        draft.supers.insert(draft.supers.end(), record.supers.begin(), record.supers.end());
    }
    draft.superStarts.push_back(static_cast<std::uint32_t>(draft.supers.size()));
    draft.supersResolved = true;
    // Only members that some class lists: the reader keeps none other on success.
    for (std::uint32_t c = 0; c < classCount; ++c) {
        for (int k = 0; k < kMemberKindCount; ++k) {
            for (std::uint32_t m : dictionary.Class(c).own[k]) {
                const MemberRecord& record = dictionary.Member(m);
                MemberEntry entry{};
                entry.name = intern(record.name);
                entry.type = intern(record.type);
                entry.description = intern(record.description);
                entry.formalSpec = intern(record.formalSpec);
                entry.cardinality = intern(record.cardinality);
                entry.collection = intern(record.collection);
                entry.defaultValue = intern(record.defaultValue);
                entry.owner = c;
                entry.kind = static_cast<std::uint8_t>(k);
                entry.flags = static_cast<std::uint8_t>((record.classMethod ? kFlagClassMethod : 0) |
                                                        (record.isPrivate ? kFlagPrivate : 0) |
                                                        (record.internal ? kFlagInternal : 0) |
                                                        (record.relationship ? kFlagRelationship : 0));
                draft.members.push_back(entry);
                draft.memberNameAt.push_back(dictionary.MemberNameAt(m));
            }
        }
    }
    return BuildClassTree(draft);
}

}  // namespace kesto
