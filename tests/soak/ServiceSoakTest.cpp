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

#include "vantle/assist.h"
#include "TestText.h"
#include "kesto/diagnostics.h"
#include "kesto/tnode.h"
#include "sysCom.h"

namespace {

// Entries of a comma-terminated list handed out, which is freed.
std::vector<Units> TakeList(BSTR list) {
    std::vector<Units> entries;
    Units text = list == nullptr ? Units() : Units(list, COM_SysStringLen(list));
    COM_SysFreeString(list);
    for (size_t start = 0, comma; (comma = text.find(',', start)) != Units::npos; start = comma + 1) {
        entries.push_back(text.substr(start, comma - start));
    }
    return entries;
}

TEST(ServiceSoakTest, MixedQueriesAndSymbolOperationsLeaveNothingBehind) {
    const long stringsBefore = KESTO_LiveStringCount();
    ASSERT_EQ(CanUnloadNow(), S_OK);
    COM_ITNodeManager* manager = nullptr;
    COM_IClassFactory* factory = nullptr;
    COM_IVantleAssist* assist = nullptr;
    COM_IVantleAssist2* assist2 = nullptr;
    COM_IVantleAssist3* assist3 = nullptr;
    COM_IVantleAssistEx* assistEx = nullptr;
    auto slot = [](auto** pointer) { return reinterpret_cast<void**>(pointer); };
    ASSERT_EQ(COM_CreateInstance(COM_CLSID_TNodeManager, nullptr, COM_IID_ITNodeManager, slot(&manager)), S_OK);
    BSTR message = nullptr;
    ASSERT_EQ(manager->LoadDictionary(W(VANTLE_BUNDLED_DICTIONARY), &message), S_OK) << Take(message);
    ASSERT_EQ(GetClassObject(COM_CLSID_VantleAssist, COM_IID_IClassFactory, slot(&factory)), S_OK);
    ASSERT_EQ(factory->CreateInstance(COM_IID_IVantleAssist, slot(&assist)), S_OK);
    factory->Release();
    ASSERT_EQ(assist->QueryInterface(COM_IID_IVantleAssist2, slot(&assist2)), S_OK);
    ASSERT_EQ(assist->QueryInterface(COM_IID_IVantleAssist3, slot(&assist3)), S_OK);
    ASSERT_EQ(assist->QueryInterface(COM_IID_IVantleAssistEx, slot(&assistEx)), S_OK);
    ASSERT_EQ(assist->Initialize(manager), S_OK);

    // Every member of every class, as the service lists them; a trailing '(' marks a method.
    std::vector<std::pair<Units, Units>> members;
    BSTR list = nullptr;
    ASSERT_EQ(assist->GetClassList(W(""), &list), S_OK);
    for (const Units& className : TakeList(list)) {
        assist->GetClassMembers(className.c_str(), static_cast<MEMBER_FILTER_FLAGS>(63), &list);
        for (Units entry : TakeList(list)) {
            if (!entry.empty() && entry.back() == '(') entry.pop_back();
            members.emplace_back(className, entry);
        }
    }
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
        BSTR out[3] = {};
        switch (pick(16)) {
            case 0: count(0, assist->GetClassMembers(cls, flags, &out[0])); break;
            case 1: count(0, assist3->GetClassMembersEx(cls, flags, &out[0])); break;
            case 2:
            case 3: {
                SYMBOL_KIND typeKind{};
                count(0, assist->GetClassMemberType(cls, member, &typeKind, &out[0]));
                break;
            }
            case 4:
            case 5: count(0, assist->GetMethodSignature(cls, member, pick(4), &out[0], &out[1], &out[2])); break;
            case 6: {
                const SYMBOL_KIND kinds[] = {SYMBOL_METHOD, SYMBOL_MEMBERMETHOD, SYMBOL_PROPERTY, SYMBOL_CLASSPARAMETER,
                                             SYMBOL_LOCAL};
                count(0, assist2->GetMemberOrigin(cls, member, kinds[pick(5)], &out[0]));
                break;
            }
            case 7: count(0, assist->GetClassList(className.substr(0, pick(className.size() + 1)).c_str(), out)); break;
            case 8: count(0, assist->GetClassMembers((className + W("Missing").units()).c_str(), flags, out)); break;
            case 9:
            case 10: count(1, assist->SetSymbol(name, kind, values[pick(4)])); break;
            case 11:
            case 12: {
                ParserLanguage language{};
                count(1, assist->LookupSymbol(name, kind, &language, &out[0]));
                break;
            }
            case 13: count(1, assist->RemoveSymbol(name, kind)); break;
            case 14: count(1, assist2->GetSymbols(static_cast<unsigned int>(random()), &out[0])); break;
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
        for (BSTR text : out) COM_SysFreeString(text);
    }
    if (operations >= 1000) {  // the mix must have been answered, not merely survived
        EXPECT_GT(answered[0], operations / 4);
        EXPECT_GT(answered[1], operations / 20);
    }
    EXPECT_EQ(failed, 0u);
    for (COM_IUnknown* held : std::initializer_list<COM_IUnknown*>{assistEx, assist3, assist2, assist, manager}) {
        held->Release();
    }
    EXPECT_EQ(CanUnloadNow(), S_OK) << "an object or a factory reference outlived its release";
    EXPECT_EQ(KESTO_LiveStringCount(), stringsBefore) << "runtime strings were not given back";
}

}  // namespace
