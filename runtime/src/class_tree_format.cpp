// Section layout and the soundness check of a tree block.
#include "class_tree_format.h"

#include <xxhash.h>

#include <cstring>
#include <string_view>
#include <utility>
#include <vector>

namespace kesto {
namespace {

constexpr std::uint64_t kLargestBlock = std::uint64_t{1} << 32;

std::uint64_t Align8(std::uint64_t n) { return (n + 7) & ~std::uint64_t{7}; }

template <typename T>
const T* At(const unsigned char* block, std::size_t offset) {
    return reinterpret_cast<const T*>(block + offset);
}

// True when some class is its own ancestor: the loader never writes such a tree.
// Iterative depth-first walk, so that no chain is too deep for it.
bool SupersCycle(const ClassEntry* classes, const std::uint32_t* supers, std::uint32_t count) {
    enum : std::uint8_t { kWhite, kGray, kBlack };
    std::vector<std::uint8_t> color(count, kWhite);
    std::vector<std::pair<std::uint32_t, std::uint32_t>> stack;  // class, next link
    for (std::uint32_t start = 0; start < count; ++start) {
        if (color[start] != kWhite) continue;
        color[start] = kGray;
        stack.emplace_back(start, classes[start].supers);
        while (!stack.empty()) {
            auto& [cls, next] = stack.back();
            if (next == classes[cls + 1].supers) {
                color[cls] = kBlack;
                stack.pop_back();
                continue;
            }
            const std::uint32_t super = supers[next++];
            if (color[super] == kGray) return true;
            if (color[super] == kWhite) {
                color[super] = kGray;
                stack.emplace_back(super, classes[super].supers);
            }
        }
    }
    return false;
}

}  // namespace

bool LayoutFor(const TreeHeader& counts, TreeLayout* layout) {
    std::uint64_t at = Align8(sizeof(TreeHeader));
    auto place = [&at](std::size_t* section, std::uint64_t bytes) {
        *section = static_cast<std::size_t>(at);
        at = Align8(at + bytes);
    };
    place(&layout->textStarts, (std::uint64_t{counts.strings} + 1) * sizeof(std::uint32_t));
    // Spare units after the texts: a short text may be copied in one fixed move.
    place(&layout->units, (std::uint64_t{counts.units} + kTreeSpareUnits) * sizeof(char16_t));
    place(&layout->classes, (std::uint64_t{counts.classes} + 1) * sizeof(ClassEntry));
    place(&layout->members, std::uint64_t{counts.members} * sizeof(MemberEntry));
    place(&layout->supers, std::uint64_t{counts.supers} * sizeof(std::uint32_t));
    place(&layout->own, std::uint64_t{counts.own} * sizeof(std::uint32_t));
    place(&layout->classNameAt, std::uint64_t{counts.classes} * sizeof(SourcePosition));
    place(&layout->memberNameAt, std::uint64_t{counts.members} * sizeof(SourcePosition));
    place(&layout->byName, std::uint64_t{counts.classes} * sizeof(std::uint32_t));
    layout->total = static_cast<std::size_t>(at);
    return at <= kLargestBlock;
}

std::uint64_t PayloadHash(const void* block, std::size_t size) {
    if (size < sizeof(TreeHeader)) return 0;
    return XXH3_64bits(static_cast<const unsigned char*>(block) + sizeof(TreeHeader), size - sizeof(TreeHeader));
}

bool ValidateTreeBlock(const void* raw, std::size_t size, bool checkHash) {
    if (size < sizeof(TreeHeader)) return false;
    const auto* block = static_cast<const unsigned char*>(raw);
    TreeHeader header;
    std::memcpy(&header, block, sizeof header);
    if (std::memcmp(header.magic, kTreeMagic, sizeof kTreeMagic) != 0) return false;
    if (header.version != kTreeFormatVersion || header.headerBytes != sizeof(TreeHeader)) return false;
    TreeLayout layout{};
    if (!LayoutFor(header, &layout) || layout.total != size || header.totalBytes != size) return false;
    if (checkHash && PayloadHash(block, size) != header.payloadHash) return false;

    // Texts: starts rise, the last is the end of the units, and each text comes
    // strictly after the one before in code-unit order.
    const auto* starts = At<std::uint32_t>(block, layout.textStarts);
    const auto* units = At<char16_t>(block, layout.units);
    if (starts[0] != 0 || starts[header.strings] != header.units) return false;
    for (std::uint32_t i = 0; i < header.strings; ++i) {
        if (starts[i] > starts[i + 1]) return false;
    }
    for (std::uint32_t i = 1; i < header.strings; ++i) {
        const std::u16string_view before(units + starts[i - 1], starts[i] - starts[i - 1]);
        const std::u16string_view text(units + starts[i], starts[i + 1] - starts[i]);
        if (!(before < text)) return false;
    }
    // Every tree has the empty text (absent fields point at it), and it sorts first.
    if (header.strings == 0 || starts[1] != 0) return false;
    auto text = [&](TextId id) { return id < header.strings; };

    const auto* classes = At<ClassEntry>(block, layout.classes);
    const auto* members = At<MemberEntry>(block, layout.members);
    const auto* supers = At<std::uint32_t>(block, layout.supers);
    const auto* own = At<std::uint32_t>(block, layout.own);
    const auto* byName = At<std::uint32_t>(block, layout.byName);
    const ClassEntry& closing = classes[header.classes];
    if (closing.supers != header.supers) return false;
    for (std::uint32_t end : closing.own) {
        if (end != header.own) return false;
    }
    std::uint32_t supersAt = 0;
    std::uint32_t ownAt = 0;
    for (std::uint32_t c = 0; c <= header.classes; ++c) {
        const ClassEntry& entry = classes[c];
        if (entry.supers < supersAt) return false;
        supersAt = entry.supers;
        for (int k = 0; k < kMemberKindCount; ++k) {
            if (entry.own[k] < ownAt) return false;
            ownAt = entry.own[k];
            if (c == header.classes) break;  // the closing entry only ends the lists
        }
        if (c == header.classes) break;
        if (!text(entry.name) || !text(entry.classType) || !text(entry.description)) return false;
    }
    if (supersAt != header.supers || ownAt != header.own) return false;
    for (std::uint32_t i = 0; i < header.supers; ++i) {
        if (supers[i] >= header.classes) return false;
    }
    for (std::uint32_t m = 0; m < header.members; ++m) {
        const MemberEntry& entry = members[m];
        if (!text(entry.name) || !text(entry.type) || !text(entry.description) || !text(entry.formalSpec) ||
            !text(entry.cardinality) || !text(entry.collection) || !text(entry.defaultValue))
            return false;
        if (entry.owner >= header.classes || entry.kind >= kMemberKindCount) return false;
    }
    // Own lists: member indices in range, names strictly rising within each list.
    for (std::uint32_t c = 0; c < header.classes; ++c) {
        for (int k = 0; k < kMemberKindCount; ++k) {
            const std::uint32_t begin = classes[c].own[k];
            const std::uint32_t end = k + 1 < kMemberKindCount ? classes[c].own[k + 1] : classes[c + 1].own[0];
            for (std::uint32_t i = begin; i < end; ++i) {
                if (own[i] >= header.members) return false;
                if (i > begin && members[own[i - 1]].name >= members[own[i]].name) return false;
            }
        }
    }
    for (std::uint32_t i = 0; i < header.classes; ++i) {
        if (byName[i] >= header.classes) return false;
        if (i > 0 && classes[byName[i - 1]].name >= classes[byName[i]].name) return false;
    }
    return !SupersCycle(classes, supers, header.classes);
}

}  // namespace kesto
