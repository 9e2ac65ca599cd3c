// Keyword subscripts and pieces.
#include "tnode_keywords.h"

#include <new>

#include "bstr_padded.h"

namespace kesto {
namespace {

constexpr std::u16string_view kFalse = u"0";
constexpr std::u16string_view kTrue = u"1";

std::u16string_view Flag(bool value) { return value ? kTrue : kFalse; }

// Appends one piece holding `text`.
void AppendPiece(std::u16string& out, std::u16string_view text) {
    char16_t digits[12];
    int count = 0;
    std::size_t length = text.size();
    do {
        digits[count++] = static_cast<char16_t>(u'0' + length % 10);
        length /= 10;
    } while (length > 0);
    while (count > 0) out.push_back(digits[--count]);
    out.push_back(u':');
    out.append(text);
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

std::shared_ptr<const PackedAnswers> PackAnswers(const ClassTree& dictionary, std::span<const std::uint32_t> members,
                                                 const std::vector<Keyword>& query) {
    auto packed = std::make_shared<PackedAnswers>();
    packed->entries.reserve(members.size());
    std::u16string& text = packed->text;
    for (std::uint32_t index : members) {
        const MemberEntry& member = dictionary.Member(index);
        const std::size_t start = text.size();
        text.append(dictionary.Text(member.name));
        const std::size_t answerStart = text.size();
        for (Keyword keyword : query) AppendPiece(text, MemberKeywordValue(dictionary, member, keyword));
        // Places are 32-bit; answers that outgrew them are as good as out of memory.
        if (text.size() > 0xFFFFFFFFu) throw std::bad_alloc();
        packed->entries.push_back({static_cast<std::uint32_t>(start), static_cast<std::uint32_t>(answerStart - start),
                                   static_cast<std::uint32_t>(text.size() - answerStart)});
    }
    text.append(kPaddedCopyUnits, u'\0');
    return packed;
}

}  // namespace kesto
