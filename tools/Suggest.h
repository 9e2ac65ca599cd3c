// Suggest: "did you mean" for a mistyped command, option, class or member: the
// known names closest to the typed one by edit distance (insert, delete, replace,
// swap of neighbours; case differences cost half), only those close enough to be
// a slip (about a quarter of the name's length, at least one edit), best first,
// at most three.
#ifndef VANTLE_TOOLS_SUGGEST_H_
#define VANTLE_TOOLS_SUGGEST_H_

#include <string>
#include <string_view>
#include <vector>

namespace vantle::tool {

std::vector<std::string> Suggest(std::string_view typed, const std::vector<std::string>& known);

// Twice the edit distance (so that a case slip counts 1).
std::size_t DoubledEditDistance(std::string_view a, std::string_view b);

}  // namespace vantle::tool

#endif  // VANTLE_TOOLS_SUGGEST_H_
