// vantle-gen-dictionary: writes a generated class dictionary (see
// DictionaryGenerator.h) to a file or standard output.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>

#include "DictionaryGenerator.h"

namespace {

const char kUsage[] =
    "Usage: vantle-gen-dictionary [--classes N] [--depth D] [--methods M] [--properties P]\n"
    "                             [--parameters Q] [--overrides K] [--args 1,10,40]\n"
    "                             [--package NAME] [--no-descriptions] [--out FILE]\n"
    "Writes a class dictionary of N classes in inheritance chains D deep, each class\n"
    "with M methods, P properties and Q class parameters (defaults: 1000, 8, 6, 3, 1).\n";

bool ParseCount(const char* text, unsigned* value) {
    char* end = nullptr;
    unsigned long parsed = std::strtoul(text, &end, 10);
    if (end == text || *end != '\0' || parsed > 100000000ul || text[0] == '-') return false;
    *value = static_cast<unsigned>(parsed);
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    vantle::bench::GeneratorOptions options;
    std::string outPath;
    for (int i = 1; i < argc; ++i) {
        std::string option = argv[i];
        const char* value = i + 1 < argc ? argv[i + 1] : nullptr;
        unsigned* count = option == "--classes"      ? &options.classes
                          : option == "--depth"      ? &options.chainDepth
                          : option == "--methods"    ? &options.methodsPerClass
                          : option == "--properties" ? &options.propertiesPerClass
                          : option == "--parameters" ? &options.parametersPerClass
                          : option == "--overrides"  ? &options.overridesPerClass
                                                     : nullptr;
        if (option == "--help" || option == "-h") {
            std::cout << kUsage;
            return 0;
        } else if (option == "--no-descriptions") {
            options.descriptions = false;
            continue;
        } else if (value == nullptr) {
            std::cerr << kUsage;
            return 2;
        } else if (count != nullptr) {
            if (!ParseCount(value, count)) {
                std::cerr << "vantle-gen-dictionary: " << option << " needs a whole number\n";
                return 2;
            }
        } else if (option == "--args") {
            options.argumentCounts.clear();
            std::string list = value;
            for (std::size_t start = 0; start <= list.size();) {
                std::size_t comma = list.find(',', start);
                std::string item = list.substr(start, comma == std::string::npos ? std::string::npos : comma - start);
                unsigned n = 0;
                if (!ParseCount(item.c_str(), &n)) {
                    std::cerr << "vantle-gen-dictionary: --args needs numbers like 1,10,40\n";
                    return 2;
                }
                options.argumentCounts.push_back(n);
                if (comma == std::string::npos) break;
                start = comma + 1;
            }
        } else if (option == "--package") {
            options.package = value;
        } else if (option == "--out") {
            outPath = value;
        } else {
            std::cerr << "vantle-gen-dictionary: unknown option " << option << "\n" << kUsage;
            return 2;
        }
        ++i;
    }
    std::string text = vantle::bench::GenerateDictionary(options);
    if (outPath.empty()) {
        std::cout << text;
        return std::cout ? 0 : 1;
    }
    std::FILE* file = std::fopen(outPath.c_str(), "wb");
    if (file == nullptr || std::fwrite(text.data(), 1, text.size(), file) != text.size() || std::fclose(file) != 0) {
        std::cerr << "vantle-gen-dictionary: cannot write " << outPath << ": " << std::strerror(errno) << "\n";
        return 1;
    }
    std::cerr << "wrote " << outPath << ": " << options.classes << " classes, "
              << vantle::bench::GeneratedMemberCount(options) << " members, " << text.size() << " bytes\n";
    return 0;
}
