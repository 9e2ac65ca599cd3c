// document/Reading.h: how a document is read, without knowing its language.
//
// An identifier is a run of letters, digits and "_" that may begin with "%";
// letters and digits are Unicode's, so names in any script read whole while
// symbols, punctuation and spaces of any script end them. Identifiers joined by single dots form a
// chain, the text's references. In a chain, the longest prefix that names a class
// (asked of a ClassResolver, which resolves as the component does) is the class and
// the identifier after the next dot a member. An unclosed "(" opens an argument
// list; arguments are split as the component splits its lists: a comma inside
// double quotes or nested parentheses does not split. Looking for unclosed
// parentheses and, for diagnostics, chains, the text inside double quotes is
// skipped; a quote never runs past the end of its line there.
//
// Offsets are UTF-16 units into the text. Bounded work: a chain is read up to 64
// identifiers and 4096 units, class prefixes up to 16 identifiers; the list of
// unclosed parentheses keeps the innermost 256. Pure functions, any thread.
#ifndef VANTLE_LSP_DOCUMENT_READING_H_
#define VANTLE_LSP_DOCUMENT_READING_H_

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vantle::lsp {

struct Segment {
    std::size_t begin = 0;
    std::size_t end = 0;
};

struct Chain {
    std::vector<Segment> segments;  // each one identifier; consecutive ones joined by one '.'
    std::size_t current = 0;        // ChainAt: the segment the offset touches
    std::size_t Begin() const { return segments.front().begin; }
    std::size_t End() const { return segments.back().end; }
};

bool IsIdentifierCharacter(char32_t c);

// The chain around `offset`: the identifier it touches (it may sit just after the
// identifier, or after a dot where the identifier is still empty) and the
// identifiers before and after it in the chain.
std::optional<Chain> ChainAt(std::u16string_view text, std::size_t offset);
// The chain whose last identifier ends exactly at `end`.
std::optional<Chain> ChainEndingAt(std::u16string_view text, std::size_t end);
// Every chain of two identifiers or more outside double quotes, in text order.
std::vector<Chain> ChainsIn(std::u16string_view text);

// Text of segments [0, count) of a chain, dots included.
std::u16string_view ChainText(std::u16string_view text, const Chain& chain, std::size_t count);

// The full name of an existing class that `name` names, or nullopt.
using ClassResolver = std::function<std::optional<std::u16string>(std::u16string_view name)>;

struct ClassSplit {
    std::size_t classSegments = 0;  // the class is segments [0, classSegments)
    std::u16string className;       // its full name
};
// The longest prefix of the chain's first `limit` segments that names a class.
std::optional<ClassSplit> SplitClass(std::u16string_view text, const Chain& chain, std::size_t limit,
                                     const ClassResolver& resolver);

// Offsets of the "(" still open at `offset`, innermost last.
std::vector<std::size_t> OpenParentheses(std::u16string_view text, std::size_t offset);
// The 0-based argument that `arguments` (the text after "(" up to the cursor) ends in.
std::size_t ArgumentIndex(std::u16string_view arguments);

}  // namespace vantle::lsp

#endif  // VANTLE_LSP_DOCUMENT_READING_H_
