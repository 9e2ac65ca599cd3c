// ReplCompletion: what Tab offers at the prompt for the word being typed, given
// the words before it: commands the prompt runs and its own commands first; then a
// command's options (only those the prompt accepts), the values of --kind, class
// names, and member names of the kinds the command accepts (origin: the kind its
// --kind names). Pure apart from the session's queries.
#ifndef VANTLE_TOOLS_REPLCOMPLETION_H_
#define VANTLE_TOOLS_REPLCOMPLETION_H_

#include <string>
#include <vector>

#include "ServiceSession.h"

namespace vantle::tool {

std::vector<std::string> PromptCandidates(const ServiceSession& session, const std::vector<std::string>& before,
                                          const std::string& prefix);
// Whether an option may be given on a prompt line (session options may not: :set changes those).
bool PromptTakesOption(const std::string& option);

}  // namespace vantle::tool

#endif  // VANTLE_TOOLS_REPLCOMPLETION_H_
