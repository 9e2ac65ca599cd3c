// Leaks and reference counts at scale: the service, created as an editor creates
// it and initialised over the runtime's tree of the bundled dictionary, answers a
// long deterministic mix of class queries and symbol operations, then everything
// is released. Afterwards the module must be unloadable and every runtime string
// given back. VANTLE_SOAK_OPERATIONS changes the number of operations (default
// 100,000).
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "assist/VantleAssistInterfaces.h"
#include "kesto/diagnostics.h"
#include "kesto/tnode.h"
#include "sys/sysCom.h"

namespace {

using Units = std::basic_string<unsigned short>;

Units ToUnits(const std::string& text) { return Units(text.begin(), text.end()); }

Units Take(BSTR text) {
    Units units = text == nullptr ? Units() : Units(text, COM_SysStringLen(text));
    COM_SysFreeString(text);
    return units;
}

// Entries of a comma-terminated list.
std::vector<Units> SplitList(const Units& list) {
    std::vector<Units> entries;
    size_t start = 0;
    for (size_t i = 0; i < list.size(); ++i) {
        if (list[i] == ',') {
            entries.push_back(list.substr(start, i - start));
            start = i + 1;
        }
    }
    return entries;
}

unsigned long OperationCount() {
    const char* text = std::getenv("VANTLE_SOAK_OPERATIONS");
    if (text == nullptr || *text == 0) return 100000;
    return std::strtoul(text, nullptr, 10);
}

struct Member {
    Units className;
    Units name;
    bool method;
};

struct Tally {
    unsigned long answered = 0;  // S_OK
    unsigned long missed = 0;    // S_FALSE
    unsigned long failed = 0;    // anything else
    void Count(HRESULT hr) {
        if (hr == S_OK) ++answered;
        else if (hr == S_FALSE) ++missed;
        else ++failed;
    }
};

class ServiceSoakTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_stringsBefore = KESTO_LiveStringCount();
        ASSERT_EQ(CanUnloadNow(), S_OK);

        ASSERT_EQ(COM_CreateInstance(COM_CLSID_TNodeManager, nullptr, COM_IID_ITNodeManager,
                                     reinterpret_cast<void**>(&m_manager)),
                  S_OK);
        BSTR message = nullptr;
        Units path = ToUnits(VANTLE_BUNDLED_DICTIONARY);
        HRESULT loaded = m_manager->LoadDictionary(path.c_str(), &message);
        Units text = Take(message);
        ASSERT_EQ(loaded, S_OK) << std::string(text.begin(), text.end());

        COM_IClassFactory* factory = nullptr;
        ASSERT_EQ(GetClassObject(COM_CLSID_VantleAssist, COM_IID_IClassFactory, reinterpret_cast<void**>(&factory)),
                  S_OK);
        HRESULT created = factory->CreateInstance(COM_IID_IVantleAssist, reinterpret_cast<void**>(&m_assist));
        factory->Release();
        ASSERT_EQ(created, S_OK);
        ASSERT_EQ(m_assist->QueryInterface(COM_IID_IVantleAssist2, reinterpret_cast<void**>(&m_assist2)), S_OK);
        ASSERT_EQ(m_assist->QueryInterface(COM_IID_IVantleAssist3, reinterpret_cast<void**>(&m_assist3)), S_OK);
        ASSERT_EQ(m_assist->QueryInterface(COM_IID_IVantleAssistEx, reinterpret_cast<void**>(&m_ex)), S_OK);
        ASSERT_EQ(m_assist->Initialize(m_manager), S_OK);
    }

    void TearDown() override {
        for (COM_IUnknown* held : {static_cast<COM_IUnknown*>(m_ex), static_cast<COM_IUnknown*>(m_assist3),
                                   static_cast<COM_IUnknown*>(m_assist2), static_cast<COM_IUnknown*>(m_assist),
                                   static_cast<COM_IUnknown*>(m_manager)}) {
            if (held != nullptr) held->Release();
        }
        EXPECT_EQ(CanUnloadNow(), S_OK) << "an object or a factory reference outlived its release";
        EXPECT_EQ(KESTO_LiveStringCount(), m_stringsBefore) << "runtime strings were not given back";
    }

    // Every member of every class, as the service lists them.
    std::vector<Member> CollectMembers() {
        BSTR list = nullptr;
        EXPECT_EQ(m_assist->GetClassList(ToUnits("").c_str(), &list), S_OK);
        std::vector<Member> members;
        for (const Units& className : SplitList(Take(list))) {
            BSTR names = nullptr;
            auto everything = static_cast<MEMBER_FILTER_FLAGS>(1 | 2 | 4 | 8 | 16 | 32);
            m_assist->GetClassMembers(className.c_str(), everything, &names);
            for (Units entry : SplitList(Take(names))) {
                bool method = !entry.empty() && entry.back() == '(';
                if (method) entry.pop_back();
                members.push_back({className, entry, method});
            }
        }
        return members;
    }

    long m_stringsBefore = 0;
    COM_ITNodeManager* m_manager = nullptr;
    COM_IVantleAssist* m_assist = nullptr;
    COM_IVantleAssist2* m_assist2 = nullptr;
    COM_IVantleAssist3* m_assist3 = nullptr;
    COM_IVantleAssistEx* m_ex = nullptr;
};

