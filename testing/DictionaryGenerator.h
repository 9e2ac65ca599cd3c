// DictionaryGenerator: class dictionaries of any size, for benchmarks and tests.
//
// Classes come in inheritance chains: level 0 of a chain has no super class, level
// k inherits from level k-1, so the deepest class of a chain of depth d sees the
// members of all d levels. Every class defines the same number of methods,
// properties and class parameters; the first `overridesPerClass` methods of each
// level reuse the names of the level above (overrides), the others are new names.
// Methods cycle through the argument counts given, and their arguments through
// every form a formal argument list can hold (plain, typed, number / quoted / NULL /
// expression defaults, ByRef with "&" and ".", Output with "*", type parameters).
// The output is deterministic: the same options give the same text.
#ifndef VANTLE_BENCH_DICTIONARYGENERATOR_H_
#define VANTLE_BENCH_DICTIONARYGENERATOR_H_

#include <string>
#include <vector>

namespace vantle::bench {

struct GeneratorOptions {
    unsigned classes = 1000;          // total; the last chain may be shorter
    unsigned chainDepth = 8;          // classes per inheritance chain (1: no inheritance)
    unsigned methodsPerClass = 6;
    unsigned propertiesPerClass = 3;
    unsigned parametersPerClass = 1;
    unsigned overridesPerClass = 1;   // methods that override the level above
    std::vector<unsigned> argumentCounts = {1, 10, 40};
    std::string package = "Gen";
    bool descriptions = true;
};

// The whole dictionary as JSON.
std::string GenerateDictionary(const GeneratorOptions& options);

// Members defined in the file (each class's own, summed).
unsigned long GeneratedMemberCount(const GeneratorOptions& options);

// Names the generator gives: class `level` of chain `chain` ("Gen.C12L7"), and the
// i-th method / property / parameter of a class at `level`.
std::string GeneratedClassName(const GeneratorOptions& options, unsigned chain, unsigned level);
std::string GeneratedMethodName(const GeneratorOptions& options, unsigned level, unsigned index);
std::string GeneratedPropertyName(unsigned level, unsigned index);
std::string GeneratedParameterName(unsigned level, unsigned index);

// A formal argument list of `arguments` arguments cycling through every argument form.
std::string GeneratedFormalSpec(unsigned arguments);

}  // namespace vantle::bench

#endif  // VANTLE_BENCH_DICTIONARYGENERATOR_H_
