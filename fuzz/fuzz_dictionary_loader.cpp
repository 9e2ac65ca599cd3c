// The runtime's dictionary loader (LoadDictionaryBuffer) on arbitrary bytes, and the
// tree it builds from whatever loads.
//
// A failed load must explain itself ("NAME:LINE:COLUMN: ...") and leave the tree
// loaded before untouched. A successful load must give a tree that holds together:
// every listed class has a node with its own name, members come sorted and unique
// with one piece per queried keyword, inherited listings include the own members,
// every origin names a loaded class, and the own members of all classes add up to
// the member count. Nodes taken from the earlier tree must go on answering.
#include <algorithm>
#include <set>
#include <vector>

#include "FuzzSupport.h"
#include "kesto/tnode.h"

using vantle::fuzz::Ascii16;
using vantle::fuzz::OwnedBSTR;
using vantle::fuzz::Text16;

namespace {

const char kBaseDictionary[] = R"({"format": "vantle-class-dictionary/1", "classes": [
  {"name": "Base.Thing", "methods": [{"name": "Run", "returnType": "%Text"}]},
  {"name": "Base.Other", "super": ["Base.Thing"], "properties": [{"name": "Size", "type": "%Count"}]}]})";

// Splits a run of TNode pieces; false when it is not one.
bool SplitPieces(const Text16& run, std::vector<Text16>& pieces) {
    size_t at = 0;
    while (at < run.size()) {
        size_t length = 0;
        size_t digits = 0;
        while (at < run.size() && run[at] >= '0' && run[at] <= '9') {
            length = length * 10 + (run[at] - '0');
            ++at;
            ++digits;
            if (digits > 9) return false;
        }
        if (digits == 0 || at >= run.size() || run[at] != ':') return false;
        ++at;
        if (run.size() - at < length) return false;
        pieces.push_back(run.substr(at, length));
        at += length;
    }
    return true;
}

std::vector<Text16> SplitList(const Text16& list) {
    std::vector<Text16> entries;
    size_t start = 0;
    for (size_t i = 0; i < list.size(); ++i) {
        if (list[i] == ',') {
            entries.push_back(list.substr(start, i - start));
            start = i + 1;
        }
    }
    FUZZ_CHECK(start == list.size(), "a class list that is not comma-terminated");
    return entries;
}

struct Member {
    Text16 name;
    Text16 origin;
};

// Walks one child listing with the origin and two more keywords queried.
std::vector<Member> ListMembers(COM_ITNodeElement* node, const char* kind, int includeInherited) {
    COM_IStringCollection* children = nullptr;
    Text16 query = Ascii16("1:22:141:5");
    HRESULT hr = node->OpenChildren(Ascii16(kind).c_str(), query.c_str(), includeInherited, &children);
    FUZZ_CHECK(hr == S_OK && children != nullptr, "OpenChildren failed on a loaded class");
    std::vector<Member> members;
    for (;;) {
        OwnedBSTR name;
        OwnedBSTR values;
        hr = children->Next(&name, &values);
        if (hr == S_FALSE) {
            FUZZ_CHECK(name.Get() == nullptr && values.Get() == nullptr, "the end of a listing came with strings");
            break;
        }
        FUZZ_CHECK(hr == S_OK && name.Get() != nullptr, "Next failed on a loaded class");
        std::vector<Text16> pieces;
        FUZZ_CHECK(SplitPieces(values.Text(), pieces) && pieces.size() == 3,
                   "a member's values are not one piece per queried keyword");
        FUZZ_CHECK(pieces[1] == Ascii16("0") || pieces[1] == Ascii16("1"),
                   "the internal keyword answered something other than 0 or 1");
        members.push_back({name.Text(), pieces[0]});
    }
    FUZZ_CHECK(children->Next(nullptr, nullptr) == E_POINTER, "Next accepted NULL arguments");
    children->Release();
    for (size_t i = 1; i < members.size(); ++i) {
        FUZZ_CHECK(members[i - 1].name < members[i].name, "members are not sorted and unique by name");
    }
    return members;
}