TEST_F(ServiceSoakTest, MixedQueriesAndSymbolOperationsLeaveNothingBehind) {
    const std::vector<Member> members = CollectMembers();
    ASSERT_GT(members.size(), 50u) << "the bundled dictionary should give a real workload";
    const std::vector<Units> symbolNames = {ToUnits("x"), ToUnits("pCount"), ToUnits("tOrder"), ToUnits("%Text"),
                                            ToUnits("INCLUDEINHERITED"), ToUnits("Label1")};
    const std::vector<Units> values = {ToUnits("Shop.Order"), ToUnits("TRUE"), ToUnits("FALSE"), ToUnits("")};

    std::mt19937 random(20240601);
    auto pick = [&random](size_t count) { return static_cast<size_t>(random() % count); };
    Tally queries;
    Tally symbols;
    unsigned long embeddingDepth = 0;

    const unsigned long operations = OperationCount();
    for (unsigned long i = 0; i < operations; ++i) {
        const Member& member = members[pick(members.size())];
        const Units& name = symbolNames[pick(symbolNames.size())];
        switch (pick(16)) {
            case 0: {
                BSTR out = nullptr;
                queries.Count(m_assist->GetClassMembers(member.className.c_str(),
                                                        static_cast<MEMBER_FILTER_FLAGS>(pick(64)), &out));
                Take(out);
                break;
            }
            case 1: {
                BSTR out = nullptr;
                queries.Count(m_assist3->GetClassMembersEx(member.className.c_str(),
                                                           static_cast<MEMBER_FILTER_FLAGS>(pick(64)), &out));
                Take(out);
                break;
            }
            case 2:
            case 3: {
                SYMBOL_KIND kind = static_cast<SYMBOL_KIND>(0);
                BSTR type = nullptr;
                queries.Count(m_assist->GetClassMemberType(member.className.c_str(), member.name.c_str(), &kind, &type));
                Take(type);
                break;
            }
            case 4:
            case 5: {
                BSTR before = nullptr;
                BSTR current = nullptr;
                BSTR after = nullptr;
                queries.Count(m_assist->GetMethodSignature(member.className.c_str(), member.name.c_str(), pick(4),
                                                           &before, &current, &after));
                Take(before);
                Take(current);
                Take(after);
                break;
            }
            case 6: {
                static const SYMBOL_KIND kKinds[] = {SYMBOL_METHOD, SYMBOL_MEMBERMETHOD, SYMBOL_PROPERTY,
                                                     SYMBOL_CLASSPARAMETER, SYMBOL_LOCAL};
                BSTR origin = nullptr;
                queries.Count(m_assist2->GetMemberOrigin(member.className.c_str(), member.name.c_str(),
                                                         kKinds[pick(5)], &origin));
                Take(origin);
                break;
            }
            case 7: {
                BSTR list = nullptr;
                Units prefix = member.className.substr(0, pick(member.className.size() + 1));
                queries.Count(m_assist->GetClassList(prefix.c_str(), &list));
                Take(list);
                break;
            }
            case 8: {
                // Names the tree does not know take the error paths.
                BSTR out = nullptr;
                Units unknown = member.className + ToUnits("Missing");
                queries.Count(m_assist->GetClassMembers(unknown.c_str(), static_cast<MEMBER_FILTER_FLAGS>(7), &out));
                Take(out);
                break;
            }
            case 9:
            case 10: {
                auto kind = static_cast<SYMBOL_KIND>(1 + pick(13));
                symbols.Count(m_assist->SetSymbol(name.c_str(), kind, values[pick(values.size())].c_str()));
                break;
            }
            case 11:
            case 12: {
                ParserLanguage language = PARSERLANGUAGE_ROOT;
                BSTR value = nullptr;
                symbols.Count(m_assist->LookupSymbol(name.c_str(), static_cast<SYMBOL_KIND>(1 + pick(13)), &language,
                                                     &value));
                Take(value);
                break;
            }
            case 13:
                symbols.Count(m_assist->RemoveSymbol(name.c_str(), static_cast<SYMBOL_KIND>(1 + pick(13))));
                break;
            case 14: {
                BSTR list = nullptr;
                symbols.Count(m_assist2->GetSymbols(static_cast<unsigned int>(random()), &list));
                Take(list);
                break;
            }
            default:
                // Embedded parts open and close, never deeper than eight.
                if (embeddingDepth < 8 && pick(2) == 0) {
                    symbols.Count(m_assist->OnEmbeddingStart(static_cast<ParserLanguage>(1 + pick(5))));
                    ++embeddingDepth;
                } else if (embeddingDepth > 0) {
                    symbols.Count(m_assist->OnEmbeddingEnd());
                    --embeddingDepth;
                } else {
                    m_ex->SetRelativeClassName(member.className.c_str());
                }
                break;
        }
    }
    while (embeddingDepth-- > 0) EXPECT_EQ(m_assist->OnEmbeddingEnd(), S_OK);

    std::printf("soak: %lu operations; queries %lu answered, %lu missed; symbol operations %lu answered, %lu missed\n",
                operations, queries.answered, queries.missed, symbols.answered, symbols.missed);
    // The mix must have been answered, not merely survived.
    if (operations >= 1000) {
        EXPECT_GT(queries.answered, operations / 4);
        EXPECT_GT(symbols.answered, operations / 20);
    }
    EXPECT_EQ(queries.failed, 0u);
    EXPECT_EQ(symbols.failed, 0u);
}

}  // namespace
