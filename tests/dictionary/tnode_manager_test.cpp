// The tree manager: creation, interfaces, class lookup, name normalisation and the
// class cache.
#include <gtest/gtest.h>

#include <string>

#include "kesto/diagnostics.h"
#include "tree_test_support.h"

namespace {

using treetest::Take;
using treetest::U;
using treetest::W;

const char kClasses[] = R"({"classes": [
  {"name": "%Library.Text"}, {"name": "%Library.Count"},
  {"name": "Shop.Order"}, {"name": "Shop.Line"}, {"name": "Shop.Orders.Archive"},
  {"name": "Util.Money"}, {"name": "Util.Line"}, {"name": "Lib.Money"}, {"name": "Lib.Tax"},
  {"name": "TopLevel"}]})";

class Manager : public testing::Test {
protected:
    void SetUp() override {
        stringsBefore_ = KESTO_LiveStringCount();
        manager_ = treetest::NewManager();
        ASSERT_TRUE(manager_);
        ASSERT_EQ(treetest::LoadText(manager_.get(), kClasses).status, S_OK);
        ASSERT_EQ(manager_->QueryInterface(COM_IID_IClassCache, reinterpret_cast<void**>(&cache_)), S_OK);
    }
    void TearDown() override {
        cache_->Release();
        manager_.reset();
        EXPECT_EQ(KESTO_LiveStringCount(), stringsBefore_);
    }

    std::string Normalize(const char* name, const char* relativeTo, HRESULT expected = S_OK) {
        std::u16string name16 = U(name), relative16 = U(relativeTo);
        BSTR out = reinterpret_cast<BSTR>(1);
        EXPECT_EQ(manager_->NormalizeName(W(name16), relativeTo ? W(relative16) : nullptr, &out), expected) << name;
        return Take(out);
    }

    std::string ClassList(const char* prefix, HRESULT expected) {
        std::u16string prefix16 = U(prefix);
        BSTR out = nullptr;
        EXPECT_EQ(cache_->GetClassList(W(prefix16), &out), expected) << prefix;
        return Take(out);
    }

    treetest::Ref<COM_ITNodeManager> manager_;
    COM_IClassCache* cache_ = nullptr;
    long stringsBefore_ = 0;
};

struct NormalizeCase {
    const char* name;
    const char* relativeTo;
    const char* imports;
    const char* expected;
};

TEST_F(Manager, NormalizesShortNames) {
    const NormalizeCase cases[] = {
        {"Shop.Order", "Util.Money", "", "Shop.Order"},          // holds "." : full already
        {"No.Such.Class", "", "", "No.Such.Class"},              // full even when unknown
        {"%Text", "Shop.Order", "Util", "%Library.Text"},        // "%" short form
        {"%Unknown", "", "", "%Library.Unknown"},
        {"Line", "Shop.Order", "Util", "Shop.Line"},             // relative package first
        {"Money", "Shop.Order", "Util,Lib", "Util.Money"},       // then the first import that has it
        {"Money", "Shop.Order", "Lib, Util", "Lib.Money"},       // import order decides; blanks ignored
        {"Tax", "Shop.Order", "Util,Lib", "Lib.Tax"},
        {"Nothing", "Shop.Order", "Util,Lib", "Shop.Nothing"},   // nowhere: relative package anyway
        {"Nothing", "", "Util", "Nothing"},                      // no package at all: the name itself
        {"Money", "TopLevel", "Util", "Util.Money"},             // relativeTo without a package
        {"Archive", "Shop.Orders.Archive", "", "Shop.Orders.Archive"},  // package is text before the LAST "."
        {"Order", "Shop.Orders.Archive", "", "Shop.Orders.Order"},
        {"TopLevel", "", "", "TopLevel"},
    };
    for (const NormalizeCase& c : cases) {
        std::u16string imports = U(c.imports);
        ASSERT_EQ(cache_->SetImportPackageList(W(imports)), S_OK);
        EXPECT_EQ(Normalize(c.name, c.relativeTo), c.expected) << c.name << " relative to " << c.relativeTo;
    }
}

TEST_F(Manager, RefusesNamesThatCannotBeClassNames) {
    for (const char* bad : {"", "%", "Shop..Order", ".Order", "Order.", "Sh op", "A,B", "Sho%p", "Tab\tName"}) {
        EXPECT_EQ(Normalize(bad, "Shop.Order", TNODE_E_INVALIDCLASSNAME), "<null>") << bad;
    }
    BSTR out = reinterpret_cast<BSTR>(1);
    EXPECT_EQ(manager_->NormalizeName(nullptr, nullptr, &out), TNODE_E_INVALIDCLASSNAME);
    EXPECT_EQ(out, nullptr);
    std::u16string name = U("Order");
    EXPECT_EQ(manager_->NormalizeName(W(name), nullptr, nullptr), E_POINTER);
}

