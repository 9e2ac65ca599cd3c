// LspTestSupport.h: a small class dictionary, loaded from memory into a tree of
// its own for each test, and the Assistant over it. The component is created as the
// server creates it, from the library beside the tests (the registry is a file that
// does not exist).
#ifndef VANTLE_TESTS_LSP_LSPTESTSUPPORT_H_
#define VANTLE_TESTS_LSP_LSPTESTSUPPORT_H_

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "bridge/Assistant.h"
#include "kesto/owned.h"
#include "kesto/tnode.h"

namespace lsp_test {

// Short names resolve against Shop.Invoice's package or the import Util; the
// parameters of Shop.Order sort after its properties, so the listing does not say
// where one run ends.
inline constexpr const char* kDictionary = R"json({"format": "vantle-class-dictionary/1", "classes": [
  {"name": "%Library.Text"},
  {"name": "Shop.Order", "description": "An order.",
   "methods": [
     {"name": "Save", "returnType": "%Status",
      "formalSpec": "pName:%Text=\"ä,b\",&pCount:%Integer,pMode:%Text(VALUES=(1,2))"},
     {"name": "Find", "classMethod": true, "returnType": "Shop.Order", "formalSpec": "pId:%Text"},
     {"name": "Secret", "private": true}],
   "properties": [{"name": "Lines", "type": "%Text", "collection": "list"}, {"name": "Total", "type": "%Text"}],
   "parameters": [{"name": "VERSION", "default": "1"}, {"name": "Zeta"}]},
  {"name": "Shop.Order.Line", "methods": [{"name": "Qty"}]},
  {"name": "Shop.Invoice", "super": ["Order"]},
  {"name": "Util.Format", "methods": [{"name": "Pad", "formalSpec": "pText:%Text,pWidth:%Integer"}]}]})json";

inline kesto::Ref<COM_ITNodeManager> LoadTree(const std::string& json = kDictionary) {
    kesto::Ref<COM_ITNodeManager> tree;
    EXPECT_EQ(COM_CreateInstance(COM_CLSID_TNodeManager, nullptr, COM_IID_ITNodeManager, tree.out_void()), S_OK);
    kesto::String message;
    const auto size = static_cast<unsigned long>(json.size());
    EXPECT_EQ(tree->LoadDictionaryBuffer(json.data(), size, kesto::wide(u"test.json"), message.out()), S_OK);
    return tree;
}

inline void UseNoRegistry() { setenv("KESTO_REGISTRY", "/nonexistent/vantle-lsp-test/registry.db", 1); }

// The Assistant on the test dictionary, editing Shop.Invoice, importing Util.
class WithAssistant : public testing::Test {
protected:
    void SetUp() override {
        UseNoRegistry();
        std::string error;
        ASSERT_TRUE(assistant.Create(&error)) << error;
        assistant.Adopt(LoadTree());
        assistant.Configure({u"Util", 7, true});
        assistant.SetRelativeClass(u"Shop.Invoice");
    }
    vantle::lsp::Assistant assistant;
};

}  // namespace lsp_test

#endif  // VANTLE_TESTS_LSP_LSPTESTSUPPORT_H_
