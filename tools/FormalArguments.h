// FormalArguments: the checks of a method's formal argument list ("formalSpec" in a
// dictionary) against the rules by which the service renders signatures.
//
// The list may be enclosed in parentheses; arguments are separated by "," outside
// double quotes and parentheses; each is an optional mode ("&" or "." by
// reference, "*" output), a name, optionally ":" and a type (which may carry
// parameters in parentheses), optionally "=" and a default. Nothing is trimmed, so
// a blank is part of what it stands in. A problem the service would render wrongly
// or silently cut (an empty argument ends the rendering) is an error; a doubtful
// but harmless form is a warning. Positions are offsets into the text, in bytes.
#ifndef VANTLE_TOOLS_FORMALARGUMENTS_H_
#define VANTLE_TOOLS_FORMALARGUMENTS_H_

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace vantle::tool {

struct SpecProblem {
    std::size_t offset;
    bool error;
    std::string message;
    std::string hint;
};

struct SpecArgument {
    std::string name;
    std::string typeName;  // the type without its parameters; empty when none
};

// The problems of `text`, in text order; the arguments read from it go to
// *arguments (those that could be read).
std::vector<SpecProblem> CheckFormalSpec(std::string_view text, std::vector<SpecArgument>* arguments);

}  // namespace vantle::tool

#endif  // VANTLE_TOOLS_FORMALARGUMENTS_H_