TEST_F(Manager, ClearingTheImportListStopsImportLookups) {
    std::u16string imports = U("Util");
    cache_->SetImportPackageList(W(imports));
    EXPECT_EQ(Normalize("Money", ""), "Util.Money");
    cache_->SetImportPackageList(nullptr);
    EXPECT_EQ(Normalize("Money", ""), "Money");
    cache_->SetImportPackageList(W(imports));
    EXPECT_EQ(cache_->Reset(), S_OK);
    EXPECT_EQ(Normalize("Money", ""), "Util.Money") << "Reset keeps the import list";
}

TEST_F(Manager, ListsClassesByPrefixInCodeUnitOrder) {
    EXPECT_EQ(ClassList("Shop.", S_OK), "Shop.Line,Shop.Order,Shop.Orders.Archive,");
    EXPECT_EQ(ClassList("Shop.Order", S_OK), "Shop.Order,Shop.Orders.Archive,");
    EXPECT_EQ(ClassList("%", S_OK), "%Library.Count,%Library.Text,");
    EXPECT_EQ(ClassList("shop", S_FALSE), "") << "prefixes are case-sensitive";
    EXPECT_EQ(ClassList("Zzz", S_FALSE), "");
    // "%" sorts before upper case, upper before lower: plain code-unit order.
    EXPECT_EQ(ClassList("", S_OK),
              "%Library.Count,%Library.Text,Lib.Money,Lib.Tax,Shop.Line,Shop.Order,Shop.Orders.Archive,TopLevel,"
              "Util.Line,Util.Money,");
    BSTR out = nullptr;
    EXPECT_EQ(cache_->GetClassList(nullptr, &out), S_OK);
    Take(out);
}

TEST_F(Manager, ClassNodeLookupIsExact) {
    COM_ITNodeElement* node = reinterpret_cast<COM_ITNodeElement*>(1);
    std::u16string unknown = U("Shop.order"), empty = U(""), shortName = U("Order");
    EXPECT_EQ(manager_->GetClassNode(W(unknown), &node), TNODE_E_CLASSNOTEXIST);
    EXPECT_EQ(node, nullptr);
    EXPECT_EQ(manager_->GetClassNode(W(shortName), &node), TNODE_E_CLASSNOTEXIST);
    EXPECT_EQ(manager_->GetClassNode(W(empty), &node), TNODE_E_INVALIDCLASSNAME);
    EXPECT_EQ(manager_->GetClassNode(nullptr, &node), TNODE_E_INVALIDCLASSNAME);
    EXPECT_EQ(manager_->GetClassNode(W(unknown), nullptr), E_POINTER);
}

TEST_F(Manager, AnswersItsInterfacesAndNotTheCacheFamily) {
    void* unknownFromManager = nullptr;
    void* unknownFromCache = nullptr;
    ASSERT_EQ(manager_->QueryInterface(COM_IID_IUnknown, &unknownFromManager), S_OK);
    ASSERT_EQ(cache_->QueryInterface(COM_IID_IUnknown, &unknownFromCache), S_OK);
    EXPECT_EQ(unknownFromManager, unknownFromCache) << "one identity";
    static_cast<COM_IUnknown*>(unknownFromManager)->Release();
    static_cast<COM_IUnknown*>(unknownFromCache)->Release();
    void* back = nullptr;
    ASSERT_EQ(cache_->QueryInterface(COM_IID_ITNodeManager, &back), S_OK);
    EXPECT_EQ(back, manager_.get());
    static_cast<COM_IUnknown*>(back)->Release();
    for (const COM_GUID* iid : {&COM_IID_ISchemaCache, &COM_IID_IExtrinsicCache, &COM_IID_IMacroCache,
                                &COM_IID_ITNodeElement, &COM_IID_IClassFactory}) {
        void* out = reinterpret_cast<void*>(1);
        EXPECT_EQ(manager_->QueryInterface(*iid, &out), E_NOINTERFACE);
        EXPECT_EQ(out, nullptr);
    }
    EXPECT_EQ(manager_->QueryInterface(COM_IID_IUnknown, nullptr), E_POINTER);
}

TEST(ManagerCreation, StartsEmptyAndRefusesAggregation) {
    void* out = nullptr;
    COM_IUnknown* outer = reinterpret_cast<COM_IUnknown*>(8);
    EXPECT_EQ(COM_CreateInstance(COM_CLSID_TNodeManager, outer, COM_IID_ITNodeManager, &out), CLASS_E_NOAGGREGATION);
    EXPECT_EQ(COM_CreateInstance(COM_CLSID_TNodeManager, nullptr, COM_IID_IMacroCache, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
    auto manager = treetest::NewManager();
    ASSERT_TRUE(manager);
    unsigned int count = 7;
    EXPECT_EQ(manager->GetClassCount(&count), S_OK);
    EXPECT_EQ(count, 0u);
    BSTR path = nullptr;
    EXPECT_EQ(manager->GetDictionaryPath(&path), S_OK);
    EXPECT_EQ(Take(path), "");
    EXPECT_EQ(manager->AddRef(), 2u);
    EXPECT_EQ(manager->Release(), 1u);
}

}  // namespace
