// The runtime's class-definition tree objects.
//
// TNodeManager (COM_CLSID_TNodeManager) owns the current dictionary and answers
// COM_ITNodeManager and COM_IClassCache. TNodeElement is one class's definition
// node; TNodeCollection one enumeration of a node's children, over answers packed
// when the enumeration is first opened and kept by the dictionary. Elements share
// ownership of the dictionary they were made from and collections of their answers,
// so they stay valid when the manager loads another one or is released first. Reference counts
// are plain integers: the objects are used from one thread.
#ifndef KESTO_RUNTIME_TNODE_OBJECTS_H_
#define KESTO_RUNTIME_TNODE_OBJECTS_H_

#include <memory>
#include <string>
#include <vector>

#include "dictionary_model.h"
#include "kesto/tnode.h"
#include "tnode_keywords.h"

namespace kesto {

// A new BSTR holding `text`; NULL when the runtime cannot allocate.
BSTR AllocBstr(std::u16string_view text);

class TNodeManager final : public COM_ITNodeManager, public COM_IClassCache {
public:
    TNodeManager();

    HRESULT QueryInterface(const COM_GUID& iid, void** out) override;
    unsigned long AddRef() override { return ++references_; }
    unsigned long Release() override;

    // COM_ITNodeManager
    HRESULT LoadDictionary(CBSTR path, BSTR* message) override;
    HRESULT LoadDictionaryBuffer(const char* data, unsigned long size, CBSTR sourceName, BSTR* message) override;
    HRESULT GetClassCount(unsigned int* count) override;
    HRESULT GetMemberCount(unsigned int* count) override;
    HRESULT GetClassNode(CBSTR className, COM_ITNodeElement** out) override;
    HRESULT GetDictionaryPath(BSTR* out) override;
    HRESULT NormalizeName(CBSTR name, CBSTR relativeTo, BSTR* out) override;

    // COM_IClassCache
    HRESULT GetClassList(CBSTR prefix, BSTR* out) override;
    HRESULT Reset() override;
    HRESULT SetImportPackageList(CBSTR list) override;

private:
    bool Exists(std::u16string_view name) const;

    unsigned long references_ = 0;
    std::shared_ptr<const Dictionary> dictionary_;
    std::u16string path_;
    std::vector<std::u16string> imports_;
};

class TNodeElement final : public COM_ITNodeElement {
public:
    TNodeElement(std::shared_ptr<const Dictionary> dictionary, std::uint32_t cls)
        : dictionary_(std::move(dictionary)), class_(cls) {}

    HRESULT QueryInterface(const COM_GUID& iid, void** out) override;
    unsigned long AddRef() override { return ++references_; }
    unsigned long Release() override;

    HRESULT GetName(BSTR* out) override;
    HRESULT GetSuperClasses(BSTR* out) override;
    HRESULT GetDescription(BSTR* out) override;
    HRESULT OpenChildren(CBSTR childKind, CBSTR keywordQuery, int includeInherited,
                         COM_IStringCollection** out) override;
    HRESULT GetChildCount(CBSTR childKind, int includeInherited, unsigned int* count) override;
    HRESULT GetKeyword(CBSTR subscript, BSTR* value, int* a, int* b, int* c) override;

private:
    unsigned long references_ = 0;
    std::shared_ptr<const Dictionary> dictionary_;
    std::uint32_t class_;
};

class TNodeCollection final : public COM_IStringCollection {
public:
    explicit TNodeCollection(std::shared_ptr<const PackedAnswers> answers) : answers_(std::move(answers)) {}

    HRESULT QueryInterface(const COM_GUID& iid, void** out) override;
    unsigned long AddRef() override { return ++references_; }
    unsigned long Release() override;

    HRESULT Next(BSTR* name, BSTR* values) override;

private:
    unsigned long references_ = 0;
    std::shared_ptr<const PackedAnswers> answers_;  // shared with the dictionary's cache
    std::size_t next_ = 0;
};

}  // namespace kesto

#endif  // KESTO_RUNTIME_TNODE_OBJECTS_H_
