// The check command: every problem of a dictionary, placed and explained.
#include "DictionaryCheck.h"

#include "FormalArguments.h"
#include "HresultText.h"
#include "Suggest.h"
#include "ToolExit.h"
#include "ToolText.h"
#include "unicode_text.h"

namespace vantle::tool {
namespace {

// Hints for the loader's messages, by a piece of their text.
const std::pair<const char*, const char*> kHints[] = {
    {"syntax error", "the file is not valid JSON from here on; the rest is checked once this is fixed"},
    {"unknown key", "a misspelt key? the keys are listed in docs/dictionary.md"},
    {"must be true or false", "write true or false without quotes"},
    {"is defined twice", "rename or remove one of the two definitions"},
    {"does not exist", "define that class in the same file, or correct the name"},
    {"form a cycle", "a class cannot inherit from itself through its super classes; remove one link"},
    {"has no \"name\"", "every class and member needs a \"name\""},
    {"name must not", "names have no blanks, control characters or commas"},
    {"format", "the only format is \"vantle-class-dictionary/1\""},
    {"cannot open", "check the path and the file's permissions"},
};

std::string HintFor(const std::string& message) {
    for (const auto& [piece, hint] : kHints) {
        if (message.find(piece) != std::string::npos) return hint;
    }
    return {};
}

bool ReadNumber(const std::string& text, std::size_t* at, unsigned int* value) {
    std::size_t start = *at;
    unsigned long number = 0;
    while (*at < text.size() && text[*at] >= '0' && text[*at] <= '9' && *at - start < 9)
        number = number * 10 + static_cast<unsigned long>(text[(*at)++] - '0');
    *value = static_cast<unsigned int>(number);
    return *at > start;
}

// A run of TNode pieces ("3:abc0:") as its texts.
std::vector<std::string> Pieces(const std::u16string& run) {
    std::vector<std::string> pieces;
    std::size_t at = 0;
    while (at < run.size()) {
        std::size_t length = 0;
        while (at < run.size() && run[at] >= u'0' && run[at] <= u'9')
            length = length * 10 + static_cast<std::size_t>(run[at++] - u'0');
        if (at >= run.size() || run[at] != u':') break;
        ++at;
        length = std::min(length, run.size() - at);
        pieces.push_back(ToUtf8(std::u16string_view(run).substr(at, length)));
        at += length;
    }
    return pieces;
}

class FileCheck {
public:
    FileCheck(std::string path, std::uint64_t limit) : path_(std::move(path)), limit_(limit) {}

    void Run();
    Json ToJson() const;
    void Print(std::ostream& out) const;
    std::size_t Errors() const { return Count(true); }
    std::size_t Warnings() const { return Count(false); }

private:
    std::size_t Count(bool error) const {
        return static_cast<std::size_t>(std::count_if(problems_.begin(), problems_.end(),
                                                      [error](const DictionaryProblem& p) { return p.error == error; }));
    }
    void CheckMembers(const std::string& className);
    void CheckFormalSpecs(const std::string& content);
    void CheckType(const std::string& type, const std::string& className, const char* kind, const std::string& member,
                   const std::string& what, COM_ITNodeElement* node, const char16_t* childKind);
    void Place(DictionaryProblem* problem, COM_ITNodeElement* node, const char16_t* childKind, const std::string& member);

