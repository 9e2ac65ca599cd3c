// Diagnostics: references to members a class does not have, and the problems of
// a dictionary that did not load.
#include <map>

#include "features/Features.h"
#include "protocol/Utf.h"

namespace vantle::lsp {
namespace {

constexpr std::size_t kMaxDiagnostics = 1000;

}  // namespace

std::vector<Diagnostic> MemberDiagnostics(FeatureContext& context, const TextDocument& document) {
    std::vector<Diagnostic> diagnostics;
    if (!context.assistant.HasTree()) return diagnostics;
    const std::u16string& text = document.Text();
    const ClassResolver resolver = CachingResolver(context.assistant);
    std::map<std::pair<std::u16string, std::u16string>, bool> lacks;
    for (const Chain& chain : ChainsIn(text)) {
        const auto split = SplitClass(text, chain, chain.segments.size(), resolver);
        if (!split || split->classSegments >= chain.segments.size()) continue;
        const Segment& segment = chain.segments[split->classSegments];
        std::u16string member = text.substr(segment.begin, segment.end - segment.begin);
        auto key = std::pair{split->className, member};
        auto found = lacks.find(key);
        if (found == lacks.end())
            found = lacks.emplace(std::move(key), context.assistant.LacksMember(split->className, member)).first;
        if (!found->second) continue;
        diagnostics.push_back({document.RangeOf(segment.begin, segment.end, context.encoding),
                               DiagnosticSeverity::Warning,
                               "Class " + ToUtf8(split->className) + " has no member " + ToUtf8(member)});
        if (diagnostics.size() == kMaxDiagnostics) break;
    }
    return diagnostics;
}

std::vector<Diagnostic> DictionaryDiagnostics(FeatureContext& context, const std::string& path,
                                              const LoadResult& result) {
    std::vector<Diagnostic> diagnostics;
    for (const DictionaryProblem& problem : ParseProblems(result.message, result.problems)) {
        Range range;
        if (problem.line > 0)
            range = context.dictionary.RangeAt(path, problem.line, problem.column, 1, context.encoding);
        diagnostics.push_back({range, DiagnosticSeverity::Error, problem.text});
    }
    return diagnostics;
}

}  // namespace vantle::lsp
