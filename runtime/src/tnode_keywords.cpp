// Keyword subscripts and pieces.
#include "tnode_keywords.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "bstr_padded.h"

namespace kesto {
namespace {

// The answers that are not texts of the tree, with as many readable units after
// them as the tree's texts have, so that every answer may be copied alike.
constexpr char16_t kSpareZeros[kTreeSpareUnits + 1] = {};
constexpr char16_t kFlagUnits[2][kTreeSpareUnits + 1] = {{u'0'}, {u'1'}};
constexpr std::u16string_view kNoAnswer(kSpareZeros, 0);

std::u16string_view Flag(bool value) { return std::u16string_view(kFlagUnits[value ? 1 : 0], 1); }

std::size_t DigitsOf(std::size_t n) {
    if (n < 10) return 1;
    if (n < 100) return 2;
    std::size_t digits = 1;
    while (n >= 10) {
        n /= 10;
        ++digits;
    }
    return digits;
}

static_assert(kTreeSpareUnits >= kPaddedCopyUnits);

// Copies a text of the tree (or one of the answers above), which has
// kPaddedCopyUnits readable units past its end, into room that has as many: a short
// one (most names and answers) goes in one fixed move, with no branch on its
// length. Returns where the text ends.
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
    return CopyTreeText(out, text);
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
    return kNoAnswer;
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
    return kNoAnswer;
}

std::shared_ptr<const TreeAnswers> PackAnswers(const ClassTree& dictionary, std::span<const std::uint32_t> members,
                                                 const std::vector<Keyword>& query) {
    // One pass, writing through a plain pointer into room that is checked once per
    // member, not per unit: a walk over the members in name order reads their
    // records out of order, so a second pass would pay those reads twice.
    auto packed = std::make_shared<TreeAnswers>();
    std::size_t room = members.size() * 24 + 2 * kPaddedCopyUnits;
    std::unique_ptr<char16_t[]> text(new char16_t[room]);
    std::size_t used = 0;
    packed->entries.resize(members.size());
    // Each answer is looked up once: its length sizes the room, then it is written.
    std::vector<std::u16string_view> values(query.size());
    for (std::size_t i = 0; i < members.size(); ++i) {
        const MemberEntry& member = dictionary.Member(members[i]);
        const std::u16string_view name = dictionary.Text(member.name);
        std::size_t need = name.size() + kPaddedCopyUnits;
        for (std::size_t k = 0; k < query.size(); ++k) {
            values[k] = MemberKeywordValue(dictionary, member, query[k]);
            need += DigitsOf(values[k].size()) + 1 + values[k].size();
        }
        if (used + need > room) {
            room = std::max(room * 2, used + need);
            std::unique_ptr<char16_t[]> grown(new char16_t[room]);
            std::copy(text.get(), text.get() + used, grown.get());
            text = std::move(grown);
        }
        char16_t* const start = text.get() + used;
        char16_t* out = CopyTreeText(start, name);
        char16_t* const answer = out;
        for (const std::u16string_view value : values) out = WritePiece(out, value);
        used = static_cast<std::size_t>(out - text.get());
        // Places are 32-bit; answers that outgrew them are as good as out of memory.
        if (used > 0xFFFFFFFFu) throw std::bad_alloc();
        packed->entries[i] = {static_cast<std::uint32_t>(start - text.get()),
                              static_cast<std::uint32_t>(answer - start), static_cast<std::uint32_t>(out - answer)};
    }
    // Room for the spare units is always left (see `need`); they are made zero.
    std::fill(text.get() + used, text.get() + used + kPaddedCopyUnits, u'\0');
    packed->units = room;
    packed->text = std::move(text);
    return packed;
}

}  // namespace kesto
