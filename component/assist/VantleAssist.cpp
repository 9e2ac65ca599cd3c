// CVantleAssistant: lifetime, interface lookup, the small operations and the symbol
// operations that go to the scope stack. The class queries live in files of their own.
#include "VantleAssist.h"

#include "utlLiteral.h"
#include "ServiceTexts.h"
#include "vantle/constants.h"

namespace {

constexpr CBSTR kEmpty = utlLiteral<"">;
constexpr CBSTR kIncludeInherited = utlLiteral<"INCLUDEINHERITED">;
constexpr CBSTR kTrue = utlLiteral<"TRUE">;

}  // namespace

COM_CClassFactory<CVantleAssistant> CVantleAssistant::_theClassFactory;

const COM_INTERFACE_ENTRY CVantleAssistant::s_interface_table[] = {
    {&COM_IID_IVantleAssist, COM_INTERFACE_OFFSET_ENTRY, COM_INTERFACE_OFFSET(CVantleAssistant, COM_IVantleAssist)},
    {&COM_IID_IVantleAssistEx, COM_INTERFACE_OFFSET_ENTRY,
     COM_INTERFACE_OFFSET(CVantleAssistant, COM_IVantleAssistEx)},
    {&COM_IID_IVantleAssist2, COM_INTERFACE_OFFSET_ENTRY, COM_INTERFACE_OFFSET(CVantleAssistant, COM_IVantleAssist2)},
    {&COM_IID_IVantleAssist3, COM_INTERFACE_OFFSET_ENTRY, COM_INTERFACE_OFFSET(CVantleAssistant, COM_IVantleAssist3)},
    {&COM_IID_ISchemaCache, &CVantleAssistant::Finder, 0},
    {&COM_IID_IExtrinsicCache, &CVantleAssistant::Finder, 0},
    {&COM_IID_IMacroCache, &CVantleAssistant::Finder, 0},
    {nullptr, nullptr, 0},
};

CVantleAssistant::CVantleAssistant()
    : m_cRef(0), m_flagsSet(0), m_flags(kDefaultFlags), m_includeInherited(1) {}

CVantleAssistant::~CVantleAssistant() {
    // The scope stack closes only its top scope when it dies; embeddings the editor
    // left open are closed here so that none of them outlives the service.
    while (m_symbols.Depth() > 1) m_symbols.PopSymbolTable();
}

HRESULT CVantleAssistant::QueryInterface(const COM_GUID& iid, void** out) {
    if (out == nullptr) return E_POINTER;
    return InterfaceTableQueryInterface(static_cast<void*>(this), s_interface_table, iid, out);
}

unsigned long CVantleAssistant::AddRef() { return InternalAddRef(m_cRef); }

unsigned long CVantleAssistant::Release() { return InternalRelease(this, m_cRef); }

HRESULT CVantleAssistant::Finder(void* object, unsigned long long, const COM_GUID& iid, void** out) {
    CVantleAssistant* self = static_cast<CVantleAssistant*>(object);
    if (self->m_pTNodeManager.IsNull()) return E_UNEXPECTED;
    if (!COM_IsEqualGUID(iid, COM_IID_ISchemaCache) && !COM_IsEqualGUID(iid, COM_IID_IExtrinsicCache) &&
        !COM_IsEqualGUID(iid, COM_IID_IMacroCache)) {
        return E_NOINTERFACE;
    }
    HRESULT hr = self->m_pTNodeManager->QueryInterface(iid, out);
    return hr > 0 ? S_OK : hr;
}

HRESULT CVantleAssistant::UpdateRegistry(int doRegister) {
    return g_theModule.UpdateRegistryClass(COM_CLSID_VantleAssist, texts::kComponentName, 0, doRegister, nullptr, nullptr,
                                           nullptr, nullptr);
}

HRESULT CVantleAssistant::Initialize(COM_ITNodeManager* manager) {
    m_pTNodeManager.Clear();
    m_pClassCache.Clear();
    if (manager != nullptr) {
        m_pTNodeManager.Assign(manager);
        HRESULT hr = m_pTNodeManager->QueryInterface(COM_IID_IClassCache, reinterpret_cast<void**>(&m_pClassCache));
        if (FAILED(hr)) return hr;
    }
    m_flagsSet = 0;
    return S_OK;
}

