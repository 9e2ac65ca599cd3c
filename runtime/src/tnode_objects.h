// The runtime's class-definition tree objects.
//
// TNodeManager (COM_CLSID_TNodeManager) owns the current dictionary and answers
// COM_IID_ITNodeManager and COM_IID_IClassCache (IUnknown is its ITNodeManager
// table); the schema, extrinsic and macro cache interfaces have no meaning here.
// TNodeElement is one class's definition node (COM_IID_ITNodeElement), and
// TNodeCollection one enumeration of a node's children (COM_IID_IStringCollection)
// over answers packed when the enumeration is first opened and kept by the
// dictionary. Elements share ownership of the dictionary they were made from and
// collections of their answers, so they stay valid when the manager loads another
// one or is released first. Reference counts are plain integers (RefCounted): the
// objects are used from one thread.
#ifndef KESTO_RUNTIME_TNODE_OBJECTS_H_
#define KESTO_RUNTIME_TNODE_OBJECTS_H_

#include <memory>
#include <string>
#include <vector>

#include "dictionary_loader.h"
#include "class_tree.h"
#include "kesto/tnode.h"
#include "ref_counted.h"

namespace kesto {

class TNodeManager final : public RefCounted<Exposes<COM_ITNodeManager, COM_IID_ITNodeManager>,
                                             Exposes<COM_IClassCache, COM_IID_IClassCache>> {
public:
    TNodeManager();

    // COM_ITNodeManager
    HRESULT LoadDictionary(CBSTR path, BSTR* message) override;
    HRESULT LoadDictionaryBuffer(const char* data, unsigned long size, CBSTR sourceName, BSTR* message) override;
    HRESULT GetClassCount(unsigned int* count) override;
    HRESULT GetMemberCount(unsigned int* count) override;
    HRESULT GetClassNode(CBSTR className, COM_ITNodeElement** out) override;
    HRESULT GetDictionaryPath(BSTR* out) override;
    HRESULT GetLoadErrors(BSTR* out) override;
    HRESULT TakeDictionary(COM_ITNodeManager* loaded) override;
    HRESULT NormalizeName(CBSTR name, CBSTR relativeTo, BSTR* out) override;

    // COM_IClassCache
    HRESULT GetClassList(CBSTR prefix, BSTR* out) override;
    HRESULT Reset() override;
    HRESULT SetImportPackageList(CBSTR list) override;

private:
    bool Exists(std::u16string_view name) const;
    // Takes a load's outcome: the new dictionary, named `source`, or its problems.
    HRESULT Loaded(DictionaryLoadResult result, std::u16string_view source, BSTR* message);

    std::shared_ptr<const ClassTree> dictionary_;
    std::vector<std::u16string> imports_;
    std::u16string loadErrors_;  // of the last load, one per line; empty after a good one
};

class TNodeElement final : public RefCounted<Exposes<COM_ITNodeElement, COM_IID_ITNodeElement>> {
public:
    TNodeElement(std::shared_ptr<const ClassTree> dictionary, std::uint32_t cls)
        : dictionary_(std::move(dictionary)), class_(cls) {}

    HRESULT GetName(BSTR* out) override;
    HRESULT GetSuperClasses(BSTR* out) override;
    HRESULT GetDescription(BSTR* out) override;
    HRESULT OpenChildren(CBSTR childKind, CBSTR keywordQuery, int includeInherited,
                         COM_IStringCollection** out) override;
    HRESULT GetChildCount(CBSTR childKind, int includeInherited, unsigned int* count) override;
    HRESULT GetLocation(CBSTR childKind, CBSTR memberName, BSTR* file, unsigned int* line,
                        unsigned int* column) override;
    HRESULT GetKeyword(CBSTR subscript, BSTR* value, int* a, int* b, int* c) override;

private:
    std::shared_ptr<const ClassTree> dictionary_;
    std::uint32_t class_;
};

class TNodeCollection final : public RefCounted<Exposes<COM_IStringCollection, COM_IID_IStringCollection>> {
public:
    explicit TNodeCollection(std::shared_ptr<const TreeAnswers> answers) : answers_(std::move(answers)) {}

    HRESULT Next(BSTR* name, BSTR* values) override;

private:
    std::shared_ptr<const TreeAnswers> answers_;  // shared with the dictionary's cache
    std::size_t next_ = 0;
};

}  // namespace kesto

#endif  // KESTO_RUNTIME_TNODE_OBJECTS_H_
