// Lines and positions of one document; incremental edits.
#include "document/TextDocument.h"

#include <algorithm>
#include <utility>

namespace vantle::lsp {

TextDocument::TextDocument(std::u16string text) : text_(std::move(text)) { IndexLines(); }

void TextDocument::IndexLines() {
    lineStarts_.assign(1, 0);
    for (std::size_t at = 0; at < text_.size(); ++at) {
        if (text_[at] == u'\r' && at + 1 < text_.size() && text_[at + 1] == u'\n') ++at;
        if (text_[at] == u'\n' || text_[at] == u'\r') lineStarts_.push_back(at + 1);
    }
}

std::size_t TextDocument::LineEnd(std::size_t line) const {
    if (line + 1 >= lineStarts_.size()) return text_.size();
    std::size_t end = lineStarts_[line + 1] - 1;  // the '\n' or lone '\r'
    if (text_[end] == u'\n' && end > lineStarts_[line] && text_[end - 1] == u'\r') --end;
    return end;
}

std::u16string_view TextDocument::Line(std::size_t line) const {
    if (line >= lineStarts_.size()) return {};
    return std::u16string_view(text_).substr(lineStarts_[line], LineEnd(line) - lineStarts_[line]);
}

std::size_t TextDocument::OffsetAt(Position position, PositionEncoding encoding) const {
    if (position.line >= lineStarts_.size()) return text_.size();
    return lineStarts_[position.line] + UnitOfColumn(Line(position.line), position.character, encoding);
}

Position TextDocument::PositionAt(std::size_t offset, PositionEncoding encoding) const {
    offset = std::min(offset, text_.size());
    const auto next = std::upper_bound(lineStarts_.begin(), lineStarts_.end(), offset);
    const auto line = static_cast<std::size_t>(next - lineStarts_.begin()) - 1;
    return {line, ColumnOfUnit(Line(line), offset - lineStarts_[line], encoding)};
}

void TextDocument::Apply(const std::optional<Range>& range, std::u16string_view replacement,
                         PositionEncoding encoding) {
    if (!range) {
        text_.assign(replacement);
    } else {
        std::size_t begin = OffsetAt(range->start, encoding);
        std::size_t end = OffsetAt(range->end, encoding);
        if (end < begin) std::swap(begin, end);
        text_.replace(begin, end - begin, replacement);
    }
    IndexLines();
}

}  // namespace vantle::lsp
