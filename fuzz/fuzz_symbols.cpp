// Sequences of symbol and scope operations on the service, ends without starts
// included, checked against a plain model of the scope chain.
//
// The model is what an editor relies on: changes touch the innermost scope only;
// a lookup walks outward and the first scope holding the name with that kind
// answers, with its language; a listing gives matching names innermost scope first,
// each scope in name order (the byte order of the 16-bit units as they lie in
// memory), kinds 1 to 11 by filter bit kind-1; an end without a start keeps the
// root. Kinds outside the slots are refused. Now and then string allocations fail
// on purpose: then the model is off and only safety and leaks are checked.
#include <array>
#include <cstring>
#include <map>
#include <optional>
#include <vector>

#include "FuzzService.h"


namespace {

const int kSlots = 14;

// Byte-wise order of the units as they lie in memory, then the shorter first.
struct MemoryOrder {
    bool operator()(const Units& a, const Units& b) const {
        size_t common = std::min(a.size(), b.size());
        int bytes = std::memcmp(a.data(), b.data(), common * sizeof(unsigned short));
        if (bytes != 0) return bytes < 0;
        return a.size() < b.size();
    }
};

struct Scope {
    int language = 0;
    std::map<Units, std::array<std::optional<Units>, kSlots>, MemoryOrder> symbols;
};

class Model {
public:
    Model() : m_scopes(1) {}

