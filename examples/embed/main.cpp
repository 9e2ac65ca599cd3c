// embed: a host of the code-assistance service, as an editor embeds it.
//
//   embed [DICTIONARY]
//
// Loads a class dictionary into the runtime's class-definition tree (without an
// argument, the bundled dictionary, whose installed path the build passes in as
// EMBED_DEFAULT_DICTIONARY), creates the service through the runtime and asks it what
// an editor asks while the user types. Every string handed out lands in a
// kesto::String and every reference in a kesto::Ref, so all is freed on every path.
#include <iomanip>
#include <iostream>
#include <string>
#include <string_view>

#include <vantle/vantle.h>

namespace {

// 16-bit text (UTF-16) to UTF-8 for printing; an unpaired surrogate becomes U+FFFD.
std::string Utf8(std::u16string_view text) {
    static const unsigned char kLead[] = {0x00, 0xC0, 0xE0, 0xF0};
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        char32_t c = text[i];
        if (c >= 0xD800 && c < 0xDC00 && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] < 0xE000)
            c = 0x10000 + ((c - 0xD800) << 10) + (text[++i] - 0xDC00);
        else if (c >= 0xD800 && c < 0xE000)
            c = 0xFFFD;
        const int extra = c < 0x80 ? 0 : c < 0x800 ? 1 : c < 0x10000 ? 2 : 3;
        out += static_cast<char>(kLead[extra] | (c >> (6 * extra)));
        for (int k = extra - 1; k >= 0; --k) out += static_cast<char>(0x80 | ((c >> (6 * k)) & 0x3F));
    }
    return out;
}
std::string Utf8(const kesto::String& text) { return Utf8(text.view()); }

// UTF-8 (a path from the command line) to 16-bit text.
std::u16string Utf16(std::string_view text) {
    std::u16string out;
    for (std::size_t i = 0; i < text.size();) {
        const unsigned char lead = static_cast<unsigned char>(text[i++]);
        const int extra = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : lead >= 0xC0 ? 1 : 0;
        char32_t c = lead & (0x7F >> extra);
        for (int k = 0; k < extra && i < text.size(); ++k) c = (c << 6) | (text[i++] & 0x3F);
        if (c >= 0x10000) out += {static_cast<char16_t>(0xD7C0 + (c >> 10)), static_cast<char16_t>(0xDC00 | (c & 0x3FF))};
        else out += static_cast<char16_t>(c);
    }
    return out;
}

// "message [XXXXXXXX]" for any status code, worded by the component.
std::string Message(HRESULT hr) {
    const std::basic_string<unsigned short> text = COM_HRESULT_Expansion(hr);
    return Utf8(std::u16string_view(reinterpret_cast<const char16_t*>(text.data()), text.size()));
}

// One answer a line: its text, "(no answer)" for S_FALSE, the message of a failure.
void Show(const char* label, HRESULT hr, const std::string& answer) {
    std::cout << "  " << label << ": ";
    if (FAILED(hr)) std::cout << "failed: " << Message(hr) << "\n";
    else if (hr == S_FALSE) std::cout << "(no answer)\n";
    else std::cout << answer << "\n";
}

// A comma-terminated list, one entry a line; marks of the extended form follow a tab.
void ShowList(const char* question, HRESULT hr, const kesto::String& list) {
    std::cout << question << "\n";
    if (hr != S_OK) {
        Show("answer", hr, "");
        return;
    }
    const std::string text = Utf8(list);
    for (std::size_t start = 0, comma; (comma = text.find(',', start)) != std::string::npos; start = comma + 1) {
        const std::string entry = text.substr(start, comma - start);
        const std::size_t tab = entry.find('\t');
        if (tab == std::string::npos) std::cout << "  " << entry << "\n";
        else std::cout << "  " << std::left << std::setw(14) << entry.substr(0, tab) << entry.substr(tab + 1) << "\n";
    }
}

// A call whose only answer is its status: say so when it fails.
void Check(const char* call, HRESULT hr) {
    if (FAILED(hr)) std::cout << "  " << call << " failed: " << Message(hr) << "\n";
}

std::string Yields(SYMBOL_KIND kind, const kesto::String& type) {
    return (kind == SYMBOL_MEMBERMETHOD ? "method returning " : "property of type ") + Utf8(type);
}

}  // namespace