void CheckLoadedTree(COM_ITNodeManager* manager) {
    COM_IClassCache* cache = nullptr;
    FUZZ_CHECK(manager->QueryInterface(COM_IID_IClassCache, reinterpret_cast<void**>(&cache)) == S_OK,
               "the tree manager is not a class cache");
    OwnedBSTR list;
    HRESULT hr = cache->GetClassList(nullptr, &list);
    cache->Release();
    FUZZ_CHECK(list.Get() != nullptr && (hr == S_OK) == (list.Text().size() > 0), "GetClassList");
    std::vector<Text16> classes = SplitList(list.Text());
    unsigned int classCount = 0;
    unsigned int memberCount = 0;
    manager->GetClassCount(&classCount);
    manager->GetMemberCount(&memberCount);
    FUZZ_CHECK(classCount == classes.size(), "the class list and the class count disagree");
    std::set<Text16> known(classes.begin(), classes.end());
    FUZZ_CHECK(known.size() == classes.size(), "a class is listed twice");

    unsigned long ownMembers = 0;
    for (const Text16& className : classes) {
        COM_ITNodeElement* node = nullptr;
        FUZZ_CHECK(manager->GetClassNode(className.c_str(), &node) == S_OK && node != nullptr,
                   "a listed class has no node");
        OwnedBSTR name;
        node->GetName(&name);
        FUZZ_CHECK(name.Text() == className, "a node does not carry its class's name");
        OwnedBSTR classType;
        FUZZ_CHECK(node->GetKeyword(Ascii16("23").c_str(), &classType, nullptr, nullptr, nullptr) == S_OK,
                   "the class type cannot be read");
        OwnedBSTR unknown;
        int known1 = 7;
        FUZZ_CHECK(node->GetKeyword(Ascii16("9999").c_str(), &unknown, &known1, nullptr, nullptr) == S_OK &&
                       unknown.Text().empty() && known1 == 0,
                   "an unknown subscript does not answer the empty string");
        if (className.find('.') != Text16::npos) {
            OwnedBSTR normalized;
            manager->NormalizeName(className.c_str(), nullptr, &normalized);
            FUZZ_CHECK(normalized.Text() == className, "a full class name does not normalise to itself");
        }
        for (const char* kind : {"m", "a", "p"}) {
            std::vector<Member> own = ListMembers(node, kind, 0);
            std::vector<Member> all = ListMembers(node, kind, 1);
            ownMembers += own.size();
            for (const Member& member : own) {
                FUZZ_CHECK(member.origin == className, "an own member has another origin");
                bool inherited = std::any_of(all.begin(), all.end(), [&](const Member& m) { return m.name == member.name; });
                FUZZ_CHECK(inherited, "an own member is missing from the inherited listing");
            }
            for (const Member& member : all) {
                FUZZ_CHECK(known.count(member.origin) == 1, "a member's origin is not a loaded class");
            }
        }
        COM_IStringCollection* none = nullptr;
        FUZZ_CHECK(node->OpenChildren(Ascii16("z").c_str(), Ascii16("").c_str(), 1, &none) == E_INVALIDARG &&
                       none == nullptr,
                   "an unknown child kind opened a listing");
        node->Release();
    }
    FUZZ_CHECK(ownMembers == memberCount, "own members do not add up to the member count");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    vantle::fuzz::LiveStringGuard strings;

    COM_ITNodeManager* manager = nullptr;
    HRESULT hr = COM_CreateInstance(COM_CLSID_TNodeManager, nullptr, COM_IID_ITNodeManager,
                                    reinterpret_cast<void**>(&manager));
    FUZZ_CHECK(hr == S_OK && manager != nullptr, "the tree manager cannot be created");

    Text16 baseName = Ascii16("base.json");
    OwnedBSTR message;
    hr = manager->LoadDictionaryBuffer(kBaseDictionary, sizeof(kBaseDictionary) - 1, baseName.c_str(), &message);
    FUZZ_CHECK(hr == S_OK && message.Get() == nullptr, "the base dictionary does not load");
    unsigned int baseClasses = 0;
    manager->GetClassCount(&baseClasses);
    COM_ITNodeElement* earlierNode = nullptr;
    FUZZ_CHECK(manager->GetClassNode(Ascii16("Base.Other").c_str(), &earlierNode) == S_OK, "the base tree");

    Text16 sourceName = Ascii16("fuzz.json");
    hr = manager->LoadDictionaryBuffer(reinterpret_cast<const char*>(data), size, sourceName.c_str(), &message);
    if (FAILED(hr)) {
        Text16 text = message.Text();
        FUZZ_CHECK(text.size() > sourceName.size() + 4 && text.compare(0, sourceName.size() + 1, sourceName + Text16(1, ':')) == 0,
                   "a failed load does not say where");
        size_t at = sourceName.size() + 1;
        size_t lineDigits = 0;
        while (at < text.size() && text[at] >= '0' && text[at] <= '9') ++at, ++lineDigits;
        FUZZ_CHECK(lineDigits > 0 && at < text.size() && text[at] == ':', "a failed load names no line");
        unsigned int classes = 0;
        manager->GetClassCount(&classes);
        FUZZ_CHECK(classes == baseClasses, "a failed load changed the tree");
        OwnedBSTR path;
        manager->GetDictionaryPath(&path);
        FUZZ_CHECK(path.Text() == baseName, "a failed load changed the dictionary path");
    } else {
        FUZZ_CHECK(hr == S_OK && message.Get() == nullptr, "a successful load left a message");
        CheckLoadedTree(manager);
    }

    // A node of the earlier tree still answers from it.
    OwnedBSTR earlierName;
    FUZZ_CHECK(earlierNode->GetName(&earlierName) == S_OK && earlierName.Text() == Ascii16("Base.Other"),
               "a node of the earlier tree stopped answering");
    std::vector<Member> inherited = ListMembers(earlierNode, "m", 1);
    FUZZ_CHECK(inherited.size() == 1 && inherited[0].origin == Ascii16("Base.Thing"), "the earlier tree changed");
    earlierNode->Release();
    manager->Release();
    return 0;
}
