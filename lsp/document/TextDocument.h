// document/TextDocument.h: the text of one open document and its lines.
//
// Text is held as UTF-16 (what the component reads) with the start of every line;
// "\n", "\r\n" and "\r" each end a line. Positions from the client are clamped,
// never refused: a line past the last means the end of the text, a character past
// a line's end means that end (before its line break), a character inside a
// surrogate pair or UTF-8 sequence means the start of that character. A document
// belongs to one thread.
#ifndef VANTLE_LSP_DOCUMENT_TEXTDOCUMENT_H_
#define VANTLE_LSP_DOCUMENT_TEXTDOCUMENT_H_

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "protocol/PositionEncoding.h"
#include "protocol/Types.h"

namespace vantle::lsp {

class TextDocument {
public:
    explicit TextDocument(std::u16string text = {});

    const std::u16string& Text() const { return text_; }
    std::size_t LineCount() const { return lineStarts_.size(); }
    // Line `line` without its line break (empty past the last line).
    std::u16string_view Line(std::size_t line) const;

    std::size_t OffsetAt(Position position, PositionEncoding encoding) const;
    Position PositionAt(std::size_t offset, PositionEncoding encoding) const;
    Range RangeOf(std::size_t begin, std::size_t end, PositionEncoding encoding) const {
        return {PositionAt(begin, encoding), PositionAt(end, encoding)};
    }

    // Replaces `range` (the whole text when absent) by `replacement`. A range whose
    // end comes before its start is taken the other way round.
    void Apply(const std::optional<Range>& range, std::u16string_view replacement, PositionEncoding encoding);

private:
    void IndexLines();
    std::size_t LineEnd(std::size_t line) const;  // offset of the line's break

    std::u16string text_;
    std::vector<std::size_t> lineStarts_;
};

}  // namespace vantle::lsp

#endif  // VANTLE_LSP_DOCUMENT_TEXTDOCUMENT_H_