int main(int argc, char** argv) {
#ifdef EMBED_DEFAULT_DICTIONARY
    const std::string dictionary = argc > 1 ? argv[1] : EMBED_DEFAULT_DICTIONARY;
#else
    if (argc < 2) { std::cerr << "usage: embed DICTIONARY\n"; return 2; }
    const std::string dictionary = argv[1];
#endif
    // The tree first: one of the runtime's own classes, no registration needed.
    kesto::Ref<COM_ITNodeManager> tree;
    HRESULT hr = COM_CreateInstance(COM_CLSID_TNodeManager, nullptr, COM_IID_ITNodeManager, tree.out_void());
    if (FAILED(hr)) { std::cerr << "cannot create the tree: " << Message(hr) << "\n"; return 1; }
    kesto::String message;  // on failure "FILE:LINE:COLUMN: what went wrong"
    hr = tree->LoadDictionary(kesto::wide(Utf16(dictionary)), message.out());
    if (FAILED(hr)) {
        std::cerr << (message.is_null() ? dictionary + ": " + Message(hr) : Utf8(message)) << "\n";
        return 1;
    }
    unsigned int classes = 0;
    Check("GetClassCount", tree->GetClassCount(&classes));
    std::cout << "Loaded " << dictionary.substr(dictionary.rfind('/') + 1) << ": " << classes << " classes\n";

    // The service, found through the registry; its other interfaces by QueryInterface.
    kesto::Ref<COM_IVantleAssist> assist;
    kesto::Ref<COM_IVantleAssist2> assist2;
    kesto::Ref<COM_IVantleAssist3> assist3;
    hr = COM_CreateInstance(COM_CLSID_VantleAssist, nullptr, COM_IID_IVantleAssist, assist.out_void());
    if (SUCCEEDED(hr)) hr = assist->QueryInterface(COM_IID_IVantleAssist2, assist2.out_void());
    if (SUCCEEDED(hr)) hr = assist->QueryInterface(COM_IID_IVantleAssist3, assist3.out_void());
    if (SUCCEEDED(hr)) hr = assist->Initialize(tree.get());  // the service takes a reference of its own
    if (FAILED(hr)) { std::cerr << "cannot set up the service: " << Message(hr) << "\n"; return 1; }

    kesto::String list;  // out() frees the previous answer before each call
    hr = assist->GetClassList(kesto::wide(u"Shop."), list.out());
    ShowList("Classes of the package Shop:", hr, list);
    hr = assist->GetClassMembers(kesto::wide(u"Shop.Cart"), vantle::kDefaultMemberFilter, list.out());
    ShowList("Completion list of Shop.Cart (methods end in \"(\"):", hr, list);
    const auto withParameters = static_cast<MEMBER_FILTER_FLAGS>(vantle::kDefaultMemberFilter | MEMBER_PARAMETERS);
    hr = assist3->GetClassMembersEx(kesto::wide(u"Shop.Product"), withParameters, list.out());
    ShowList("Shop.Product with its class parameters; C class method, P private:", hr, list);

    std::cout << "What members yield:\n";
    SYMBOL_KIND kind{};
    kesto::String type;
    hr = assist->GetClassMemberType(kesto::wide(u"Shop.Order"), kesto::wide(u"AddLine"), &kind, type.out());
    Show("Shop.Order AddLine", hr, Yields(kind, type));
    hr = assist->GetClassMemberType(kesto::wide(u"Shop.Order"), kesto::wide(u"Lines"), &kind, type.out());
    Show("Shop.Order Lines", hr, Yields(kind, type));

    std::cout << "Signature of Shop.Order AddLine, the cursor on argument 2:\n";
    kesto::String before, current, after;
    hr = assist->GetMethodSignature(kesto::wide(u"Shop.Order"), kesto::wide(u"AddLine"), 2, before.out(),
                                    current.out(), after.out());
    Show("before", hr, Utf8(before));
    Show("current", hr, Utf8(current));
    Show("after", hr, Utf8(after));

    std::cout << "Where members come from:\n";
    kesto::String origin;
    hr = assist2->GetMemberOrigin(kesto::wide(u"Shop.ExpressOrder"), kesto::wide(u"Print"), SYMBOL_METHOD,
                                  origin.out());
    Show("Shop.ExpressOrder Print", hr, Utf8(origin));
    hr = assist2->GetMemberOrigin(kesto::wide(u"Shop.Missing"), kesto::wide(u"Print"), SYMBOL_METHOD, origin.out());
    Show("Shop.Missing Print", hr, Utf8(origin));

    std::cout << "A local variable of embedded code, known in its scope only:\n";
    const auto embedded = static_cast<ParserLanguage>(2);  // the editor's own number for the language
    ParserLanguage language = PARSERLANGUAGE_ROOT;
    kesto::String value;
    Check("OnEmbeddingStart", assist->OnEmbeddingStart(embedded));
    Check("SetSymbol", assist->SetSymbol(kesto::wide(u"total"), SYMBOL_LOCAL, kesto::wide(u"%Money")));
    hr = assist->LookupSymbol(kesto::wide(u"total"), SYMBOL_LOCAL, &language, value.out());
    Show("inside", hr, Utf8(value) + " (language " + std::to_string(language) + ")");
    Check("OnEmbeddingEnd", assist->OnEmbeddingEnd());
    hr = assist->LookupSymbol(kesto::wide(u"total"), SYMBOL_LOCAL, &language, value.out());
    Show("after the embedding ends", hr, Utf8(value));
    return 0;  // the handles release the service, then the tree, and free every string
}