HRESULT CVantleAssistant::Reset() {
    if (m_pClassCache.IsNull()) return S_FALSE;
    return m_pClassCache->Reset();
}

HRESULT CVantleAssistant::SetSymbol(CBSTR name, SYMBOL_KIND kind, CBSTR value) {
    if (name == nullptr) return E_POINTER;
    if (value == nullptr) value = kEmpty;
    if (kind == SYMBOL_SYSTEM && sysMCHARzCmp<unsigned short>(name, kIncludeInherited) == 0) {
        m_includeInherited = sysMCHARzCmp<unsigned short>(value, kTrue) == 0 ? 1 : 0;
    }
    return m_symbols.SetSymbol(name, kind, value);
}

HRESULT CVantleAssistant::RemoveSymbol(CBSTR name, SYMBOL_KIND kind) {
    if (name == nullptr) return E_POINTER;
    return m_symbols.RemoveSymbol(name, kind);
}

HRESULT CVantleAssistant::LookupSymbol(CBSTR name, SYMBOL_KIND kind, ParserLanguage* language, BSTR* value) {
    if (name == nullptr || language == nullptr || value == nullptr) return E_POINTER;
    return m_symbols.LookupSymbol(name, kind, language, value);
}

HRESULT CVantleAssistant::OnEmbeddingStart(ParserLanguage language) { return m_symbols.PushSymbolTable(language); }

HRESULT CVantleAssistant::OnEmbeddingEnd() {
    // An end without a start would close the root scope and leave the symbol
    // operations nothing to act on; it is ignored instead.
    if (m_symbols.Depth() <= 1) return S_OK;
    return m_symbols.PopSymbolTable();
}

HRESULT CVantleAssistant::GetSymbols(unsigned int filter, BSTR* out) {
    if (out == nullptr) return E_POINTER;
    utlAutoBSTR symbols;
    HRESULT hr = m_symbols.AppendSymbols(filter, symbols);
    if (FAILED(hr)) return hr;
    *out = symbols.Detach();
    return COM_SysStringLen(*out) == 0 ? S_FALSE : S_OK;
}

HRESULT CVantleAssistant::GetClassList(CBSTR prefix, BSTR* out) {
    if (out == nullptr) return E_POINTER;
    if (m_pClassCache.IsNull()) {
        *out = COM_SysAllocString(kEmpty);
        return *out == nullptr ? E_OUTOFMEMORY : S_FALSE;
    }
    return m_pClassCache->GetClassList(prefix == nullptr ? kEmpty : prefix, out);
}

HRESULT CVantleAssistant::SetFlags(MEMBER_FILTER_FLAGS flags) {
    m_flags = flags;
    m_flagsSet = 1;
    return S_OK;
}

HRESULT CVantleAssistant::GetFlags(MEMBER_FILTER_FLAGS* flags) {
    if (flags == nullptr) return E_POINTER;
    *flags = m_flags;
    return m_flagsSet == 1 ? S_OK : S_FALSE;
}

HRESULT CVantleAssistant::SetImportPackageList(CBSTR list) {
    if (m_pClassCache.IsNull()) return S_FALSE;
    return m_pClassCache->SetImportPackageList(list == nullptr ? kEmpty : list);
}

HRESULT CVantleAssistant::SetRelativeClassName(CBSTR name) {
    if (name == nullptr) {
        m_relativeClassName.clear();
    } else {
        m_relativeClassName.assign(name);
    }
    return S_OK;
}

HRESULT CVantleAssistant::NormalizeClassName(CBSTR name, BSTR* out) {
    return m_pTNodeManager->NormalizeName(name, m_relativeClassName.c_str(), out);
}

HRESULT CVantleAssistant::OpenClassNode(CBSTR className, utlAutoBSTR& normalized, utlNodeIf& node) {
    HRESULT hr = NormalizeClassName(className, &normalized);
    if (FAILED(hr)) return hr;
    return m_pTNodeManager->GetClassNode(utlOrEmpty(normalized), &node);
}

HRESULT CVantleAssistant::NormalizeClassNameRelative(CBSTR name, CBSTR relativeTo, BSTR* out) {
    return m_pTNodeManager->NormalizeName(name, relativeTo, out);
}
