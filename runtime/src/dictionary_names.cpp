// Class and member name rules.
#include "dictionary_names.h"

#include <type_traits>

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

ClassNameFault CheckClassName(std::string_view name, ClassNameForm form) { return CheckClassNameOf(name, form); }

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
