// The runtime's rules for class and member names: what the loader accepts in a
// dictionary, what the tree manager accepts from a caller, and how a class name
// written inside another class is completed.
//
// A class name is parts joined by dots. It holds no blanks, control characters or
// commas, no part is empty, and "%" may only start it. The two callers differ in
// one point, and only here: a dictionary defines classes by their full names, so
// the loader asks for ClassNameForm::kFull, where a name starting with "%" must
// name its package too ("%Library.Text"); a caller of NormalizeName hands in the
// name as written in code, so the manager asks for ClassNameForm::kWritten, where
// "%Text" is fine (it stands for "%Library.Text") and only a bare "%" is refused.
//
// The checks take UTF-8 bytes or 16-bit units alike: every character they look at
// is ASCII, with one exception. A dictionary's class name (UTF-8) may not hold
// white space, controls, format characters or line and paragraph separators
// beyond ASCII either (U+00A0, U+0085, U+200B, U+2028, ...); the manager keeps
// its answers to names it is handed as they were. Nothing here keeps state; any
// thread may call it.
#ifndef KESTO_RUNTIME_DICTIONARY_NAMES_H_
#define KESTO_RUNTIME_DICTIONARY_NAMES_H_

#include <cstdint>
#include <string>
#include <string_view>

namespace kesto {

enum class ClassNameForm : std::uint8_t { kFull, kWritten };

// What is wrong with a class name; the first fault found, in this order.
enum class ClassNameFault : std::uint8_t {
    kNone,
    kEmpty,
    kBlankOrControl,
    kComma,
    kEmptyPart,           // a leading or trailing dot, or ".."
    kPercentInside,       // "%" other than in front
    kPercentWithoutPackage,  // kFull: "%Text" rather than "%Library.Text"
    kPercentAlone,        // kWritten: "%" on its own
};

// UTF-8, as the dictionary holds it: kBlankOrControl also for the characters
// beyond ASCII above.
ClassNameFault CheckClassName(std::string_view name, ClassNameForm form);
ClassNameFault CheckClassName(std::u16string_view name, ClassNameForm form);

// What is wrong with a method, property or parameter name; the first fault found.
enum class MemberNameFault : std::uint8_t { kNone, kEmpty, kBlankOrControl, kSeparator /* ",", "(" or ")" */ };

MemberNameFault CheckMemberName(std::string_view name);

// The package part of a class name with its dot ("Shop." of "Shop.Order"); empty
// for a name without a dot.
std::u16string_view PackageOf(std::u16string_view className);

// True for a name written without its package: no dot, and not "%X" either.
bool IsShortClassName(std::u16string_view name);

// The full name that `name`, written in class `context`, stands for: a dotted name
// is full already, "%X" is "%Library.X", and a short name is taken to be in the
// package of `context` (and stays as it is when `context` has none). It does not
// look whether such a class exists.
std::u16string FullClassName(std::u16string_view name, std::u16string_view context);

}  // namespace kesto

#endif  // KESTO_RUNTIME_DICTIONARY_NAMES_H_
