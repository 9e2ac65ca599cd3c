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
#include <utility>
#include <string>

#include "assist/VantleAssistInterfaces.h"
#include "fixtures/FakeClassTree.h"
#include "kesto/diagnostics.h"
#include "sys/sysCom.h"

using fakes::Text;

// A NUL-terminated 16-bit copy of a literal, for passing strings in.
class W {
public:
    W(const char16_t* text) : m_units(fakes::ToUnits(text)) {}  // NOLINT: implicit on purpose
    W(const Text& text) : m_units(fakes::ToUnits(text)) {}      // NOLINT
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

// A result code with the string that came with it (nullopt for NULL).
using Result = std::pair<HRESULT, std::optional<Text>>;
inline Result NoText(HRESULT hr) { return Result(hr, std::nullopt); }
inline Result WithText(HRESULT hr, const Text& text) { return Result(hr, text); }

// For failure messages: code units below 128 as they are, others as '?'.
inline std::string Narrow(const Text& text) {
    std::string narrow;
    for (char16_t unit : text) narrow.push_back(unit < 128 ? static_cast<char>(unit) : '?');
    return narrow;
}

// Calls slot `slot` of an interface's table directly, as an editor compiled against
// the binary contract does. References travel as pointers.
template <typename R, typename... Args>
R CallSlot(void* object, int slot, Args... args) {
    using Function = R (*)(void*, Args...);
    Function* table = *static_cast<Function**>(object);
    return table[slot](object, args...);
}

class AssistTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // The service's other interfaces; released in TearDown.
    COM_IVantleAssistEx* AssistEx();
    COM_IVantleAssist2* Assist2();
    COM_IVantleAssist3* Assist3();

    void InitializeWithTree() { ASSERT_EQ(assist->Initialize(tree.Manager()), S_OK); }

    fakes::FakeClassTree tree;
    COM_IVantleAssist* assist = nullptr;

private:
    template <typename I>
    I* Query(I*& slot, const COM_GUID& iid);

    long m_strings = 0;
    int m_locks = 0;
    COM_IVantleAssistEx* m_ex = nullptr;
    COM_IVantleAssist2* m_two = nullptr;
    COM_IVantleAssist3* m_three = nullptr;
};

#endif  // VANTLE_TESTS_ASSIST_ASSISTTESTSUPPORT_H_
