// Deterministic class dictionaries for benchmarks.
#include "DictionaryGenerator.h"

namespace vantle::bench {
namespace {

// Names are built by appending: GCC 12 at -O3 warns falsely (-Wrestrict) about
// "literal" + std::string, which inserts at the front.
template <typename... Parts>
std::string Concat(const Parts&... parts) {
    std::string text;
    (text += ... += parts);
    return text;
}

// One argument of each form, cycled; %d is replaced by the argument's number.
const char* const kArgumentForms[] = {
    "pA%d",
    "pA%d:%Text",
    "pA%d:%Count=5",
    "pA%d:%Text=\"x,y\"",
    "&pA%d:%Count",
    ".pA%d:%Text",
    "*pA%d:%Result",
    "pA%d:%Text(MAXLEN=50)",
    "pA%d:%Text=NULL",
    "pA%d:%Date=$now",
    "pA%d:%Text(VALUELIST=\",a,b\")=\"a\"",
    "pA%d:%Numeric=-1.5",
};

const char* const kPropertyTypes[] = {"%Text", "%Count", "%Money", "%Date"};
const char* const kCollections[] = {"", "list", "array", ""};
const char* const kCardinalities[] = {"one", "many", "parent", "children"};

void AppendJsonString(std::string& out, const std::string& text) {
    out += '"';
    for (char c : text) {
        if (c == '"' || c == '\\') out += '\\';
        out += c;
    }
    out += '"';
}

void AppendField(std::string& out, const char* key, const std::string& value) {
    out += ", \"";
    out += key;
    out += "\": ";
    AppendJsonString(out, value);
}

}  // namespace

std::string GeneratedFormalSpec(unsigned arguments) {
    std::string formalSpec;
    constexpr unsigned kForms = sizeof kArgumentForms / sizeof kArgumentForms[0];
    for (unsigned i = 0; i < arguments; ++i) {
        if (i > 0) formalSpec += ',';
        std::string form = kArgumentForms[i % kForms];
        form.replace(form.find("%d"), 2, std::to_string(i + 1));
        formalSpec += form;
    }
    return formalSpec;
}

std::string GeneratedClassName(const GeneratorOptions& options, unsigned chain, unsigned level) {
    return options.package + Concat(".C", std::to_string(chain), "L", std::to_string(level));
}

std::string GeneratedMethodName(const GeneratorOptions& options, unsigned level, unsigned index) {
    if (index < options.overridesPerClass) return Concat("Shared", std::to_string(index));
    return Concat("M", std::to_string(level), "x", std::to_string(index));
}

std::string GeneratedPropertyName(unsigned level, unsigned index) {
    return Concat("P", std::to_string(level), "x", std::to_string(index));
}

std::string GeneratedParameterName(unsigned level, unsigned index) {
    return Concat("PARAM", std::to_string(level), "X", std::to_string(index));
}

unsigned long GeneratedMemberCount(const GeneratorOptions& options) {
    return static_cast<unsigned long>(options.classes) *
           (options.methodsPerClass + options.propertiesPerClass + options.parametersPerClass);
}

std::string GenerateDictionary(const GeneratorOptions& options) {
    const unsigned depth = options.chainDepth == 0 ? 1 : options.chainDepth;
    std::vector<std::string> specs;
    for (unsigned count : options.argumentCounts) specs.push_back(GeneratedFormalSpec(count));
    if (specs.empty()) specs.emplace_back();

    std::string out;
    out.reserve(GeneratedMemberCount(options) * 160 + 1024);
    out += "{\"format\": \"vantle-class-dictionary/1\", \"classes\": [\n";
    unsigned methodNumber = 0;
    for (unsigned n = 0; n < options.classes; ++n) {
        const unsigned chain = n / depth;
        const unsigned level = n % depth;
        out += n == 0 ? "" : ",\n";
        out += "{\"name\": ";
        AppendJsonString(out, GeneratedClassName(options, chain, level));
        if (level > 0) {
            out += ", \"super\": [";
            AppendJsonString(out, GeneratedClassName(options, chain, level - 1));
            out += "]";
        }
        out += ", \"classType\": \"persistent\"";
        if (options.descriptions)
            AppendField(out, "description", Concat("Generated class at level ", std::to_string(level)));
        out += ",\n \"methods\": [";
        for (unsigned i = 0; i < options.methodsPerClass; ++i, ++methodNumber) {
            out += i == 0 ? "\n  {\"name\": " : ",\n  {\"name\": ";
            AppendJsonString(out, GeneratedMethodName(options, level, i));
            if (i % 3 == 0) out += ", \"classMethod\": true";
            if (i % 5 == 4) out += ", \"private\": true";
            if (i % 7 == 6) out += ", \"internal\": true";
            AppendField(out, "returnType", kPropertyTypes[i % 4]);
            AppendField(out, "formalSpec", specs[methodNumber % specs.size()]);
            if (options.descriptions)
                AppendField(out, "description", Concat("Method ", std::to_string(i), " of the class"));
            out += "}";
        }
        out += "],\n \"properties\": [";
        for (unsigned i = 0; i < options.propertiesPerClass; ++i) {
            out += i == 0 ? "\n  {\"name\": " : ",\n  {\"name\": ";
            AppendJsonString(out, GeneratedPropertyName(level, i));
            AppendField(out, "type", kPropertyTypes[i % 4]);
            if (*kCollections[i % 4]) AppendField(out, "collection", kCollections[i % 4]);
            if (i % 6 == 5) {
                out += ", \"relationship\": true";
                AppendField(out, "cardinality", kCardinalities[(i / 6) % 4]);
            }
            if (i % 5 == 4) out += ", \"private\": true";
            if (options.descriptions) AppendField(out, "description", Concat("Property ", std::to_string(i)));
            out += "}";
        }
        out += "],\n \"parameters\": [";
        for (unsigned i = 0; i < options.parametersPerClass; ++i) {
            out += i == 0 ? "\n  {\"name\": " : ",\n  {\"name\": ";
            AppendJsonString(out, GeneratedParameterName(level, i));
            AppendField(out, "default", std::to_string(i));
            out += "}";
        }
        out += "]}";
    }
    out += "\n]}\n";
    return out;
}

}  // namespace vantle::bench
