// Identifiers, chains, class/member splits and argument lists in plain text.
#include "document/Reading.h"

#include <locale.h>
#include <wctype.h>

#include <algorithm>

#include "protocol/Utf.h"

namespace vantle::lsp {
namespace {

constexpr std::size_t kMaxSegments = 64;
constexpr std::size_t kMaxChainUnits = 4096;
constexpr std::size_t kMaxClassSegments = 16;
constexpr std::size_t kMaxOpen = 256;

// Units of the identifier character that starts at text[at]; 0 when there is none.
std::size_t LetterAt(std::u16string_view text, std::size_t at) {
    if (at >= text.size()) return 0;
    std::size_t units = 0;
    const char32_t c = CodePointAt(text, at, &units);
    return IsIdentifierCharacter(c) ? units : 0;
}

// Units of the identifier character that ends just before text[end]; 0 when none.
std::size_t LetterBefore(std::u16string_view text, std::size_t end) {
    if (end >= 2 && text[end - 1] >= 0xDC00 && text[end - 1] < 0xE000 && text[end - 2] >= 0xD800 &&
        text[end - 2] < 0xDC00)
        return LetterAt(text, end - 2);
    return end >= 1 && LetterAt(text, end - 1) == 1 ? 1 : 0;
}

// The start of the identifier that ends at `end` (== end when there is none).
std::size_t IdentifierStart(std::u16string_view text, std::size_t end) {
    std::size_t begin = end;
    while (const std::size_t units = LetterBefore(text, begin)) begin -= units;
    if (begin > 0 && text[begin - 1] == u'%') --begin;
    return begin;
}

// The end of the letters and digits that start at `begin`.
std::size_t LettersEnd(std::u16string_view text, std::size_t begin) {
    while (const std::size_t units = LetterAt(text, begin)) begin += units;
    return begin;
}

// The end of the identifier that starts at `begin`.
std::size_t IdentifierEnd(std::u16string_view text, std::size_t begin) {
    return LettersEnd(text, begin < text.size() && text[begin] == u'%' ? begin + 1 : begin);
}

// A segment is a whole identifier: something besides a leading '%'.
bool IsWhole(std::u16string_view text, std::size_t begin, std::size_t end) {
    return end > begin && !(end == begin + 1 && text[begin] == u'%');
}

}  // namespace

bool IsIdentifierCharacter(char32_t c) {
    if (c < 0x80) return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9') || c == u'_';
    // Unicode's letters and digits, as the C library's UTF-8 locale classifies them.
    static const locale_t utf8 = newlocale(LC_CTYPE_MASK, "C.UTF-8", locale_t{});
    return utf8 != locale_t{} && iswalnum_l(static_cast<wint_t>(c), utf8) != 0;
}

std::optional<Chain> ChainAt(std::u16string_view text, std::size_t offset) {
    offset = std::min(offset, text.size());
    std::size_t begin = IdentifierStart(text, offset);
    // Inside an identifier a '%' cannot follow; at its very start it may.
    const std::size_t end = begin == offset ? IdentifierEnd(text, offset) : LettersEnd(text, offset);
    if (end - begin > kMaxChainUnits) return std::nullopt;
    const bool afterDot = begin > 0 && text[begin - 1] == u'.';
    if (begin == end && !afterDot) return std::nullopt;

    Chain chain;
    chain.segments.push_back({begin, end});
    while (begin > 0 && text[begin - 1] == u'.' && chain.segments.size() < kMaxSegments) {
        const std::size_t previous = IdentifierStart(text, begin - 1);
        if (!IsWhole(text, previous, begin - 1) || chain.End() - previous > kMaxChainUnits) break;
        chain.segments.insert(chain.segments.begin(), Segment{previous, begin - 1});
        begin = previous;
    }
    chain.current = chain.segments.size() - 1;
    for (std::size_t at = end; at < text.size() && text[at] == u'.' && chain.segments.size() < kMaxSegments;) {
        const std::size_t next = IdentifierEnd(text, at + 1);
        if (!IsWhole(text, at + 1, next) || next - chain.Begin() > kMaxChainUnits) break;
        chain.segments.push_back({at + 1, next});
        at = next;
    }
    return chain;
}

std::optional<Chain> ChainEndingAt(std::u16string_view text, std::size_t end) {
    std::optional<Chain> chain = ChainAt(text, end);
    if (!chain) return std::nullopt;
    const Segment& last = chain->segments[chain->current];
    if (last.end != end || !IsWhole(text, last.begin, last.end)) return std::nullopt;
    chain->segments.resize(chain->current + 1);
    return chain;
}

std::vector<Chain> ChainsIn(std::u16string_view text) {
    std::vector<Chain> chains;
    bool quoted = false;
    for (std::size_t at = 0; at < text.size();) {
        const char16_t unit = text[at];
        if (unit == u'\n' || unit == u'\r')
            quoted = false;
        else if (unit == u'"')
            quoted = !quoted;
        const bool starts = !quoted && (unit == u'%' || LetterAt(text, at) > 0) && LetterBefore(text, at) == 0 &&
                            (at == 0 || (text[at - 1] != u'.' && text[at - 1] != u'%'));
        if (!starts) {
            ++at;
            continue;
        }
        Chain chain;
        std::size_t position = at;
        for (;;) {
            const std::size_t end = IdentifierEnd(text, position);
            if (!IsWhole(text, position, end) || end - at > kMaxChainUnits) break;
            chain.segments.push_back({position, end});
            position = end;
            if (chain.segments.size() == kMaxSegments || position + 1 >= text.size() || text[position] != u'.') break;
            ++position;
        }
        if (chain.segments.size() >= 2) chains.push_back(chain);
        at = chain.segments.empty() ? at + 1 : chain.End();
    }
    return chains;
}

std::u16string_view ChainText(std::u16string_view text, const Chain& chain, std::size_t count) {
    if (count == 0) return {};
    return text.substr(chain.Begin(), chain.segments[count - 1].end - chain.Begin());
}

std::optional<ClassSplit> SplitClass(std::u16string_view text, const Chain& chain, std::size_t limit,
                                     const ClassResolver& resolver) {
    for (std::size_t count = std::min({limit, chain.segments.size(), kMaxClassSegments}); count > 0; --count) {
        const Segment& last = chain.segments[count - 1];
        if (!IsWhole(text, last.begin, last.end)) continue;
        if (std::optional<std::u16string> full = resolver(ChainText(text, chain, count)))
            return ClassSplit{count, std::move(*full)};
    }
    return std::nullopt;
}

std::vector<std::size_t> OpenParentheses(std::u16string_view text, std::size_t offset) {
    std::vector<std::size_t> open;
    bool quoted = false;
    for (std::size_t at = 0; at < std::min(offset, text.size()); ++at) {
        const char16_t unit = text[at];
        if (unit == u'\n' || unit == u'\r')
            quoted = false;
        else if (unit == u'"')
            quoted = !quoted;
        else if (quoted)
            continue;
        else if (unit == u'(')
            open.push_back(at);
        else if (unit == u')' && !open.empty())
            open.pop_back();
        if (open.size() == 2 * kMaxOpen) open.erase(open.begin(), open.begin() + kMaxOpen);
    }
    return open;
}

// The component's list splitting: a quote toggles quoting, parentheses outside
// quotes nest (and may go below zero), a comma splits only at depth 0 unquoted.
std::size_t ArgumentIndex(std::u16string_view arguments) {
    std::size_t commas = 0;
    bool quoted = false;
    long depth = 0;
    for (const char16_t unit : arguments) {
        if (unit == u'"')
            quoted = !quoted;
        else if (!quoted && unit == u'(')
            ++depth;
        else if (!quoted && unit == u')')
            --depth;
        else if (unit == u',' && depth == 0 && !quoted)
            ++commas;
    }
    return commas;
}

}  // namespace vantle::lsp