    std::string path_;
    std::uint64_t limit_;
    kesto::Ref<COM_ITNodeManager> tree_;
    std::vector<DictionaryProblem> problems_;
};

void FileCheck::Place(DictionaryProblem* problem, COM_ITNodeElement* node, const char16_t* childKind,
                      const std::string& member) {
    kesto::String file;
    unsigned int line = 0, column = 0;
    const std::u16string member16 = ToUtf16(member);
    if (node->GetLocation(kesto::wide(childKind), kesto::wide(member16), file.out(), &line, &column) == S_OK) {
        problem->line = line;
        problem->column = column;
    }
}

void FileCheck::CheckType(const std::string& type, const std::string& className, const char* kind,
                          const std::string& member, const std::string& what, COM_ITNodeElement* node,
                          const char16_t* childKind) {
    if (type.empty()) return;
    kesto::String full;
    kesto::Ref<COM_ITNodeElement> found;
    const bool known = SUCCEEDED(tree_->NormalizeName(kesto::wide(ToUtf16(type)), kesto::wide(ToUtf16(className)),
                                                      full.out())) &&
                       !full.is_null() && tree_->GetClassNode(full.get(), found.out()) == S_OK;
    if (known) return;
    DictionaryProblem problem;
    problem.error = false;
    problem.className = className;
    problem.memberKind = kind;
    problem.member = member;
    problem.message = what + " \"" + type + "\" is not a class of this dictionary";
    problem.hint = full.is_null() ? "it cannot be a class name" : "it reads as " + Utf8(full) + "; define it or correct the name";
    Place(&problem, node, childKind, member);
    problems_.push_back(std::move(problem));
}

void FileCheck::CheckMembers(const std::string& className) {
    kesto::Ref<COM_ITNodeElement> node;
    if (tree_->GetClassNode(kesto::wide(ToUtf16(className)), node.out()) != S_OK) return;
    const struct {
        const char16_t* kind;
        const char16_t* query;
        const char* name;
    } kinds[] = {{u"m", u"2:422:27", "method"}, {u"a", u"1:5", "property"}, {u"p", u"1:5", "parameter"}};
    for (const auto& kind : kinds) {
        kesto::Ref<COM_IStringCollection> children;
        if (FAILED(node->OpenChildren(kesto::wide(kind.kind), kesto::wide(kind.query), 0, children.out()))) continue;
        kesto::String name, values;
        while (children->Next(name.out(), values.out()) == S_OK) {
            const std::string member = Utf8(name);
            const std::vector<std::string> pieces = Pieces(std::u16string(values.view()));
            const std::string type = pieces.empty() ? std::string() : pieces[0];
            CheckType(type, className, kind.name, member,
                      std::string(kind.name) == "method" ? "the return type" : "the type", node.get(), kind.kind);
            if (std::string(kind.name) != "method" || pieces.size() < 2) continue;
            std::vector<SpecArgument> arguments;
            CheckFormalSpec(pieces[1], &arguments);  // its problems come from the file's text
            for (const SpecArgument& argument : arguments)
                CheckType(argument.typeName, className, "method", member, "the type of argument " + argument.name,
                          node.get(), u"m");
        }
    }
}

// Line and column of byte `offset` in `text`, counted as the loader counts them
// (from 1; columns in UTF-16 units).
std::pair<unsigned int, unsigned int> PlaceOf(const std::string& text, std::size_t offset) {
    unsigned int line = 1, column = 1;
    for (std::size_t i = 0; i < offset && i < text.size(); ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (c == '\n') {
            ++line;
            column = 1;
        } else if ((c & 0xC0) != 0x80) {
            column += c >= 0xF0 ? 2 : 1;
        }
    }
    if (offset >= 3 && text.compare(0, 3, "\xEF\xBB\xBF") == 0 && line == 1) --column;
    return {line, column};
}

void FileCheck::CheckFormalSpecs(const std::string& content) {
    const Json document = Json::parse(content, nullptr, false);
    if (document.is_discarded() || !document.is_object() || !document.contains("classes") ||
        !document["classes"].is_array())
        return;
    std::size_t searchFrom = 0;
    for (const Json& entry : document["classes"]) {
        if (!entry.is_object() || !entry.contains("methods") || !entry["methods"].is_array()) continue;
        const std::string className = entry.contains("name") && entry["name"].is_string() ? entry["name"].get<std::string>() : "";
        for (const Json& method : entry["methods"]) {
            if (!method.is_object() || !method.contains("formalSpec") || !method["formalSpec"].is_string()) continue;
            const std::string formal = method["formalSpec"].get<std::string>();
            const std::string member = method.contains("name") && method["name"].is_string() ? method["name"].get<std::string>() : "";
            // The value as JSON writes it; found in document order, so each occurrence once.
            const std::string written = Json(formal).dump();
            std::size_t at = content.find(written, searchFrom);
            if (at != std::string::npos) searchFrom = at + written.size();
            std::vector<SpecArgument> arguments;
            for (const SpecProblem& found : CheckFormalSpec(formal, &arguments)) {
                DictionaryProblem problem;
                problem.error = found.error;
                problem.className = className;
                problem.memberKind = "method";
                problem.member = member;
                problem.message = "formalSpec \"" + formal + "\": " + found.message;
                problem.hint = found.hint;
                if (at != std::string::npos) {
                    // Exact when nothing before the place is escaped in the file.
                    const bool plain = written.size() == formal.size() + 2;
                    auto [line, column] = PlaceOf(content, at + 1 + (plain ? found.offset : 0));
                    problem.line = line;
                    problem.column = column;
                }
                problems_.push_back(std::move(problem));
            }
        }
    }
}

void FileCheck::Run() {
    std::string content, error;
    bool tooLarge = false;
    if (!ReadRegularFile(path_, limit_, &content, &error, &tooLarge)) {
        DictionaryProblem problem;
        problem.message = error.rfind(path_ + ": ", 0) == 0 ? error.substr(path_.size() + 2) : error;
        problem.hint = tooLarge ? "--max-size raises the limit" : HintFor(problem.message);
        problems_.push_back(std::move(problem));
        return;
    }
    HRESULT hr = COM_CreateInstance(COM_CLSID_TNodeManager, nullptr, COM_IID_ITNodeManager, tree_.out_void());
    if (FAILED(hr) || !tree_) {
        DictionaryProblem problem;
        problem.message = "the runtime cannot create a class-definition tree: " + HresultText(hr);
        problems_.push_back(std::move(problem));
        return;
    }
    kesto::String message;
    // The messages name the file as given, byte for byte, so that they read back.
    hr = tree_->LoadDictionaryBuffer(content.data(), content.size(), kesto::wide(kesto::PathToUtf16(path_)),
                                     message.out());
    // The argument lists are checked whether the file loads or not: they are text
    // the loader keeps as it is.
    CheckFormalSpecs(content);
    if (FAILED(hr)) {
        for (const std::string& text : LoadProblems(tree_.get(), message, path_, hr))
            problems_.push_back(ReadLoaderProblem(path_, text));
    } else {
        kesto::Ref<COM_IClassCache> cache;
        kesto::String list;
        if (SUCCEEDED(tree_->QueryInterface(COM_IID_IClassCache, cache.out_void())) && cache &&
            SUCCEEDED(cache->GetClassList(kesto::wide(u""), list.out()))) {
            for (const std::string& className : SplitList(Utf8(list))) CheckMembers(className);
        }
    }
    std::stable_sort(problems_.begin(), problems_.end(), [](const DictionaryProblem& a, const DictionaryProblem& b) {
        return std::pair(a.line.value_or(0), a.column.value_or(0)) < std::pair(b.line.value_or(0), b.column.value_or(0));
    });
}

Json FileCheck::ToJson() const {
    Json problems = Json::array();
    for (const DictionaryProblem& p : problems_) {
        const auto text = [](const std::string& s) { return s.empty() ? Json(nullptr) : Json(s); };
        problems.push_back(Json{{"severity", p.error ? "error" : "warning"},
                                {"line", p.line ? Json(*p.line) : Json(nullptr)},
                                {"column", p.column ? Json(*p.column) : Json(nullptr)},
                                {"class", text(p.className)},
                                {"memberKind", text(p.memberKind)},
                                {"member", text(p.member)},
                                {"message", p.message},
                                {"hint", text(p.hint)}});
    }
    return Json{{"file", path_}, {"errors", Errors()}, {"warnings", Warnings()}, {"problems", problems}};
}

void FileCheck::Print(std::ostream& out) const {
    for (const DictionaryProblem& p : problems_) {
        out << path_;
        if (p.line) out << ":" << *p.line << ":" << p.column.value_or(0);
        out << ": " << (p.error ? "error" : "warning") << ": " << p.message;
        if (!p.className.empty()) {
            out << " (class " << p.className;
            if (!p.member.empty()) out << ", " << p.memberKind << " " << p.member;
            out << ")";
        }
        out << "\n";
        if (!p.hint.empty()) out << "  hint: " << p.hint << "\n";
    }
    const std::size_t errors = Errors(), warnings = Warnings();
    out << path_ << ": " << (errors == 0 && warnings == 0 ? "no problems" : "") ;
    if (errors + warnings > 0)
        out << errors << (errors == 1 ? " error, " : " errors, ") << warnings << (warnings == 1 ? " warning" : " warnings");
    out << "\n";
}

}  // namespace

DictionaryProblem ReadLoaderProblem(const std::string& file, const std::string& text) {
    DictionaryProblem problem;
    std::string rest = text;
    if (rest.rfind(file + ":", 0) == 0) {
        rest = rest.substr(file.size() + 1);
        std::size_t at = 0;
        unsigned int line = 0, column = 0;
        if (ReadNumber(rest, &at, &line) && at < rest.size() && rest[at] == ':' && (++at, ReadNumber(rest, &at, &column)) &&
            at < rest.size() && rest[at] == ':') {
            problem.line = line;
            problem.column = column;
            rest = rest.substr(at + 1);
        }
        if (!rest.empty() && rest[0] == ' ') rest.erase(0, 1);
    }
    // "... (class C, method M)" at the end.
    if (std::size_t open = rest.rfind(" (class "); open != std::string::npos && rest.back() == ')') {
        std::string inside = rest.substr(open + 8, rest.size() - open - 9);
        rest.resize(open);
        if (std::size_t comma = inside.find(", "); comma != std::string::npos) {
            problem.className = inside.substr(0, comma);
            std::string member = inside.substr(comma + 2);
            if (std::size_t blank = member.find(' '); blank != std::string::npos) {
                problem.memberKind = member.substr(0, blank);
                problem.member = member.substr(blank + 1);
            }
        } else {
            problem.className = inside;
        }
    }
    problem.message = rest;
    problem.hint = HintFor(rest);
    // A misspelt key: the loader lists the keys it knows.
    const std::string unknown = "unknown key \"", known = "(known keys: ";
    if (rest.rfind(unknown, 0) == 0) {
        const std::size_t end = rest.find('"', unknown.size()), list = rest.find(known);
        if (end != std::string::npos && list != std::string::npos) {
            std::vector<std::string> keys;
            std::string names = rest.substr(list + known.size());
            names = names.substr(0, names.find(')'));
            for (std::size_t start = 0; start < names.size();) {
                std::size_t comma = names.find(", ", start);
                if (comma == std::string::npos) comma = names.size();
                keys.push_back(names.substr(start, comma - start));
                start = comma + 2;
            }
            std::vector<std::string> meant = Suggest(rest.substr(unknown.size(), end - unknown.size()), keys);
            if (!meant.empty()) problem.hint = "did you mean \"" + meant.front() + "\"?";
        }
    }
    return problem;
}

int RunCheckCommand(const CommandLine& line, ServiceSession*, Reply& reply) {
    std::vector<std::string> files = line.arguments;
    if (files.empty()) files.push_back(line.dictionary.value_or(DefaultDictionaryPath()));
    const std::uint64_t limit = line.maxSize.value_or(kDefaultDictionaryLimit);
    Json results = Json::array();
    std::size_t errors = 0, warnings = 0;
    for (const std::string& file : files) {
        if (file.empty()) {
            reply.Fail(kExitUsage, "check: an empty file name");
            continue;
        }
        FileCheck check(file, limit);
        check.Run();
        check.Print(reply.Text());
        results.push_back(check.ToJson());
        errors += check.Errors();
        warnings += check.Warnings();
    }
    reply.Document()["files"] = std::move(results);
    reply.Document()["errors"] = errors;
    reply.Document()["warnings"] = warnings;
    if (errors > 0) reply.Raise(kExitDictionary);
    return reply.ExitCode();
}

}  // namespace vantle::tool
