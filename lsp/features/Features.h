// features/Features.h: what the server answers, one function per LSP feature.
//
// Every feature reads the document with document/Reading.h and asks the
// component through the Assistant; the server sets the relative class (the class
// being edited) before calling one. Results are the LSP JSON of the answer; no
// answer is an empty list or null, never an error: the features accept any text
// and any position. They run on the server's thread, the Assistant's only thread.
#ifndef VANTLE_LSP_FEATURES_FEATURES_H_
#define VANTLE_LSP_FEATURES_FEATURES_H_

#include <string>
#include <vector>

#include "bridge/Assistant.h"
#include "document/Reading.h"
#include "document/TextDocument.h"
#include "features/DictionarySource.h"
#include "protocol/JsonText.h"
#include "protocol/Types.h"

namespace vantle::lsp {

struct ClientSupport {
    bool snippets = false;
    bool editRangeDefault = false;  // completionList.itemDefaults holds "editRange"
    bool markdown = true;
};

struct FeatureContext {
    Assistant& assistant;
    DictionarySource& dictionary;
    PositionEncoding encoding = PositionEncoding::Utf16;
    ClientSupport client;
    std::string dictionaryPath;  // where locations fall back to when the runtime has none
};

// As text: a list of a thousand items is too costly to build as json values.
RawJson Completion(FeatureContext& context, const TextDocument& document, Position position);
json ResolveCompletion(FeatureContext& context, json item);
json SignatureHelp(FeatureContext& context, const TextDocument& document, Position position);
json Hover(FeatureContext& context, const TextDocument& document, Position position);
json Definition(FeatureContext& context, const TextDocument& document, Position position);
json WorkspaceSymbols(FeatureContext& context, const std::string& query);
// Warnings for references to members their class does not have.
std::vector<Diagnostic> MemberDiagnostics(FeatureContext& context, const TextDocument& document);
// The problems of a failed dictionary load, placed in the dictionary file.
std::vector<Diagnostic> DictionaryDiagnostics(FeatureContext& context, const std::string& path,
                                              const LoadResult& result);

// Shared by the features: a class resolver over the Assistant that remembers its
// answers for one request, and the reference (class or member) at an offset.
ClassResolver CachingResolver(Assistant& assistant);

struct Reference {
    bool isMember = false;
    std::u16string className;        // full name
    std::u16string member;           // members only
    std::size_t begin = 0, end = 0;  // the text referring to it
};
std::optional<Reference> ReferenceAt(Assistant& assistant, std::u16string_view text, std::size_t offset);

// Place of a runtime location, as an LSP Location of `units` units.
std::optional<Location> DictionaryLocation(FeatureContext& context, const std::optional<SourcePoint>& point,
                                           std::size_t units);
std::string MemberKindWord(MemberKind kind);
// ASCII letters compared without case, as people type names.
bool StartsWithIgnoringCase(std::u16string_view text, std::u16string_view prefix);
bool ContainsIgnoringCase(std::u16string_view text, std::u16string_view part);
// Markdown for clients that show it, plain text for the others.
std::string Strong(const FeatureContext& context, const std::string& text);
std::string Code(const FeatureContext& context, const std::string& text);
std::string CodeBlock(const FeatureContext& context, const std::string& text);
json Markup(const FeatureContext& context, const std::string& text);

}  // namespace vantle::lsp

#endif  // VANTLE_LSP_FEATURES_FEATURES_H_
