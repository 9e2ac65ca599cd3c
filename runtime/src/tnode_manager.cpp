// The tree manager: the current dictionary, class lookup, name normalisation and
// the class cache.
#include <algorithm>
#include <new>

#include "builtin_classes.h"
#include "dictionary_names.h"
#include "dictionary_text.h"
#include "tnode_objects.h"

namespace kesto {
namespace {

std::shared_ptr<const ClassTree> EmptyDictionary() { return ClassTree::Empty(); }

// A message that cannot be allocated is left out; the status still tells. Messages
// begin with the file's name, whose bytes need not be UTF-8: they go out the way
// paths do, so that PathFromUtf16 gives the name back exactly.
void HandOutMessage(const std::string& message, BSTR* out) {
    if (out != nullptr) *out = AllocBstr(PathToUtf16(message));
}

HRESULT CreateTNodeManager(const COM_GUID& iid, void** out) { return NewObjectFor<TNodeManager>(iid, out); }

const BuiltinClassRegistrar g_tnodeManagerClass(COM_CLSID_TNodeManager, &CreateTNodeManager);

}  // namespace

TNodeManager::TNodeManager() : dictionary_(EmptyDictionary()) {}

HRESULT TNodeManager::Loaded(DictionaryLoadResult result, std::u16string_view source, BSTR* message) {
    if (FAILED(result.status)) {
        for (const std::string& problem : result.problems) {
            loadErrors_ += PathToUtf16(problem);
            loadErrors_ += u'\n';
        }
        HandOutMessage(result.message, message);
        return result.status;
    }
    // The name as the caller wrote it, which the loader saw only converted.
    result.tree->SetSource(source);
    dictionary_ = std::move(result.tree);
    return S_OK;
}

HRESULT TNodeManager::LoadDictionary(CBSTR path, BSTR* message) {
    if (message != nullptr) *message = nullptr;
    loadErrors_.clear();
    try {
        std::u16string_view path16 = ViewOf(path);
        if (path16.empty()) {
            DictionaryLoadResult refused;
            refused.status = E_INVALIDARG;
            refused.message = "no dictionary file given";
            refused.problems.push_back(refused.message);
            return Loaded(std::move(refused), path16, message);
        }
        return Loaded(LoadDictionaryFile(PathFromUtf16(path16)), path16, message);
    } catch (const std::bad_alloc&) {
        loadErrors_.clear();
        return E_OUTOFMEMORY;
    }
}

HRESULT TNodeManager::LoadDictionaryBuffer(const char* data, unsigned long size, CBSTR sourceName,
                                           BSTR* message) {
    if (message != nullptr) *message = nullptr;
    loadErrors_.clear();
    if (data == nullptr && size > 0) return E_POINTER;
    try {
        std::u16string_view source16 = ViewOf(sourceName);
        std::u16string source = source16.empty() ? std::u16string(u"<buffer>") : std::u16string(source16);
        return Loaded(LoadDictionaryText(std::string_view(data == nullptr ? "" : data, size), PathFromUtf16(source)),
                      source, message);
    } catch (const std::bad_alloc&) {
        loadErrors_.clear();
        return E_OUTOFMEMORY;
    }
}

HRESULT TNodeManager::TakeDictionary(COM_ITNodeManager* loaded) {
    if (loaded == nullptr) return E_POINTER;
    const auto* other = dynamic_cast<const TNodeManager*>(loaded);
    if (other == nullptr) return E_INVALIDARG;
    dictionary_ = other->dictionary_;
    loadErrors_.clear();
    return S_OK;
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
    if (cls == ClassTree::kNoClass) return TNODE_E_CLASSNOTEXIST;
    *out = NewObject<TNodeElement>(dictionary_, cls);
    return *out == nullptr ? E_OUTOFMEMORY : S_OK;
}

HRESULT TNodeManager::GetDictionaryPath(BSTR* out) {
    if (out == nullptr) return E_POINTER;
    *out = AllocBstr(dictionary_->Source());
    return *out == nullptr ? E_OUTOFMEMORY : S_OK;
}

HRESULT TNodeManager::GetLoadErrors(BSTR* out) {
    if (out == nullptr) return E_POINTER;
    *out = AllocBstr(loadErrors_);
    if (*out == nullptr) return E_OUTOFMEMORY;
    return loadErrors_.empty() ? S_FALSE : S_OK;
}

bool TNodeManager::Exists(std::u16string_view name) const { return dictionary_->FindClass(name) != ClassTree::kNoClass; }

HRESULT TNodeManager::NormalizeName(CBSTR name, CBSTR relativeTo, BSTR* out) {
    if (out == nullptr) return E_POINTER;
    *out = nullptr;
    const std::u16string_view written = ViewOf(name);
    if (CheckClassName(written, ClassNameForm::kWritten) != ClassNameFault::kNone) return TNODE_E_INVALIDCLASSNAME;
    try {
        const std::u16string_view context = ViewOf(relativeTo);
        std::u16string full = FullClassName(written, context);
        // A short name means the class in relativeTo's package when that class exists,
        // else the class in the first import package that has one, else the name as
        // completed. Without a package of relativeTo there is no first choice: a class
        // of the bare name does not win over an imported one.
        if (IsShortClassName(written) && (PackageOf(context).empty() || !Exists(full))) {
            for (const std::u16string& package : imports_) {
                std::u16string candidate = package + u'.';
                candidate += written;
                if (Exists(candidate)) {
                    full = std::move(candidate);
                    break;
                }
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
