// Runtime places (line, UTF-16 column, from 1) to LSP ranges.
#include "features/DictionarySource.h"

#include <fstream>
#include <sstream>

#include "protocol/Utf.h"

namespace vantle::lsp {
namespace {

// "LINE:COLUMN: " at text[at], read into the problem with the text after it; false
// when it is not there.
bool ReadPlace(const std::string& text, std::size_t at, DictionaryProblem& problem) {
    unsigned long numbers[2] = {0, 0};
    for (unsigned long& number : numbers) {
        const std::size_t first = at;
        while (at < text.size() && text[at] >= '0' && text[at] <= '9' && at - first < 9)
            number = number * 10 + static_cast<unsigned long>(text[at++] - '0');
        if (at == first || at >= text.size() || text[at] != ':') return false;
        ++at;
    }
    if (numbers[0] == 0) return false;
    problem.line = static_cast<unsigned int>(numbers[0]);
    problem.column = static_cast<unsigned int>(numbers[1] == 0 ? 1 : numbers[1]);
    if (at < text.size() && text[at] == ' ') ++at;
    if (at < text.size()) problem.text = text.substr(at);
    return true;
}

}  // namespace

std::vector<DictionaryProblem> ParseProblems(const std::string& message, const std::string& problems) {
    std::vector<DictionaryProblem> parsed;
    std::istringstream lines(problems.empty() ? message : problems);
    for (std::string line; std::getline(lines, line);) {
        if (line.empty()) continue;
        DictionaryProblem problem;
        problem.text = line;
        // FILE may hold colons itself: take the first ":LINE:COLUMN:" there is.
        for (std::size_t colon = line.find(':'); colon != std::string::npos; colon = line.find(':', colon + 1))
            if (ReadPlace(line, colon + 1, problem)) break;
        parsed.push_back(std::move(problem));
    }
    return parsed;
}

std::u16string DictionarySource::LineText(const std::string& path, unsigned int line) {
    const FileStamp stamp = StampOf(path);
    if (path != path_ || !(stamp == stamp_)) {
        path_ = path;
        stamp_ = stamp;
        std::ifstream file(path, std::ios::binary);
        content_.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
        if (content_.rfind("\xEF\xBB\xBF", 0) == 0) content_.erase(0, 3);
        lineStarts_.assign(1, 0);
        for (std::size_t at = content_.find('\n'); at != std::string::npos; at = content_.find('\n', at + 1))
            lineStarts_.push_back(at + 1);
    }
    if (line == 0 || line > lineStarts_.size()) return {};
    const std::size_t begin = lineStarts_[line - 1];
    const std::size_t end = line < lineStarts_.size() ? lineStarts_[line] - 1 : content_.size();
    return ToUtf16(std::string_view(content_).substr(begin, end - begin));
}

Range DictionarySource::RangeAt(const std::string& path, unsigned int line, unsigned int column, std::size_t units,
                                PositionEncoding encoding) {
    const std::size_t lineIndex = line == 0 ? 0 : line - 1;
    const std::size_t unit = column == 0 ? 0 : column - 1;
    if (encoding == PositionEncoding::Utf16) return {{lineIndex, unit}, {lineIndex, unit + units}};
    const std::u16string text = LineText(path, line);
    if (text.empty()) return {{lineIndex, unit}, {lineIndex, unit + units}};
    return {{lineIndex, ColumnOfUnit(text, unit, encoding)}, {lineIndex, ColumnOfUnit(text, unit + units, encoding)}};
}

}  // namespace vantle::lsp
