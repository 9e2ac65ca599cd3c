// AssistTestSupport.h: what every test of the assistance service shares.
//
// AssistTest makes the service the way an editor does (GetClassObject, the class
// factory, CreateInstance) next to a fresh fake class tree, and checks after each
// test that the service gave back every reference and string it took and that the
// module lock count is where it was.
#ifndef VANTLE_TESTS_ASSIST_ASSISTTESTSUPPORT_H_
#define VANTLE_TESTS_ASSIST_ASSISTTESTSUPPORT_H_

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>

#include "assist/VantleAssistInterfaces.h"
#include "fixtures/FakeClassTree.h"
#include "kesto/diagnostics.h"
#include "sys/sysCom.h"

using fakes::Text;
using fakes::TreeCall;

// A NUL-terminated 16-bit copy of a literal, for passing strings in.
class W {
public:
    W(const char16_t* text) : m_units(fakes::ToUnits(text)) {}  // NOLINT: implicit on purpose
    operator CBSTR() const { return m_units.c_str(); }

private:
    std::basic_string<unsigned short> m_units;
};

// The text of a string handed out, which is freed; nullopt for NULL.
inline std::optional<Text> Take(BSTR text) {
    if (text == nullptr) return std::nullopt;
    Text converted = fakes::BstrToText(text);
    COM_SysFreeString(text);
    return converted;
}

// A table cell: nullptr stands for "no string at all".
inline std::optional<Text> Opt(const char16_t* text) { return text ? std::optional<Text>(text) : std::nullopt; }

// A result code with the string that came with it.
using Result = std::pair<HRESULT, std::optional<Text>>;
inline Result NoText(HRESULT hr) { return Result(hr, std::nullopt); }

// Names parameterised cases by their `name` field.
inline auto ByName = [](const auto& info) { return std::string(info.param.name); };
const HRESULT kTreeError = static_cast<HRESULT>(0x80670001);

// Calls slot `slot` of an interface's table directly, as an editor compiled against
// the binary contract does. References travel as pointers.
template <typename R, typename... Args>
R CallSlot(void* object, int slot, Args... args) {
    using Function = R (*)(void*, Args...);
    return (*static_cast<Function**>(object))[slot](object, args...);
}

// Runs `call` with the n-th string allocation failing, n = 0, 1, ..., until none is
// injected; `check(result, n)` sees each failing run. Returns the clean result.
template <typename Call, typename Check>
auto UnderStringFailures(Call call, Check check, unsigned long limit) {
    for (unsigned long skip = 0;; ++skip) {
        KESTO_FaultInjectStrings(skip, 1);
        auto result = call();
        bool injected = KESTO_FaultInjectedFailures() > 0;
        KESTO_FaultInjectStrings(0, 0);
        if (!injected || skip >= limit) {
            EXPECT_LT(skip, limit);
            return result;
        }
        check(result, skip);
    }
}

class AssistTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // The service's other interfaces; released in TearDown.
    COM_IVantleAssistEx* AssistEx() { return Query(m_ex, COM_IID_IVantleAssistEx); }
    COM_IVantleAssist2* Assist2() { return Query(m_two, COM_IID_IVantleAssist2); }
    COM_IVantleAssist3* Assist3() { return Query(m_three, COM_IID_IVantleAssist3); }

    void InitializeWithTree() { ASSERT_EQ(assist->Initialize(tree.Manager()), S_OK); }

    fakes::FakeClassTree tree;
    COM_IVantleAssist* assist = nullptr;

private:
    template <typename I>
    I* Query(I*& slot, const COM_GUID& iid) {
        if (slot == nullptr) {
            EXPECT_EQ(assist->QueryInterface(iid, reinterpret_cast<void**>(&slot)), S_OK);
        }
        return slot;
    }

    long m_strings = 0;
    int m_locks = 0;
    COM_IVantleAssistEx* m_ex = nullptr;
    COM_IVantleAssist2* m_two = nullptr;
    COM_IVantleAssist3* m_three = nullptr;
};

#endif  // VANTLE_TESTS_ASSIST_ASSISTTESTSUPPORT_H_
