// Leaks and reference counts at scale: the service, created as an editor creates
// it and initialised over the runtime's tree of the bundled dictionary, answers a
// long deterministic mix of class queries and symbol operations, then everything
// is released. Afterwards the module must be unloadable and every runtime string
// given back. VANTLE_SOAK_OPERATIONS changes the number of operations (default
// 100,000).
#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <vector>

#include "AssistService.h"
#include "kesto/diagnostics.h"

namespace {

// Entries of a comma-terminated list.
std::vector<Units> Entries(const kesto::String& list) {
    std::vector<Units> entries;
    const Units text = UnitsOf(list);
    for (size_t start = 0, comma; (comma = text.find(',', start)) != Units::npos; start = comma + 1) {
        entries.push_back(text.substr(start, comma - start));
    }
    return entries;
}

TEST(ServiceSoakTest, MixedQueriesAndSymbolOperationsLeaveNothingBehind) {
    const long stringsBefore = KESTO_LiveStringCount();
    ASSERT_EQ(CanUnloadNow(), S_OK);
    AssistService service;
    auto& [assist, assistEx, assist2, assist3] = service;
    kesto::Ref<COM_ITNodeManager> manager = NewTree();
    const LoadOutcome loaded = LoadFile(manager.get(), VANTLE_BUNDLED_DICTIONARY);
    ASSERT_EQ(loaded.status, S_OK) << loaded.message;
    ASSERT_EQ(service.Create(), S_OK);
    ASSERT_EQ(assist->Initialize(manager.get()), S_OK);

    // Every member of every class, as the service lists them; a trailing '(' marks a method.
    std::vector<std::pair<Units, Units>> members;
    kesto::String list;
    ASSERT_EQ(assist->GetClassList(W(""), list.out()), S_OK);
    for (const Units& className : Entries(list)) {
        kesto::String listing;
        assist->GetClassMembers(className.c_str(), static_cast<MEMBER_FILTER_FLAGS>(63), listing.out());
        for (Units entry : Entries(listing)) {
            if (!entry.empty() && entry.back() == '(') entry.pop_back();
            members.emplace_back(className, entry);
        }
    }
    list.reset();
    ASSERT_GT(members.size(), 50u) << "the bundled dictionary should give a real workload";
    const W symbolNames[] = {"x", "pCount", "tOrder", "%Text", "INCLUDEINHERITED", "Label1"};
    const W values[] = {"Shop.Order", "TRUE", "FALSE", ""};

    std::mt19937 random(20240601);
    auto pick = [&random](size_t count) { return static_cast<size_t>(random() % count); };
    unsigned long answered[2] = {}, failed = 0, depth = 0;  // [0] queries, [1] symbol operations
    auto count = [&](int group, HRESULT hr) {  // S_FALSE is an answer too: "nothing there"
        if (hr == S_OK) ++answered[group];
        if (FAILED(hr)) ++failed;
    };
    const char* setting = std::getenv("VANTLE_SOAK_OPERATIONS");
    const unsigned long operations = setting && *setting ? std::strtoul(setting, nullptr, 10) : 100000;
    for (unsigned long i = 0; i < operations; ++i) {
        const auto& [className, memberName] = members[pick(members.size())];
        const CBSTR cls = className.c_str(), member = memberName.c_str(), name = symbolNames[pick(6)];
        const auto flags = static_cast<MEMBER_FILTER_FLAGS>(pick(64));
        const auto kind = static_cast<SYMBOL_KIND>(1 + pick(13));
        kesto::String out[3];
        switch (pick(16)) {
            case 0: count(0, assist->GetClassMembers(cls, flags, out[0].out())); break;
            case 1: count(0, assist3->GetClassMembersEx(cls, flags, out[0].out())); break;
            case 2:
            case 3: {
                SYMBOL_KIND typeKind{};
                count(0, assist->GetClassMemberType(cls, member, &typeKind, out[0].out()));
                break;
            }
            case 4:
            case 5:
                count(0, assist->GetMethodSignature(cls, member, pick(4), out[0].out(), out[1].out(), out[2].out()));
                break;
            case 6: {
                const SYMBOL_KIND kinds[] = {SYMBOL_METHOD, SYMBOL_MEMBERMETHOD, SYMBOL_PROPERTY, SYMBOL_CLASSPARAMETER,
                                             SYMBOL_LOCAL};
                count(0, assist2->GetMemberOrigin(cls, member, kinds[pick(5)], out[0].out()));
                break;
            }
            case 7:
                count(0, assist->GetClassList(className.substr(0, pick(className.size() + 1)).c_str(), out[0].out()));
                break;
            case 8:
                count(0, assist->GetClassMembers((className + W("Missing").units()).c_str(), flags, out[0].out()));
                break;
            case 9:
            case 10: count(1, assist->SetSymbol(name, kind, values[pick(4)])); break;
            case 11:
            case 12: {
                ParserLanguage language{};
                count(1, assist->LookupSymbol(name, kind, &language, out[0].out()));
                break;
            }
            case 13: count(1, assist->RemoveSymbol(name, kind)); break;
            case 14: count(1, assist2->GetSymbols(static_cast<unsigned int>(random()), out[0].out())); break;
            default:  // embedded parts open and close, never deeper than eight
                if (depth < 8 && pick(2) == 0) {
                    count(1, assist->OnEmbeddingStart(static_cast<ParserLanguage>(1 + pick(5))));
                    ++depth;
                } else if (depth > 0) {
                    count(1, assist->OnEmbeddingEnd());
                    --depth;
                } else {
                    assistEx->SetRelativeClassName(cls);
                }
        }
    }
    if (operations >= 1000) {  // the mix must have been answered, not merely survived
        EXPECT_GT(answered[0], operations / 4);
        EXPECT_GT(answered[1], operations / 20);
    }
    EXPECT_EQ(failed, 0u);
    EXPECT_EQ(service.Release(), 0u);
    manager.reset();
    EXPECT_EQ(CanUnloadNow(), S_OK) << "an object or a factory reference outlived its release";
    EXPECT_EQ(KESTO_LiveStringCount(), stringsBefore) << "runtime strings were not given back";
}

}  // namespace
