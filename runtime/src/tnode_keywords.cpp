// Keyword subscripts and pieces.
#include "tnode_keywords.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "bstr_padded.h"

namespace kesto {
namespace {

constexpr std::u16string_view kFalse = u"0";
constexpr std::u16string_view kTrue = u"1";

std::u16string_view Flag(bool value) { return value ? kTrue : kFalse; }

std::size_t DigitsOf(std::size_t n) {
    std::size_t digits = 1;
    while (n >= 10) {
        n /= 10;
        ++digits;
    }
    return digits;
}

// Copies `text` to `out`; returns where it ends.
char16_t* CopyText(char16_t* out, std::u16string_view text) {
    if (!text.empty()) std::memcpy(out, text.data(), text.size() * sizeof(char16_t));
    return out + text.size();
}

static_assert(kTreeSpareUnits >= kPaddedCopyUnits);

// The same for a text of the tree, which has kPaddedCopyUnits readable units past
// any text, into room that has as many: a short one (most names) goes in one fixed
// move, with no branch on its length.
char16_t* CopyTreeText(char16_t* out, std::u16string_view text) {
    if (text.size() <= kPaddedCopyUnits) {
        std::memcpy(out, text.data(), kPaddedCopyUnits * sizeof(char16_t));
    } else {
        std::memcpy(out, text.data(), text.size() * sizeof(char16_t));
    }
    return out + text.size();
}

// Writes one piece holding `text` at `out`; returns where it ends.
char16_t* WritePiece(char16_t* out, std::u16string_view text) {
    const std::size_t digits = DigitsOf(text.size());
    std::size_t length = text.size();
    for (std::size_t d = digits; d > 0; --d) {
        out[d - 1] = static_cast<char16_t>(u'0' + length % 10);
        length /= 10;
    }
    out += digits;
    *out++ = u':';
    return CopyText(out, text);
}

}  // namespace

Keyword LookupKeyword(std::u16string_view subscript, NodeKind kind) {
    if (subscript.size() == 1) {
        switch (subscript[0]) {
            case u'1':
                return Keyword::kName;
            case u'2':
                return Keyword::kOrigin;
            case u'4':
                return Keyword::kDescription;
            case u'5':
                return Keyword::kType;
            default:
                return Keyword::kUnknown;
        }
    }
    if (subscript.size() != 2) return Keyword::kUnknown;
    if (subscript[0] < u'0' || subscript[0] > u'9' || subscript[1] < u'0' || subscript[1] > u'9')
        return Keyword::kUnknown;
    const int code = (subscript[0] - u'0') * 10 + (subscript[1] - u'0');
    switch (kind) {
        case NodeKind::kClass:
            return code == 23 ? Keyword::kClassType : Keyword::kUnknown;
        case NodeKind::kMethod:
            switch (code) {
                case 14:
                    return Keyword::kInternal;
                case 23:
                    return Keyword::kClassMethod;
                case 27:
                    return Keyword::kFormalSpec;
                case 39:
                    return Keyword::kPrivate;
                case 42:
                    return Keyword::kType;  // the return type is a method's type
                default:
                    return Keyword::kUnknown;
            }
        case NodeKind::kProperty:
            switch (code) {
                case 14:
                    return Keyword::kInternal;
                case 24:
                    return Keyword::kCardinality;
                case 27:
                    return Keyword::kCollection;
                case 35:
                    return Keyword::kPrivate;
                case 36:
                    return Keyword::kRelationship;
                default:
                    return Keyword::kUnknown;
            }
        case NodeKind::kParameter:
            return code == 14 ? Keyword::kInternal : Keyword::kUnknown;
    }
    return Keyword::kUnknown;
}

bool ParseKeywordQuery(std::u16string_view query, NodeKind kind, std::vector<Keyword>* out) {
    out->clear();
    std::size_t at = 0;
    while (at < query.size()) {
        std::size_t length = 0;
        std::size_t digits = 0;
        while (at < query.size() && query[at] != u':') {
            char16_t c = query[at];
            if (c < u'0' || c > u'9' || digits > 6) return false;
            length = length * 10 + static_cast<std::size_t>(c - u'0');
            ++digits;
            ++at;
        }
        if (at == query.size() || digits == 0) return false;
        ++at;  // ':'
        if (length > query.size() - at) return false;
        out->push_back(LookupKeyword(query.substr(at, length), kind));
        at += length;
    }
    return true;
}

std::u16string_view MemberKeywordValue(const ClassTree& dictionary, const MemberEntry& member, Keyword keyword) {
    switch (keyword) {
        case Keyword::kName:
            return dictionary.Text(member.name);
        case Keyword::kOrigin:
            return dictionary.ClassName(member.owner);
        case Keyword::kDescription:
            return dictionary.Text(member.description);
        case Keyword::kType:
            return dictionary.Text(member.type);
        case Keyword::kClassMethod:
            return Flag((member.flags & kFlagClassMethod) != 0);
        case Keyword::kInternal:
            return Flag((member.flags & kFlagInternal) != 0);
        case Keyword::kFormalSpec:
            return dictionary.Text(member.formalSpec);
        case Keyword::kPrivate:
            return Flag((member.flags & kFlagPrivate) != 0);
        case Keyword::kCardinality:
            return dictionary.Text(member.cardinality);
        case Keyword::kCollection:
            return dictionary.Text(member.collection);
        case Keyword::kRelationship:
            return Flag((member.flags & kFlagRelationship) != 0);
        case Keyword::kClassType:
        case Keyword::kUnknown:
            break;
    }
    return {};
}

std::u16string_view ClassKeywordValue(const ClassTree& dictionary, std::uint32_t cls, Keyword keyword) {
    const ClassEntry& record = dictionary.Class(cls);
    switch (keyword) {
        case Keyword::kName:
        case Keyword::kOrigin:
            return dictionary.Text(record.name);
        case Keyword::kDescription:
            return dictionary.Text(record.description);
        case Keyword::kClassType:
            return dictionary.Text(record.classType);
        default:
            break;
    }
    return {};
}

std::shared_ptr<const TreeAnswers> PackAnswers(const ClassTree& dictionary, std::span<const std::uint32_t> members,
                                                 const std::vector<Keyword>& query) {
    // Two passes: the first finds every piece and the exact length, the second
    // writes through a plain pointer. Growing the text piece by piece cost more than
    // the copying itself (a capacity check and a branch per unit of a length).
    auto packed = std::make_shared<TreeAnswers>();
    const std::size_t pieces = query.size();
    std::vector<std::u16string_view> values(members.size() * pieces);
    std::size_t units = 0;
    for (std::size_t i = 0; i < members.size(); ++i) {
        const MemberEntry& member = dictionary.Member(members[i]);
        units += dictionary.Text(member.name).size();
        for (std::size_t q = 0; q < pieces; ++q) {
            const std::u16string_view value = MemberKeywordValue(dictionary, member, query[q]);
            values[i * pieces + q] = value;
            units += DigitsOf(value.size()) + 1 + value.size();
        }
    }
    // Places are 32-bit; answers that outgrew them are as good as out of memory.
    if (units > 0xFFFFFFFFu) throw std::bad_alloc();
    packed->units = units + kPaddedCopyUnits;
    packed->text.reset(new char16_t[packed->units]);
    char16_t* const text = packed->text.get();
    std::fill(text + units, text + packed->units, u'\0');
    packed->entries.resize(members.size());
    char16_t* out = text;
    for (std::size_t i = 0; i < members.size(); ++i) {
        const std::u16string_view name = dictionary.MemberName(members[i]);
        char16_t* const start = out;
        out = CopyTreeText(out, name);
        char16_t* const answer = out;
        for (std::size_t q = 0; q < pieces; ++q) out = WritePiece(out, values[i * pieces + q]);
        packed->entries[i] = {static_cast<std::uint32_t>(start - text),
                              static_cast<std::uint32_t>(answer - start), static_cast<std::uint32_t>(out - answer)};
    }
    return packed;
}

}  // namespace kesto
