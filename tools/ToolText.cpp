// Text helpers of the tool.
#include "ToolText.h"

#include <sstream>

namespace vantle::tool {

std::vector<std::string> SplitList(std::string_view list) {
    std::vector<std::string> entries;
    std::size_t start = 0;
    for (std::size_t i = 0; i < list.size(); ++i) {
        if (list[i] == ',') {
            entries.emplace_back(list.substr(start, i - start));
            start = i + 1;
        }
    }
    if (start < list.size()) entries.emplace_back(list.substr(start));
    return entries;
}

std::vector<std::string> SplitWords(const std::string& text) {
    std::vector<std::string> words;
    std::istringstream stream(text);
    std::string word;
    while (stream >> word) words.push_back(word);
    return words;
}

}  // namespace vantle::tool