    void Set(const Units& name, int kind, const Units& value) { m_scopes.back().symbols[name][kind] = value; }
    void Remove(const Units& name, int kind) {
        auto& symbols = m_scopes.back().symbols;
        auto found = symbols.find(name);
        if (found == symbols.end()) return;
        found->second[kind].reset();
        for (const auto& slot : found->second) {
            if (slot.has_value()) return;
        }
        symbols.erase(found);
    }
    // The answering scope's language and value, or nothing.
    std::optional<std::pair<int, Units>> Lookup(const Units& name, int kind) const {
        for (auto scope = m_scopes.rbegin(); scope != m_scopes.rend(); ++scope) {
            auto found = scope->symbols.find(name);
            if (found != scope->symbols.end() && found->second[kind].has_value()) {
                return std::make_pair(scope->language, *found->second[kind]);
            }
        }
        return std::nullopt;
    }
    void Push(int language) {
        m_scopes.emplace_back();
        m_scopes.back().language = language;
    }
    void Pop() {
        if (m_scopes.size() > 1) m_scopes.pop_back();
    }
    Units List(unsigned int filter) const {
        Units list;
        for (auto scope = m_scopes.rbegin(); scope != m_scopes.rend(); ++scope) {
            for (const auto& [name, slots] : scope->symbols) {
                bool selected = false;
                for (int kind = 1; kind <= 11; ++kind) {
                    if ((filter & (1u << (kind - 1))) != 0 && slots[kind].has_value()) selected = true;
                }
                if (selected) list += name + Units(1, ',');
            }
        }
        return list;
    }

private:
    std::vector<Scope> m_scopes;
};

Units ConsumeName(FuzzedDataProvider& input) {
    static const char* const kNames[] = {"x", "X", "a", "b", "B", "Abc", "abc", "", "INCLUDEINHERITED", "%Text"};
    unsigned char pick = input.ConsumeIntegral<unsigned char>();
    if (pick < 220) return W(kNames[pick % (sizeof(kNames) / sizeof(kNames[0]))]).units();
    return vantle::fuzz::ConsumeUnits(input, 6);
}

int ConsumeKind(FuzzedDataProvider& input) {
    unsigned char pick = input.ConsumeIntegral<unsigned char>();
    if (pick < 240) return pick % kSlots;
    static const int kOutside[] = {14, 15, 63, 64, 65, -1, 0x7FFFFFFF, static_cast<int>(0x80000000u)};
    return kOutside[pick % (sizeof(kOutside) / sizeof(kOutside[0]))];
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    vantle::fuzz::LiveStringGuard strings;
    FuzzedDataProvider input(data, size);
    vantle::fuzz::ServiceUnderTest service;
    COM_IVantleAssist* assist = service.assist.get();
    Model model;

    bool faults = input.ConsumeIntegralInRange<int>(0, 7) == 0;
    if (faults) {
        KESTO_FaultInjectStrings(input.ConsumeIntegralInRange<unsigned long>(0, 40),
                                 input.ConsumeIntegralInRange<unsigned long>(1, 3));
    }
    const bool checked = !faults;

    for (int step = 0; step < 64 && input.remaining_bytes() > 0; ++step) {
        Units name = ConsumeName(input);
        int kind = ConsumeKind(input);
        bool validKind = kind >= 0 && kind < kSlots;
        SYMBOL_KIND symbolKind = static_cast<SYMBOL_KIND>(kind);
        switch (input.ConsumeIntegralInRange<int>(0, 7)) {
            case 0:
            case 1: {
                Units value = vantle::fuzz::ConsumeUnits(input, 10);
                bool nullValue = input.ConsumeIntegralInRange<int>(0, 9) == 0;
                HRESULT hr = assist->SetSymbol(name.c_str(), symbolKind, nullValue ? nullptr : value.c_str());
                if (checked) FUZZ_CHECK((hr == S_OK) == validKind, "SetSymbol accepted a bad kind or refused a good one");
                if (checked && validKind) model.Set(name, kind, nullValue ? Units() : value);
                break;
            }
            case 2: {
                HRESULT hr = assist->RemoveSymbol(name.c_str(), symbolKind);
                if (checked) FUZZ_CHECK((hr == S_OK) == validKind, "RemoveSymbol");
                if (checked && validKind) model.Remove(name, kind);
                break;
            }
            case 3:
            case 4: {
                ParserLanguage language = static_cast<ParserLanguage>(-7);
                kesto::String value;
                HRESULT hr = assist->LookupSymbol(name.c_str(), symbolKind, &language, value.out());
                if (!checked) break;
                if (!validKind) {
                    FUZZ_CHECK(FAILED(hr) && value.get() == nullptr, "LookupSymbol of a bad kind");
                    break;
                }
                auto expected = model.Lookup(name, kind);
                if (expected) {
                    FUZZ_CHECK(hr == S_OK, "LookupSymbol missed a symbol in scope");
                    FUZZ_CHECK(language == expected->first, "LookupSymbol named the wrong scope's language");
                    FUZZ_CHECK(UnitsOf(value) == expected->second, "LookupSymbol answered the wrong value");
                } else {
                    FUZZ_CHECK(hr == S_FALSE && value.get() == nullptr, "LookupSymbol found a symbol out of scope");
                    FUZZ_CHECK(language == static_cast<ParserLanguage>(-7), "a failed lookup wrote a language");
                }
                break;
            }
            case 5: {
                int language = input.ConsumeIntegral<int>();
                HRESULT hr = assist->OnEmbeddingStart(static_cast<ParserLanguage>(language));
                if (checked) FUZZ_CHECK(hr == S_OK, "OnEmbeddingStart");
                if (checked) model.Push(language);
                break;
            }
            case 6:
                FUZZ_CHECK(assist->OnEmbeddingEnd() == S_OK, "OnEmbeddingEnd");
                model.Pop();
                break;
            default: {
                unsigned int filter = input.ConsumeBool() ? input.ConsumeIntegral<unsigned int>() : 0x7FFu;
                kesto::String list;
                HRESULT hr = service.assist2->GetSymbols(filter, list.out());
                if (!checked) break;
                Units expected = model.List(filter);
                FUZZ_CHECK(UnitsOf(list) == expected, "GetSymbols listed the wrong names");
                FUZZ_CHECK(hr == (expected.empty() ? S_FALSE : S_OK), "GetSymbols' result");
                if (expected.empty()) FUZZ_CHECK(list.get() == nullptr, "an empty listing is not NULL");
                break;
            }
        }
    }
    KESTO_FaultInjectStrings(0, 0);
    return 0;
}
