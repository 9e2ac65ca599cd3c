// Every CScanString operation on arbitrary 16-bit text.
//
// The view under test is cut from the middle of a larger NUL-terminated buffer, with
// letters and digits on both sides, and the same characters are also copied into a
// heap block of exactly their length with no terminator. A view promises that only
// its own characters matter and that it never reads past the end of a buffer that
// is not terminated, so every answer must agree between the two (AddressSanitizer
// catches the read past the exact block), and the derived views must lie inside
// their source.
#include <algorithm>
#include <cstring>
#include <memory>
#include <stdexcept>

#include "FuzzSupport.h"
#include "parseScanString.h"


namespace {

struct ViewPair {
    CScanString middle;  // inside the big buffer
    CScanString exact;   // the exact heap copy
};

bool SameRange(const CScanString& derived, const CScanString& source, const CScanString& derivedExact,
               const CScanString& sourceExact) {
    if ((derived.Begin() == nullptr) != (derivedExact.Begin() == nullptr)) return false;
    if (derived.Begin() == nullptr) return derived.End() == nullptr && derivedExact.End() == nullptr;
    return derived.Begin() - source.Begin() == derivedExact.Begin() - sourceExact.Begin() &&
           derived.Length() == derivedExact.Length();
}

bool Inside(const CScanString& derived, const CScanString& source) {
    if (derived.Begin() == nullptr) return derived.End() == nullptr;
    return derived.Begin() >= source.Begin() && derived.End() <= source.End() &&
           derived.Begin() <= derived.End();
}

void CheckDerived(const char* what, CScanString (CScanString::*trim)() const, const ViewPair& views) {
    CScanString fromMiddle = (views.middle.*trim)();
    CScanString fromExact = (views.exact.*trim)();
    FUZZ_CHECK(Inside(fromMiddle, views.middle), what);
    FUZZ_CHECK(SameRange(fromMiddle, views.middle, fromExact, views.exact), what);
}

void CheckTrims(const ViewPair& views) {
    CheckDerived("TrimQuote", &CScanString::TrimQuote, views);
    CheckDerived("TrimQuotes", &CScanString::TrimQuotes, views);
    CheckDerived("TrimParens", &CScanString::TrimParens, views);
    CheckDerived("TrimBlanks", &CScanString::TrimBlanks, views);

    // The repeating trims leave nothing more to trim.
    CScanString parens = views.exact.TrimParens();
    FUZZ_CHECK(parens.TrimParens().Length() == parens.Length(), "TrimParens is not idempotent");
    CScanString quotes = views.exact.TrimQuotes();
    FUZZ_CHECK(quotes.TrimQuotes().Length() == quotes.Length(), "TrimQuotes is not idempotent");
    CScanString blanks = views.exact.TrimBlanks();
    FUZZ_CHECK(blanks.TrimBlanks().Length() == blanks.Length(), "TrimBlanks is not idempotent");
    for (unsigned long i = 0; i < blanks.Length(); i += std::max<unsigned long>(blanks.Length() - 1, 1)) {
        FUZZ_CHECK(blanks[i] != ' ' && blanks[i] != '\t', "TrimBlanks left a blank at an end");
    }
}

void CheckSearches(FuzzedDataProvider& input, const ViewPair& views) {
    unsigned long length = views.exact.Length();

    Units needle = vantle::fuzz::ConsumeUnits(input, 6);
    unsigned long start = input.ConsumeBool() ? CScanString::NPOS
                                              : input.ConsumeIntegralInRange<unsigned long>(0, length + 2);
    if (input.ConsumeBool()) start = input.ConsumeIntegralInRange<unsigned long>(0, length + 2);
    unsigned long found = views.middle.Find(needle.c_str(), start);
    FUZZ_CHECK(found == views.exact.Find(needle.c_str(), start), "Find depends on characters outside the view");
    FUZZ_CHECK(views.exact.Find(nullptr, start) == CScanString::NPOS, "Find of a null needle found something");
    if (found != CScanString::NPOS) {
        FUZZ_CHECK(found >= start && found < length, "Find answered outside [start, length)");
        FUZZ_CHECK(found + needle.size() <= length, "Find matched past the view's end");
        FUZZ_CHECK(std::equal(needle.begin(), needle.end(), views.exact.Begin() + found),
                   "Find answered a position that does not match");
    }

    unsigned long pos = input.ConsumeIntegralInRange<unsigned long>(0, length + 2);
    unsigned long count = input.ConsumeBool() ? CScanString::NPOS
                                              : input.ConsumeIntegralInRange<unsigned long>(0, length + 2);
    CScanString sub = views.middle.Substr(pos, count);
    FUZZ_CHECK(Inside(sub, views.middle) || (length == 0 && sub.Length() == 0), "Substr left its source");
    FUZZ_CHECK(SameRange(sub, views.middle, views.exact.Substr(pos, count), views.exact),
               "Substr depends on characters outside the view");
    if (length > 0 && pos < length) {
        unsigned long expected = count == CScanString::NPOS ? length - pos : std::min(count, length - pos);
        FUZZ_CHECK(sub.Length() == expected, "Substr has the wrong length");
    }

    unsigned short unit = input.ConsumeBool() && length > 0
                              ? views.exact[input.ConsumeIntegralInRange<unsigned long>(0, length - 1)]
                              : vantle::fuzz::ConsumeUnit(input);
    bool contained = std::find(views.exact.Begin(), views.exact.End(), unit) != views.exact.End();
    FUZZ_CHECK(views.middle.Contains(unit) == contained, "Contains disagrees with a plain search");
    bool wide = std::any_of(views.exact.Begin(), views.exact.End(), [](unsigned short c) { return c > 0xFF; });
    FUZZ_CHECK(views.middle.ContainsUnicode() == wide, "ContainsUnicode disagrees with a plain search");
}

void CheckComparisons(FuzzedDataProvider& input, const ViewPair& views, const Units& text) {
    Units otherText = input.ConsumeBool() ? text : vantle::fuzz::ConsumeUnits(input, 12, true);
    if (input.ConsumeBool() && !otherText.empty()) otherText.pop_back();
    CScanString other(otherText.data(), otherText.data() + otherText.size());

    bool equal = views.exact.Length() == other.Length() &&
                 std::equal(views.exact.Begin(), views.exact.End(), other.Begin());
    FUZZ_CHECK((views.middle == other) == equal, "== disagrees with a unit-by-unit comparison");
    FUZZ_CHECK(views.middle == views.exact, "a view is not equal to its own characters");
    bool less = views.middle < other;
    bool greater = other < views.exact;
    FUZZ_CHECK(int(less) + int(greater) + int(equal) == 1, "< is not a strict order consistent with ==");
    bool lexicographic = std::lexicographical_compare(views.exact.Begin(), views.exact.End(), other.Begin(),
                                                      other.End());
    FUZZ_CHECK(less == lexicographic, "< is not lexicographic by code unit");

    bool hasNul = std::find(otherText.begin(), otherText.end(), 0) != otherText.end();
    if (!hasNul) {
        FUZZ_CHECK((views.middle == otherText.c_str()) == equal, "== against a pointer disagrees with ==");
        FUZZ_CHECK(views.middle.UpperEqualsString(otherText.c_str()) == views.exact.UpperEqualsString(other),
                   "the two forms of UpperEqualsString disagree");
    }
    FUZZ_CHECK(views.middle.UpperEqualsString(other) == views.exact.UpperEqualsString(other),
               "UpperEqualsString depends on characters outside the view");
}

void CheckRecognisers(const ViewPair& views) {
    FUZZ_CHECK(views.middle.IsQuotedString() == views.exact.IsQuotedString(), "IsQuotedString");
    FUZZ_CHECK(views.middle.IsNumber() == views.exact.IsNumber(), "IsNumber");
    FUZZ_CHECK(views.middle.IsClassName() == views.exact.IsClassName(), "IsClassName");
    FUZZ_CHECK(views.middle.IsIdentifier() == views.exact.IsIdentifier(), "IsIdentifier");
    if (views.exact.IsClassName()) {
        FUZZ_CHECK(views.exact.Length() >= 2, "a class name shorter than one two-character segment");
    }
}

void CheckConversions(const ViewPair& views) {
    const unsigned long sentinel = 0xDEADBEEFul;
    unsigned long number = sentinel;
    unsigned long numberExact = sentinel;
    bool integer = views.middle.AsInteger(number);
    FUZZ_CHECK(integer == views.exact.AsInteger(numberExact) && number == numberExact, "AsInteger");
    if (!integer) FUZZ_CHECK(number == sentinel, "a failed AsInteger wrote its output");
    int flag = 7;
    bool boolean = views.middle.AsBoolean(flag);
    FUZZ_CHECK(boolean == integer, "AsBoolean and AsInteger accept different texts");
    FUZZ_CHECK(boolean ? flag == (number != 0 ? 1 : 0) : flag == 7, "AsBoolean's output");

    utlWString digits = W("untouched").units();
    bool numeric = views.middle.AsNumber(digits);
    FUZZ_CHECK(numeric == views.exact.IsNumber(), "AsNumber and IsNumber accept different texts");
    if (!numeric) FUZZ_CHECK(digits == W("untouched").units(), "a failed AsNumber wrote its output");
    utlWString digitsExact;
    if (views.exact.AsNumber(digitsExact)) FUZZ_CHECK(digits == digitsExact, "AsNumber");

    kesto::String copy(views.middle.AsBSTR());
    FUZZ_CHECK(!copy.is_null(), "AsBSTR failed without fault injection");
    FUZZ_CHECK(UnitsOf(copy) == Units(views.exact.Begin(), views.exact.End()), "AsBSTR does not hold the view");

    std::unique_ptr<unsigned short[]> cString(views.middle.AsCString());
    FUZZ_CHECK(std::equal(views.exact.Begin(), views.exact.End(), cString.get()) &&
                   cString[views.exact.Length()] == 0,
               "AsCString does not hold the view and a terminator");

    utlWString quoted = views.middle.AsQuotedString();
    FUZZ_CHECK(quoted == views.exact.AsQuotedString(), "AsQuotedString");
    CScanString quotedView(quoted);
    FUZZ_CHECK(quotedView.IsQuotedString(), "AsQuotedString gave text that IsQuotedString rejects");
    utlWString roundTrip = quotedView.AsNormalizedString();
    FUZZ_CHECK(roundTrip.size() == views.exact.Length() &&
                   std::equal(roundTrip.begin(), roundTrip.end(), views.exact.Begin()),
               "AsNormalizedString does not undo AsQuotedString");

    bool threw = false;
    utlWString normalized;
    utlWString normalizedExact;
    try {
        normalized = views.middle.AsNormalizedString();
        normalizedExact = views.exact.AsNormalizedString();
    } catch (const std::out_of_range&) {
        threw = true;
    }
    FUZZ_CHECK(threw == (views.exact.Length() < 2), "AsNormalizedString throws exactly below two units");
    FUZZ_CHECK(normalized == normalizedExact, "AsNormalizedString");
    FUZZ_CHECK(normalized.size() < std::max<unsigned long>(views.exact.Length(), 1),
               "AsNormalizedString grew the text");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    vantle::fuzz::LiveStringGuard strings;
    FuzzedDataProvider input(data, size);

    Units text = vantle::fuzz::ConsumeUnits(input, 64, true);
    // The view's neighbours are letters and digits, the characters a read past the
    // view's end would most likely mistake for its own.
    Units before = W(input.ConsumeBool() ? "Ab9" : "(\"").units();
    Units after = W(input.ConsumeBool() ? "b1)" : "\" )").units();
    Units buffer = before + text + after;

    std::unique_ptr<unsigned short[]> exactBlock(new unsigned short[text.size()]);
    std::copy(text.begin(), text.end(), exactBlock.get());

    ViewPair views{CScanString(buffer.data() + before.size(), buffer.data() + before.size() + text.size()),
                   CScanString(exactBlock.get(), exactBlock.get() + text.size())};

    CheckTrims(views);
    CheckSearches(input, views);
    CheckComparisons(input, views, text);
    CheckRecognisers(views);
    CheckConversions(views);

    // The other constructors see the same characters.
    CScanString fromString(text);
    FUZZ_CHECK(fromString == views.exact, "the string constructor");
    kesto::String bstr(COM_SysAllocStringLen(text.data(), static_cast<unsigned int>(text.size())));
    FUZZ_CHECK(CScanString(static_cast<CBSTR>(bstr.get())) == views.exact, "the BSTR constructor");
    FUZZ_CHECK(CScanString(static_cast<CBSTR>(nullptr)).Begin() == nullptr, "a NULL BSTR gives the null view");
    return 0;
}
