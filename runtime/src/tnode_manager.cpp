// The tree manager: the current dictionary, class lookup, name normalisation and
// the class cache.
#include <algorithm>
#include <new>

#include "builtin_classes.h"
#include "dictionary_loader.h"
#include "dictionary_text.h"
#include "tnode_objects.h"

namespace kesto {
namespace {

std::shared_ptr<const Dictionary> EmptyDictionary() {
    auto empty = std::make_shared<Dictionary>();
    std::uint32_t first;
    std::uint32_t second;
    empty->Seal(&first, &second);
    return empty;
}

// A name that normalisation can work with: no blanks, control characters or
// commas, no empty part between dots, "%" only in front and not alone.
bool IsUsableClassName(std::u16string_view name) {
    if (name.empty() || name == u"%") return false;
    for (char16_t c : name) {
        if (c <= 0x20 || c == 0x7F || c == u',') return false;
    }
    if (name.front() == u'.' || name.back() == u'.' || name.find(u"..") != std::u16string_view::npos) return false;
    return name.find(u'%', 1) == std::u16string_view::npos;
}

// A message that cannot be allocated is left out; the status still tells.
void HandOutMessage(const std::string& message, BSTR* out) {
    if (out != nullptr) *out = AllocBstr(Utf8ToUtf16(message));
}

HRESULT CreateTNodeManager(const COM_GUID& iid, void** out) {
    if (out == nullptr) return E_POINTER;
    *out = nullptr;
    TNodeManager* manager = nullptr;
    try {
        manager = new TNodeManager();
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
    manager->AddRef();
    HRESULT hr = manager->QueryInterface(iid, out);
    manager->Release();
    return hr;
}

const BuiltinClassRegistrar g_tnodeManagerClass(COM_CLSID_TNodeManager, &CreateTNodeManager);

}  // namespace

TNodeManager::TNodeManager() : dictionary_(EmptyDictionary()) {}

HRESULT TNodeManager::QueryInterface(const COM_GUID& iid, void** out) {
    if (out == nullptr) return E_POINTER;
    *out = nullptr;
    if (COM_IsEqualGUID(iid, COM_IID_IUnknown) || COM_IsEqualGUID(iid, COM_IID_ITNodeManager)) {
        *out = static_cast<COM_ITNodeManager*>(this);
    } else if (COM_IsEqualGUID(iid, COM_IID_IClassCache)) {
        *out = static_cast<COM_IClassCache*>(this);
    } else {
        // The schema, extrinsic and macro caches have no meaning here.
        return E_NOINTERFACE;
    }
    AddRef();
    return S_OK;
}

unsigned long TNodeManager::Release() {
    unsigned long left = --references_;
    if (left == 0) delete this;
    return left;
}

HRESULT TNodeManager::LoadDictionary(CBSTR path, BSTR* message) {
    if (message != nullptr) *message = nullptr;
    try {
        std::u16string_view path16 = ViewOf(path);
        if (path16.empty()) {
            HandOutMessage("no dictionary file given", message);
            return E_INVALIDARG;
        }
        DictionaryLoadResult result = LoadDictionaryFile(Utf16ToUtf8(path16));
        if (FAILED(result.status)) {
            HandOutMessage(result.message, message);
            return result.status;
        }
        dictionary_ = std::move(result.dictionary);
        path_ = path16;
        return S_OK;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

HRESULT TNodeManager::LoadDictionaryBuffer(const char* data, unsigned long size, CBSTR sourceName,
                                           BSTR* message) {
    if (message != nullptr) *message = nullptr;
    if (data == nullptr && size > 0) return E_POINTER;
    try {
        std::u16string_view source16 = ViewOf(sourceName);
        std::u16string source = source16.empty() ? std::u16string(u"<buffer>") : std::u16string(source16);
        DictionaryLoadResult result =
            LoadDictionaryText(std::string_view(data == nullptr ? "" : data, size), Utf16ToUtf8(source));
        if (FAILED(result.status)) {
            HandOutMessage(result.message, message);
            return result.status;
        }
        dictionary_ = std::move(result.dictionary);
        path_ = std::move(source);
        return S_OK;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

HRESULT TNodeManager::GetClassCount(unsigned int* count) {
    if (count == nullptr) return E_POINTER;
    *count = dictionary_->ClassCount();
    return S_OK;
}

HRESULT TNodeManager::GetMemberCount(unsigned int* count) {
    if (count == nullptr) return E_POINTER;
    *count = dictionary_->MemberCount();
    return S_OK;
}

HRESULT TNodeManager::GetClassNode(CBSTR className, COM_ITNodeElement** out) {
    if (out == nullptr) return E_POINTER;
    *out = nullptr;
    std::u16string_view name = ViewOf(className);
    if (name.empty()) return TNODE_E_INVALIDCLASSNAME;
    std::uint32_t cls = dictionary_->FindClass(name);
    if (cls == Dictionary::kNoClass) return TNODE_E_CLASSNOTEXIST;
    auto* element = new (std::nothrow) TNodeElement(dictionary_, cls);
    if (element == nullptr) return E_OUTOFMEMORY;
    element->AddRef();
    *out = element;
    return S_OK;
}

HRESULT TNodeManager::GetDictionaryPath(BSTR* out) {
    if (out == nullptr) return E_POINTER;
    *out = AllocBstr(path_);
    return *out == nullptr ? E_OUTOFMEMORY : S_OK;
}

bool TNodeManager::Exists(std::u16string_view name) const { return dictionary_->FindClass(name) != Dictionary::kNoClass; }

HRESULT TNodeManager::NormalizeName(CBSTR name, CBSTR relativeTo, BSTR* out) {
    if (out == nullptr) return E_POINTER;
    *out = nullptr;
    std::u16string_view short16 = ViewOf(name);
    if (!IsUsableClassName(short16)) return TNODE_E_INVALIDCLASSNAME;
    try {
        std::u16string full;
        if (short16.find(u'.') != std::u16string_view::npos) {
            full = short16;
        } else if (short16.front() == u'%') {
            full = u"%Library.";
            full += short16.substr(1);
        } else {
            std::u16string_view relative = ViewOf(relativeTo);
            std::size_t dot = relative.rfind(u'.');
            std::u16string inPackage;
            if (dot != std::u16string_view::npos) {
                inPackage.assign(relative.substr(0, dot + 1));
                inPackage += short16;
            }
            if (!inPackage.empty() && Exists(inPackage)) {
                full = std::move(inPackage);
            } else {
                for (const std::u16string& package : imports_) {
                    std::u16string candidate = package + u'.';
                    candidate += short16;
                    if (Exists(candidate)) {
                        full = std::move(candidate);
                        break;
                    }
                }
                if (full.empty()) full = inPackage.empty() ? std::u16string(short16) : std::move(inPackage);
            }
        }
        *out = AllocBstr(full);
        return *out == nullptr ? E_OUTOFMEMORY : S_OK;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

HRESULT TNodeManager::GetClassList(CBSTR prefix, BSTR* out) {
    if (out == nullptr) return E_POINTER;
    *out = nullptr;
    std::u16string_view wanted = ViewOf(prefix);
    try {
        const auto& byName = dictionary_->ClassesByName();
        auto it = std::lower_bound(byName.begin(), byName.end(), wanted, [this](std::uint32_t cls, std::u16string_view p) {
            return dictionary_->ClassName(cls) < p;
        });
        std::u16string list;
        for (; it != byName.end(); ++it) {
            std::u16string_view name = dictionary_->ClassName(*it);
            if (name.substr(0, wanted.size()) != wanted) break;
            list += name;
            list += u',';
        }
        *out = AllocBstr(list);
        if (*out == nullptr) return E_OUTOFMEMORY;
        return list.empty() ? S_FALSE : S_OK;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

HRESULT TNodeManager::Reset() {
    dictionary_->DropCaches();
    return S_OK;
}

HRESULT TNodeManager::SetImportPackageList(CBSTR list) {
    try {
        std::vector<std::u16string> packages;
        std::u16string_view rest = ViewOf(list);
        while (!rest.empty()) {
            std::size_t comma = rest.find(u',');
            std::u16string_view entry = rest.substr(0, comma);
            rest = comma == std::u16string_view::npos ? std::u16string_view() : rest.substr(comma + 1);
            while (!entry.empty() && (entry.front() == u' ' || entry.front() == u'\t')) entry.remove_prefix(1);
            while (!entry.empty() && (entry.back() == u' ' || entry.back() == u'\t')) entry.remove_suffix(1);
            if (!entry.empty()) packages.emplace_back(entry);
        }
        imports_ = std::move(packages);
        return S_OK;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

}  // namespace kesto
