// The tree manager: creation, interfaces, class lookup, name normalisation and the
// class cache.
#include <gtest/gtest.h>

#include "AssistService.h"
#include "StringBalanceTest.h"

namespace {

const char kClasses[] = R"({"classes": [
  {"name": "%Library.Text"}, {"name": "%Library.Count"},
  {"name": "Shop.Order"}, {"name": "Shop.Line"}, {"name": "Shop.Orders.Archive"},
  {"name": "Util.Money"}, {"name": "Util.Line"}, {"name": "Lib.Money"}, {"name": "Lib.Tax"},
  {"name": "TopLevel"}]})";

class Manager : public StringBalanceTest {
protected:
    void SetUp() override {
        ASSERT_TRUE(manager_);
        ASSERT_EQ(Load(manager_.get(), kClasses).status, S_OK);
        ASSERT_EQ(manager_->QueryInterface(COM_IID_IClassCache, cache_.out_void()), S_OK);
    }

    std::string Normalize(const char* name, const char* relativeTo, HRESULT expected = S_OK) {
        BSTR out = reinterpret_cast<BSTR>(1);
        EXPECT_EQ(manager_->NormalizeName(W(name), W(relativeTo), &out), expected) << name;
        return Take(out);
    }

    kesto::Ref<COM_ITNodeManager> manager_ = NewTree();
    kesto::Ref<COM_IClassCache> cache_;
};

TEST_F(Manager, NormalizesShortNamesAndRefusesNamesThatCannotBeClassNames) {
    struct Case {
        const char *name, *relativeTo, *imports, *expected;
    };
    const Case cases[] = {
        {"No.Such.Class", "", "", "No.Such.Class"},             // holding ".": full already, even when unknown
        {"%Unknown", "Shop.Order", "", "%Library.Unknown"},     // "%" short form
        {"Line", "Shop.Order", "Util", "Shop.Line"},            // relative package first
        {"Money", "Shop.Order", "Lib, Util", "Lib.Money"},      // then the first import that has it; blanks ignored
        {"Tax", "Shop.Order", "Util,Lib", "Lib.Tax"},
        {"Nothing", "Shop.Order", "Util,Lib", "Shop.Nothing"},  // nowhere: relative package anyway
        {"Nothing", "", "Util", "Nothing"},                     // no package at all: the name itself
        {"Money", "TopLevel", "Util", "Util.Money"},            // relativeTo without a package
        {"Order", "Shop.Orders.Archive", "", "Shop.Orders.Order"},  // the package ends at the last "."
    };
    for (const Case& c : cases) {
        ASSERT_EQ(cache_->SetImportPackageList(W(c.imports)), S_OK);
        EXPECT_EQ(Normalize(c.name, c.relativeTo), c.expected) << c.name << " relative to " << c.relativeTo;
    }
    for (const char* bad : {"", "%", "Shop..Order", ".Order", "Order.", "Sh op", "A,B", "Sho%p", "Tab\tName"}) {
        EXPECT_EQ(Normalize(bad, "Shop.Order", TNODE_E_INVALIDCLASSNAME), "(null)") << bad;
    }
    BSTR out = reinterpret_cast<BSTR>(1);
    EXPECT_EQ(manager_->NormalizeName(nullptr, nullptr, &out), TNODE_E_INVALIDCLASSNAME);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(manager_->NormalizeName(W("Order"), nullptr, nullptr), E_POINTER);
    cache_->SetImportPackageList(W("Util"));
    EXPECT_EQ(cache_->Reset(), S_OK);
    EXPECT_EQ(Normalize("Money", ""), "Util.Money") << "Reset keeps the import list";
    cache_->SetImportPackageList(nullptr);
    EXPECT_EQ(Normalize("Money", ""), "Money") << "NULL clears it";
}

TEST_F(Manager, ListsClassesByPrefixInCodeUnitOrder) {
    const std::pair<const char*, std::string> cases[] = {
        {"Shop.Order", "Shop.Order,Shop.Orders.Archive,"},
        {"shop", ""},  // prefixes are case-sensitive
        // "%" sorts before upper case, upper before lower.
        {"", "%Library.Count,%Library.Text,Lib.Money,Lib.Tax,Shop.Line,Shop.Order,Shop.Orders.Archive,TopLevel,"
             "Util.Line,Util.Money,"},
    };
    for (const auto& [prefix, expected] : cases) {
        kesto::String out;
        EXPECT_EQ(cache_->GetClassList(W(prefix), out.out()), expected.empty() ? S_FALSE : S_OK) << prefix;
        EXPECT_EQ(Narrow(out), expected);
    }
}

TEST_F(Manager, ClassNodeLookupIsExactAndTheManagerHasOneIdentityWithoutTheCacheFamily) {
    COM_ITNodeElement* node = reinterpret_cast<COM_ITNodeElement*>(1);
    EXPECT_EQ(manager_->GetClassNode(W("Shop.order"), &node), TNODE_E_CLASSNOTEXIST);
    EXPECT_EQ(node, nullptr);
    EXPECT_EQ(manager_->GetClassNode(W("Order"), &node), TNODE_E_CLASSNOTEXIST);
    EXPECT_EQ(manager_->GetClassNode(W(""), &node), TNODE_E_INVALIDCLASSNAME);
    EXPECT_EQ(manager_->GetClassNode(W("Shop.Order"), nullptr), E_POINTER);
    kesto::Ref<COM_IUnknown> fromManager, fromCache, back;
    ASSERT_EQ(manager_->QueryInterface(COM_IID_IUnknown, fromManager.out_void()), S_OK);
    ASSERT_EQ(cache_->QueryInterface(COM_IID_IUnknown, fromCache.out_void()), S_OK);
    ASSERT_EQ(cache_->QueryInterface(COM_IID_ITNodeManager, back.out_void()), S_OK);
    EXPECT_EQ(fromManager.get(), fromCache.get());
    EXPECT_EQ(static_cast<void*>(back.get()), static_cast<void*>(manager_.get()));
    for (const COM_GUID* iid : {&COM_IID_ISchemaCache, &COM_IID_IExtrinsicCache, &COM_IID_IMacroCache}) {
        void* out = reinterpret_cast<void*>(1);
        EXPECT_EQ(manager_->QueryInterface(*iid, &out), E_NOINTERFACE);
        EXPECT_EQ(out, nullptr);
    }
    EXPECT_EQ(manager_->QueryInterface(COM_IID_IUnknown, nullptr), E_POINTER);
}

}  // namespace
