// Class and member name rules.
#include "dictionary_names.h"

#include <algorithm>
#include <iterator>
#include <type_traits>
#include <utility>

namespace kesto {
namespace {

constexpr std::u16string_view kPercentPackage = u"%Library.";

template <typename Char>
bool IsBlankOrControl(Char c) {
    const auto unit = static_cast<std::make_unsigned_t<Char>>(c);
    return unit <= 0x20 || unit == 0x7F;
}

template <typename Char>
bool HasBlankOrControl(std::basic_string_view<Char> name) {
    for (Char c : name) {
        if (IsBlankOrControl(c)) return true;
    }
    return false;
}

// Characters beyond ASCII that a name may not hold, as inclusive ranges in order:
// white space, controls, format characters (Cf) and the line and paragraph
// separators. Each is invisible or breaks a line in an editor, so a name holding
// one cannot be typed or read back as written.
constexpr std::pair<char32_t, char32_t> kInvisibleRanges[] = {
    {0x0080, 0x00A0}, {0x00AD, 0x00AD}, {0x0600, 0x0605}, {0x061C, 0x061C}, {0x06DD, 0x06DD},
    {0x070F, 0x070F}, {0x0890, 0x0891}, {0x08E2, 0x08E2}, {0x1680, 0x1680}, {0x180E, 0x180E},
    {0x2000, 0x200F}, {0x2028, 0x202F}, {0x205F, 0x2064}, {0x2066, 0x206F}, {0x3000, 0x3000},
    {0xFEFF, 0xFEFF}, {0xFFF9, 0xFFFB}, {0x110BD, 0x110BD}, {0x110CD, 0x110CD}, {0x13430, 0x1343F},
    {0x1BCA0, 0x1BCA3}, {0x1D173, 0x1D17A}, {0xE0001, 0xE0001}, {0xE0020, 0xE007F},
};

bool IsInvisible(char32_t c) {
    const auto* range = std::upper_bound(std::begin(kInvisibleRanges), std::end(kInvisibleRanges), c,
                                         [](char32_t value, const auto& r) { return value < r.first; });
    return range != std::begin(kInvisibleRanges) && c <= (range - 1)->second;
}

// Any character of kInvisibleRanges in well-formed UTF-8 (the JSON reader lets no
// other through); ASCII is left to HasBlankOrControl.
bool HasInvisibleCharacter(std::string_view utf8) {
    for (std::size_t i = 0; i < utf8.size();) {
        const auto lead = static_cast<unsigned char>(utf8[i]);
        if (lead < 0x80) {
            ++i;
            continue;
        }
        const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
        char32_t c = lead & (0x7F >> length);
        for (std::size_t k = 1; k < length && i + k < utf8.size(); ++k)
            c = (c << 6) | (static_cast<unsigned char>(utf8[i + k]) & 0x3F);
        if (IsInvisible(c)) return true;
        i += length;
    }
    return false;
}

template <typename Char>
ClassNameFault CheckClassNameOf(std::basic_string_view<Char> name, ClassNameForm form) {
    constexpr Char kDot = '.';
    constexpr Char kPercent = '%';
    constexpr Char kDots[] = {kDot, kDot};
    if (name.empty()) return ClassNameFault::kEmpty;
    if (HasBlankOrControl(name)) return ClassNameFault::kBlankOrControl;
    if (name.find(Char(',')) != name.npos) return ClassNameFault::kComma;
    if (name.front() == kDot || name.back() == kDot || name.find(std::basic_string_view<Char>(kDots, 2)) != name.npos)
        return ClassNameFault::kEmptyPart;
    if (name.find(kPercent, 1) != name.npos) return ClassNameFault::kPercentInside;
    if (name.front() == kPercent && name.find(kDot) == name.npos) {
        if (form == ClassNameForm::kFull) return ClassNameFault::kPercentWithoutPackage;
        if (name.size() == 1) return ClassNameFault::kPercentAlone;
    }
    return ClassNameFault::kNone;
}

}  // namespace

ClassNameFault CheckClassName(std::string_view name, ClassNameForm form) {
    // Before the other faults, in the place of the blanks and controls of ASCII.
    if (!name.empty() && HasInvisibleCharacter(name)) return ClassNameFault::kBlankOrControl;
    return CheckClassNameOf(name, form);
}

ClassNameFault CheckClassName(std::u16string_view name, ClassNameForm form) { return CheckClassNameOf(name, form); }

MemberNameFault CheckMemberName(std::string_view name) {
    if (name.empty()) return MemberNameFault::kEmpty;
    if (HasBlankOrControl(name)) return MemberNameFault::kBlankOrControl;
    if (name.find_first_of(",()") != name.npos) return MemberNameFault::kSeparator;
    return MemberNameFault::kNone;
}

std::u16string_view PackageOf(std::u16string_view className) {
    const std::size_t dot = className.rfind(u'.');
    return dot == className.npos ? std::u16string_view() : className.substr(0, dot + 1);
}

bool IsShortClassName(std::u16string_view name) {
    return name.find(u'.') == name.npos && (name.empty() || name.front() != u'%');
}

std::u16string FullClassName(std::u16string_view name, std::u16string_view context) {
    std::u16string full;
    if (name.find(u'.') != name.npos) {
        full = name;
    } else if (!name.empty() && name.front() == u'%') {
        full = kPercentPackage;
        full += name.substr(1);
    } else {
        full = PackageOf(context);
        full += name;
    }
    return full;
}

}  // namespace kesto
