// Query latency of the service over the runtime's real tree, for a class of 50,
// 500 and 5,000 members (own plus inherited through a chain 8 deep).
//
//   build/bench/service_query_bench
//
// The listings are measured against their budget in the same run: the bare walk
// (the same tree calls, children and Next, without the service) and the floor (the
// same sequence of exact-length allocate-and-copy steps that the list's growth
// makes, on plain buffers). Each listing reports service_us, bare_us, floor_us and
// the ratios service/bare and service/(floor + bare); the budget is 1.3.
// All four are CPU time of the benchmark's thread. zero_filled_floor_us is the floor when every new block is cleared before the
// copies, which is what growing through COM_SysAllocStringLen(NULL, n) costs.
#include <benchmark/benchmark.h>

#include <ctime>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <vector>

#include "BenchService.h"
#include "DictionaryGenerator.h"

namespace {


// Per class of the chain: methods, properties, parameters and overridden methods,
// chosen so that the deepest class sees exactly the member count: 8 levels of own
// members, less the 7 hidden copies of each overridden method.
struct ClassShape {
    unsigned members;
    unsigned methods;
    unsigned properties;
    unsigned parameters;
    unsigned overrides;
};
const ClassShape kShapes[] = {{50, 4, 3, 1, 2}, {500, 30, 30, 6, 4}, {5000, 300, 300, 32, 8}};
const unsigned kChainDepth = 8;

struct Fixture {
    vantle::bench::GeneratorOptions options;
    std::unique_ptr<vantle::bench::ServiceOverTree> service;
    Units className;          // the deepest class of the chain
    Units lastProperty;       // last property in the tree's order
    Units lastMethod;         // last method in the tree's order
    std::map<unsigned, Units> methodWithArguments;  // the last method of each argument count
};

Fixture& FixtureFor(unsigned members) {
    static std::map<unsigned, std::unique_ptr<Fixture>> fixtures;
    std::unique_ptr<Fixture>& fixture = fixtures[members];
    if (fixture) return *fixture;
    const ClassShape* shape = nullptr;
    for (const ClassShape& candidate : kShapes) {
        if (candidate.members == members) shape = &candidate;
    }
    vantle::bench::Require(shape != nullptr, "an unknown class size");

    fixture = std::make_unique<Fixture>();
    vantle::bench::GeneratorOptions& options = fixture->options;
    options.classes = kChainDepth;
    options.chainDepth = kChainDepth;
    options.methodsPerClass = shape->methods;
    options.propertiesPerClass = shape->properties;
    options.parametersPerClass = shape->parameters;
    options.overridesPerClass = shape->overrides;
    options.argumentCounts = {1, 10, 40};
    fixture->service = std::make_unique<vantle::bench::ServiceOverTree>(vantle::bench::GenerateDictionary(options));
    fixture->className = W(vantle::bench::GeneratedClassName(options, 0, kChainDepth - 1)).units();

    std::string lastProperty;
    std::string lastMethod;
    std::map<unsigned, std::string> lastWithArguments;
    unsigned methodNumber = 0;
    for (unsigned level = 0; level < kChainDepth; ++level) {
        for (unsigned i = 0; i < options.propertiesPerClass; ++i) {
            lastProperty = std::max(lastProperty, vantle::bench::GeneratedPropertyName(level, i));
        }
        for (unsigned i = 0; i < options.methodsPerClass; ++i, ++methodNumber) {
            std::string name = vantle::bench::GeneratedMethodName(options, level, i);
            lastMethod = std::max(lastMethod, name);
            if (i < options.overridesPerClass) continue;  // which level's copy wins is the tree's business
            unsigned arguments = options.argumentCounts[methodNumber % options.argumentCounts.size()];
            lastWithArguments[arguments] = std::max(lastWithArguments[arguments], name);
        }
    }
    fixture->lastProperty = W(lastProperty).units();
    fixture->lastMethod = W(lastMethod).units();
    for (const auto& [arguments, name] : lastWithArguments) fixture->methodWithArguments[arguments] = W(name).units();

    // The class must really show the member count it was built for.
    kesto::String list;
    fixture->service->assist->GetClassMembers(fixture->className.c_str(), static_cast<MEMBER_FILTER_FLAGS>(31),
                                              list.out());
    unsigned entries = 0;
    for (char16_t unit : list.view()) entries += unit == u',';
    vantle::bench::Require(entries == members, "the generated class does not have the intended member count");
    return *fixture;
}

const MEMBER_FILTER_FLAGS kEveryMember = static_cast<MEMBER_FILTER_FLAGS>(1 | 2 | 4 | 8 | 16);

// The service's tree calls for one listing, without the service.
void BareWalk(COM_ITNodeManager* manager, const Units& className, bool extended) {
    static const Units kEmpty;
    static const Units kClassType = W("23").units();
    static const Units kMethodKind = W("m").units();
    static const Units kPropertyKind = W("a").units();
    static const Units kParameterKind = W("p").units();
    static const Units kMethodQuery = W("2:232:14").units();
    static const Units kMethodQueryEx = W("2:232:142:39").units();
    static const Units kPropertyQuery = W("2:14").units();
    static const Units kPropertyQueryEx = W("2:142:35").units();

    kesto::String normalized;
    manager->NormalizeName(className.c_str(), kEmpty.c_str(), normalized.out());
    kesto::Ref<COM_ITNodeElement> node;
    manager->GetClassNode(normalized.get(), node.out());
    kesto::String classType;
    int a = 0, b = 0, c = 0;
    node->GetKeyword(kClassType.c_str(), classType.out(), &a, &b, &c);
    const std::pair<const Units*, const Units*> sections[] = {
        {&kMethodKind, extended ? &kMethodQueryEx : &kMethodQuery},
        {&kPropertyKind, extended ? &kPropertyQueryEx : &kPropertyQuery},
        {&kParameterKind, &kPropertyQuery}};
    for (const auto& [kind, query] : sections) {
        kesto::Ref<COM_IStringCollection> children;
        node->OpenChildren(kind->c_str(), query->c_str(), 1, children.out());
        kesto::String name;
        kesto::String values;
        while (children->Next(name.out(), values.out()) == S_OK) benchmark::DoNotOptimize(name.get());
    }
}

// The list's growth on plain buffers: each step allocates a block of exactly the
// new length (with a BSTR's prefix and terminator), copies the old text and the
// piece, and frees the old block. With zeroFill the new block is cleared first, as
// an allocation of a string with no text to copy is.
void Floor(const std::vector<Units>& pieces, bool zeroFill) {
    char* block = nullptr;
    size_t length = 0;
    for (const Units& piece : pieces) {
        size_t grown = length + piece.size();
        char* fresh = static_cast<char*>(std::malloc(4 + (grown + 1) * sizeof(unsigned short)));
        unsigned int bytes = static_cast<unsigned int>(grown * sizeof(unsigned short));
        std::memcpy(fresh, &bytes, 4);
        if (zeroFill) std::memset(fresh + 4, 0, grown * sizeof(unsigned short));
        if (length > 0) std::memcpy(fresh + 4, block + 4, length * sizeof(unsigned short));
        std::memcpy(fresh + 4 + length * sizeof(unsigned short), piece.data(), piece.size() * sizeof(unsigned short));
        std::memset(fresh + 4 + grown * sizeof(unsigned short), 0, sizeof(unsigned short));
        std::free(block);
        block = fresh;
        length = grown;
    }
    benchmark::DoNotOptimize(block);
    std::free(block);
}

// The appends that built a list: the plain form appends a name and then "(," or
// ","; the extended form appends a whole entry and then ",".
std::vector<Units> AppendSteps(const Units& list, bool extended) {
    std::vector<Units> steps;
    size_t start = 0;
    for (size_t i = 0; i < list.size(); ++i) {
        if (list[i] != ',') continue;
        Units entry = list.substr(start, i - start);
        start = i + 1;
        if (!extended && !entry.empty() && entry.back() == '(') {
            entry.pop_back();
            steps.push_back(entry);
            steps.push_back(W("(,").units());
        } else {
            steps.push_back(entry);
            steps.push_back(W(",").units());
        }
    }
    return steps;
}

// The machine is shared with builds and fuzzers: the three parts of a listing are
// timed in this thread's CPU time, which preemption does not inflate.
double ThreadSeconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

void Listing(benchmark::State& state, bool extended) {
    Fixture& fixture = FixtureFor(static_cast<unsigned>(state.range(0)));
    auto list = [&](BSTR* out) {
        return extended ? fixture.service->assist3->GetClassMembersEx(fixture.className.c_str(), kEveryMember, out)
                        : fixture.service->assist->GetClassMembers(fixture.className.c_str(), kEveryMember, out);
    };
    kesto::String sample;
    list(sample.out());
    const std::vector<Units> steps = AppendSteps(UnitsOf(sample), extended);

    double service = 0, bare = 0, floor = 0, zeroFilledFloor = 0;
    for (auto _ : state) {
        double t0 = ThreadSeconds();
        kesto::String out;
        list(out.out());
        out.reset();
        double t1 = ThreadSeconds();
        BareWalk(fixture.service->manager.get(), fixture.className, extended);
        double t2 = ThreadSeconds();
        Floor(steps, false);
        double t3 = ThreadSeconds();
        Floor(steps, true);
        double t4 = ThreadSeconds();
        service += t1 - t0;
        bare += t2 - t1;
        floor += t3 - t2;
        zeroFilledFloor += t4 - t3;
        state.SetIterationTime(t1 - t0);
    }
    double n = static_cast<double>(state.iterations());
    state.counters["service_us"] = service / n * 1e6;
    state.counters["bare_us"] = bare / n * 1e6;
    state.counters["floor_us"] = floor / n * 1e6;
    state.counters["zero_filled_floor_us"] = zeroFilledFloor / n * 1e6;
    state.counters["service/bare"] = service / bare;
    state.counters["service/(floor+bare)"] = service / (floor + bare);
    state.counters["members"] = static_cast<double>(state.range(0));
}

void BM_GetClassMembers(benchmark::State& state) { Listing(state, false); }
void BM_GetClassMembersEx(benchmark::State& state) { Listing(state, true); }

// With `firstQuery` the tree's kept answers are dropped before every query, so that
// it packs the enumerations again: what the first query of a class costs.
void MemberType(benchmark::State& state, const Units& member, SYMBOL_KIND expected, bool firstQuery) {
    Fixture& fixture = FixtureFor(static_cast<unsigned>(state.range(0)));
    kesto::Ref<COM_IClassCache> cache;
    HRESULT found = fixture.service->manager->QueryInterface(COM_IID_IClassCache, cache.out_void());
    vantle::bench::Require(found == S_OK, "the tree's class cache");
    for (auto _ : state) {
        if (firstQuery) {
            state.PauseTiming();
            cache->Reset();
            state.ResumeTiming();
        }
        SYMBOL_KIND kind = static_cast<SYMBOL_KIND>(0);
        kesto::String type;
        fixture.service->assist->GetClassMemberType(fixture.className.c_str(), member.c_str(), &kind, type.out());
        vantle::bench::Require(kind == expected, "the member was not found");
    }
}
void BM_GetClassMemberType_LastProperty(benchmark::State& state) {
    MemberType(state, FixtureFor(static_cast<unsigned>(state.range(0))).lastProperty, SYMBOL_PROPERTY, false);
}
void BM_GetClassMemberType_LastMethod(benchmark::State& state) {
    MemberType(state, FixtureFor(static_cast<unsigned>(state.range(0))).lastMethod, SYMBOL_MEMBERMETHOD, false);
}
void BM_GetClassMemberType_LastProperty_FirstQuery(benchmark::State& state) {
    MemberType(state, FixtureFor(static_cast<unsigned>(state.range(0))).lastProperty, SYMBOL_PROPERTY, true);
}
// Walks the methods only: half the children of the last property's walk.
void BM_GetClassMemberType_LastMethod_FirstQuery(benchmark::State& state) {
    MemberType(state, FixtureFor(static_cast<unsigned>(state.range(0))).lastMethod, SYMBOL_MEMBERMETHOD, true);
}

void Origin(benchmark::State& state, const Units& member, SYMBOL_KIND kind) {
    Fixture& fixture = FixtureFor(static_cast<unsigned>(state.range(0)));
    for (auto _ : state) {
        kesto::String origin;
        HRESULT hr = fixture.service->assist2->GetMemberOrigin(fixture.className.c_str(), member.c_str(), kind,
                                                               origin.out());
        vantle::bench::Require(hr == S_OK, "the member's origin was not found");
    }
}
void BM_GetMemberOrigin_LastProperty(benchmark::State& state) {
    Origin(state, FixtureFor(static_cast<unsigned>(state.range(0))).lastProperty, SYMBOL_PROPERTY);
}
void BM_GetMemberOrigin_LastMethod(benchmark::State& state) {
    Origin(state, FixtureFor(static_cast<unsigned>(state.range(0))).lastMethod, SYMBOL_MEMBERMETHOD);
}

// range(0): members; range(1): arguments of the method; range(2): 0 whole, 1 split
// at the middle argument.
void BM_GetMethodSignature(benchmark::State& state) {
    Fixture& fixture = FixtureFor(static_cast<unsigned>(state.range(0)));
    const unsigned arguments = static_cast<unsigned>(state.range(1));
    const Units& method = fixture.methodWithArguments.at(arguments);
    const unsigned long argumentNumber = state.range(2) == 0 ? 0 : (arguments + 1) / 2;
    for (auto _ : state) {
        kesto::String before, current, after;
        HRESULT hr = fixture.service->assist->GetMethodSignature(fixture.className.c_str(), method.c_str(),
                                                                 argumentNumber, before.out(), current.out(),
                                                                 after.out());
        vantle::bench::Require(hr == S_OK, "the method was not found");
    }
}

void Sizes(benchmark::internal::Benchmark* b) {
    for (const ClassShape& shape : kShapes) b->Arg(shape.members);
    b->ArgName("members");
}

void SignatureSizes(benchmark::internal::Benchmark* b) {
    for (const ClassShape& shape : kShapes) {
        for (int arguments : {1, 10, 40}) {
            for (int split : {0, 1}) b->Args({shape.members, arguments, split});
        }
    }
    b->ArgNames({"members", "arguments", "split"});
}

// The targets are medians: each single-member query runs in repetitions.
const int kRepetitions = 5;

BENCHMARK(BM_GetClassMembers)->Apply(Sizes)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_GetClassMembersEx)->Apply(Sizes)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_GetClassMemberType_LastProperty)->Apply(Sizes)->Repetitions(kRepetitions)->ReportAggregatesOnly(true)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_GetClassMemberType_LastMethod)->Apply(Sizes)->Repetitions(kRepetitions)->ReportAggregatesOnly(true)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_GetClassMemberType_LastProperty_FirstQuery)->Apply(Sizes)->Repetitions(kRepetitions)->ReportAggregatesOnly(true)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_GetClassMemberType_LastMethod_FirstQuery)->Apply(Sizes)->Repetitions(kRepetitions)->ReportAggregatesOnly(true)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_GetMemberOrigin_LastProperty)->Apply(Sizes)->Repetitions(kRepetitions)->ReportAggregatesOnly(true)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_GetMemberOrigin_LastMethod)->Apply(Sizes)->Repetitions(kRepetitions)->ReportAggregatesOnly(true)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_GetMethodSignature)->Apply(SignatureSizes)->Repetitions(kRepetitions)->ReportAggregatesOnly(true)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
