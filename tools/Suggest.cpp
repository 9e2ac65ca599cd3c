// Nearest names by edit distance.
#include "Suggest.h"

#include <algorithm>
#include <cctype>

namespace vantle::tool {

std::size_t DoubledEditDistance(std::string_view a, std::string_view b) {
    // Optimal string alignment: three rows are enough for the swap of neighbours.
    const std::size_t n = b.size();
    std::vector<std::size_t> before(n + 1), previous(n + 1), current(n + 1);
    for (std::size_t j = 0; j <= n; ++j) previous[j] = 2 * j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        current[0] = 2 * i;
        for (std::size_t j = 1; j <= n; ++j) {
            const char x = a[i - 1], y = b[j - 1];
            std::size_t replace = 2;
            if (x == y) {
                replace = 0;
            } else if (std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y))) {
                replace = 1;
            }
            current[j] = std::min({previous[j] + 2, current[j - 1] + 2, previous[j - 1] + replace});
            if (i > 1 && j > 1 && x == b[j - 2] && a[i - 2] == y) current[j] = std::min(current[j], before[j - 2] + 2);
        }
        std::swap(before, previous);
        std::swap(previous, current);
    }
    return previous[n];
}

std::vector<std::string> Suggest(std::string_view typed, const std::vector<std::string>& known) {
    const std::size_t limit = 2 * std::max<std::size_t>(1, (typed.size() + 2) / 4);
    std::vector<std::pair<std::size_t, std::string>> close;
    for (const std::string& name : known) {
        if (name == typed) continue;
        const std::size_t distance = DoubledEditDistance(typed, name);
        if (distance <= limit) close.emplace_back(distance, name);
    }
    std::stable_sort(close.begin(), close.end(),
                     [](const auto& x, const auto& y) { return x.first < y.first; });
    std::vector<std::string> names;
    for (std::size_t i = 0; i < close.size() && i < 3; ++i) names.push_back(close[i].second);
    return names;
}

}  // namespace vantle::tool
