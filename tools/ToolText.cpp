// Text helpers of the tool.
#include "tools/ToolText.h"

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

}  // namespace vantle::tool
