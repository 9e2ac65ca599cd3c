// The runtime's dictionary loader (LoadDictionaryBuffer) on arbitrary bytes, and the
// tree it builds from whatever loads.
//
// A failed load must explain itself ("NAME:LINE:COLUMN: ...") and leave the tree
// loaded before untouched. A successful load must give a tree that holds together:
// every listed class has a node with its own name, members come sorted and unique
// with one piece per queried keyword, inherited listings include the own members,
// every origin names a loaded class, and the own members of all classes add up to
// the member count. Nodes taken from the earlier tree must go on answering.
//
// Every byte counts: a load that succeeds has read the whole buffer, so the same
// bytes with a '}' after them fail right at that '}'. Every problem names a line
// of the buffer and stays a line to read, whatever the file holds.

#include <stdlib.h>

#include <algorithm>
#include <string>
#include <set>
#include <vector>

#include "AssistService.h"
#include "FuzzSupport.h"
#include "TreeDump.h"


namespace {

const char kBaseDictionary[] = R"({"format": "vantle-class-dictionary/1", "classes": [
  {"name": "Base.Thing", "methods": [{"name": "Run", "returnType": "%Text"}]},
  {"name": "Base.Other", "super": ["Base.Thing"], "properties": [{"name": "Size", "type": "%Count"}]}]})";

// Splits a run of TNode pieces; false when it is not one.
bool SplitPieces(const Units& run, std::vector<Units>& pieces) {
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

std::vector<Units> SplitList(const Units& list) {
    std::vector<Units> entries;
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
    Units name;
    Units origin;
};

// Walks one child listing with the origin and two more keywords queried.
std::vector<Member> ListMembers(COM_ITNodeElement* node, const char* kind, int includeInherited) {
    kesto::Ref<COM_IStringCollection> children;
    HRESULT hr = node->OpenChildren(W(kind), W("1:22:141:5"), includeInherited, children.out());
    FUZZ_CHECK(hr == S_OK && children, "OpenChildren failed on a loaded class");
    std::vector<Member> members;
    for (;;) {
        kesto::String name;
        kesto::String values;
        hr = children->Next(name.out(), values.out());
        if (hr == S_FALSE) {
            FUZZ_CHECK(name.get() == nullptr && values.get() == nullptr, "the end of a listing came with strings");
            break;
        }
        FUZZ_CHECK(hr == S_OK && name.get() != nullptr, "Next failed on a loaded class");
        std::vector<Units> pieces;
        FUZZ_CHECK(SplitPieces(UnitsOf(values), pieces) && pieces.size() == 3,
                   "a member's values are not one piece per queried keyword");
        FUZZ_CHECK(pieces[1] == W("0").units() || pieces[1] == W("1").units(),
                   "the internal keyword answered something other than 0 or 1");
        members.push_back({UnitsOf(name), pieces[0]});
    }
    FUZZ_CHECK(children->Next(nullptr, nullptr) == E_POINTER, "Next accepted NULL arguments");
    for (size_t i = 1; i < members.size(); ++i) {
        FUZZ_CHECK(members[i - 1].name < members[i].name, "members are not sorted and unique by name");
    }
    return members;
}

void CheckLoadedTree(COM_ITNodeManager* manager) {
    kesto::Ref<COM_IClassCache> cache;
    FUZZ_CHECK(manager->QueryInterface(COM_IID_IClassCache, cache.out_void()) == S_OK,
               "the tree manager is not a class cache");
    kesto::String list;
    HRESULT hr = cache->GetClassList(nullptr, list.out());
    FUZZ_CHECK(list.get() != nullptr && (hr == S_OK) == (UnitsOf(list).size() > 0), "GetClassList");
    std::vector<Units> classes = SplitList(UnitsOf(list));
    unsigned int classCount = 0;
    unsigned int memberCount = 0;
    manager->GetClassCount(&classCount);
    manager->GetMemberCount(&memberCount);
    FUZZ_CHECK(classCount == classes.size(), "the class list and the class count disagree");
    std::set<Units> known(classes.begin(), classes.end());
    FUZZ_CHECK(known.size() == classes.size(), "a class is listed twice");

    unsigned long ownMembers = 0;
    for (const Units& className : classes) {
        kesto::Ref<COM_ITNodeElement> node;
        FUZZ_CHECK(manager->GetClassNode(className.c_str(), node.out()) == S_OK && node,
                   "a listed class has no node");
        kesto::String name;
        node->GetName(name.out());
        FUZZ_CHECK(UnitsOf(name) == className, "a node does not carry its class's name");
        kesto::String classType;
        FUZZ_CHECK(node->GetKeyword(W("23"), classType.out(), nullptr, nullptr, nullptr) == S_OK,
                   "the class type cannot be read");
        kesto::String unknown;
        int known1 = 7;
        FUZZ_CHECK(node->GetKeyword(W("9999"), unknown.out(), &known1, nullptr, nullptr) == S_OK &&
                       UnitsOf(unknown).empty() && known1 == 0,
                   "an unknown subscript does not answer the empty string");
        if (className.find('.') != Units::npos) {
            kesto::String normalized;
            manager->NormalizeName(className.c_str(), nullptr, normalized.out());
            FUZZ_CHECK(UnitsOf(normalized) == className, "a full class name does not normalise to itself");
        }
        for (const char* kind : {"m", "a", "p"}) {
            std::vector<Member> own = ListMembers(node.get(), kind, 0);
            std::vector<Member> all = ListMembers(node.get(), kind, 1);
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
        kesto::Ref<COM_IStringCollection> none;
        FUZZ_CHECK(node->OpenChildren(W("z"), W(""), 1, none.out()) == E_INVALIDARG && !none,
                   "an unknown child kind opened a listing");
    }
    FUZZ_CHECK(ownMembers == memberCount, "own members do not add up to the member count");
}

// Where the byte after `size` bytes of text stands, as the loader counts: lines end
// at LF, columns count UTF-16 units, a byte order mark at the start counts none.
Units PlaceOfEnd(const uint8_t* data, size_t size) {
    size_t line = 1;
    size_t units = 0;
    const size_t start = size >= 3 && data[0] == 0xEF && data[1] == 0xBB && data[2] == 0xBF ? 3 : 0;
    for (size_t i = start; i < size; ++i) {
        if (data[i] == '\n') {
            ++line;
            units = 0;
        } else {
            units += static_cast<size_t>((data[i] & 0xC0) != 0x80) + static_cast<size_t>(data[i] >= 0xF0);
        }
    }
    return W(std::to_string(line) + ":" + std::to_string(units + 1) + ": ").units();
}

// Each problem listed after a failed load: "fuzz.json:LINE:COLUMN: what", on a line of
// the buffer, no longer than shortened pieces of the file allow, at most a hundred.
void CheckProblems(COM_ITNodeManager* manager, const Units& sourceName, const uint8_t* data, size_t size) {
    // Pieces of the file are cut to 80 characters: a problem's line, with its class
    // and member, stays well under this many units.
    constexpr size_t kLongestLine = 3000;
    kesto::String errors;
    FUZZ_CHECK(manager->GetLoadErrors(errors.out()) == S_OK, "a failed load lists no problems");
    const Units text = UnitsOf(errors);
    const size_t lines = 1 + static_cast<size_t>(std::count(data, data + size, '\n'));
    size_t count = 0;
    for (size_t start = 0, end; start < text.size(); start = end + 1) {
        end = text.find('\n', start);
        FUZZ_CHECK(end != Units::npos, "the list of problems does not end in a line break");
        FUZZ_CHECK(end - start <= kLongestLine, "a problem's message grows with the file");
        ++count;
        size_t at = start + sourceName.size() + 1;
        size_t line = 0;
        for (; at < end && text[at] >= '0' && text[at] <= '9' && line <= lines; ++at)
            line = line * 10 + (text[at] - '0');
        FUZZ_CHECK(text.compare(start, sourceName.size() + 1, sourceName + Units(1, ':')) == 0 && line >= 1 &&
                       line <= lines && at < end && text[at] == ':',
                   "a problem does not name a line of the buffer");
    }
    FUZZ_CHECK(count >= 1 && count <= 100, "not one to a hundred problems");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    vantle::fuzz::LiveStringGuard strings;

    kesto::Ref<COM_ITNodeManager> manager = NewTree();
    FUZZ_CHECK(manager, "the tree manager cannot be created");

    Units baseName = W("base.json").units();
    kesto::String message;
    HRESULT hr = manager->LoadDictionaryBuffer(kBaseDictionary, sizeof(kBaseDictionary) - 1, baseName.c_str(),
                                               message.out());
    FUZZ_CHECK(hr == S_OK && message.get() == nullptr, "the base dictionary does not load");
    unsigned int baseClasses = 0;
    manager->GetClassCount(&baseClasses);
    kesto::Ref<COM_ITNodeElement> earlierNode;
    FUZZ_CHECK(manager->GetClassNode(W("Base.Other"), earlierNode.out()) == S_OK, "the base tree");

    Units sourceName = W("fuzz.json").units();
    hr = manager->LoadDictionaryBuffer(reinterpret_cast<const char*>(data), size, sourceName.c_str(), message.out());
    if (FAILED(hr)) {
        Units text = UnitsOf(message);
        FUZZ_CHECK(text.size() > sourceName.size() + 4 && text.compare(0, sourceName.size() + 1, sourceName + Units(1, ':')) == 0,
                   "a failed load does not say where");
        size_t at = sourceName.size() + 1;
        size_t lineDigits = 0;
        while (at < text.size() && text[at] >= '0' && text[at] <= '9') ++at, ++lineDigits;
        FUZZ_CHECK(lineDigits > 0 && at < text.size() && text[at] == ':', "a failed load names no line");
        CheckProblems(manager.get(), sourceName, data, size);
        unsigned int classes = 0;
        manager->GetClassCount(&classes);
        FUZZ_CHECK(classes == baseClasses, "a failed load changed the tree");
        kesto::String path;
        manager->GetDictionaryPath(path.out());
        FUZZ_CHECK(UnitsOf(path) == baseName, "a failed load changed the dictionary path");
    } else {
        FUZZ_CHECK(hr == S_OK && message.get() == nullptr, "a successful load left a message");
        CheckLoadedTree(manager.get());

        std::string more(reinterpret_cast<const char*>(data), size);
        more += '}';
        kesto::Ref<COM_ITNodeManager> longer = NewTree();
        kesto::String moreMessage;
        const HRESULT moreStatus =
            longer->LoadDictionaryBuffer(more.data(), more.size(), sourceName.c_str(), moreMessage.out());
        const Units expected = sourceName + Units(1, ':') + PlaceOfEnd(data, size);
        FUZZ_CHECK(moreStatus == PARSE_E_SYNTAX && UnitsOf(moreMessage).compare(0, expected.size(), expected) == 0,
                   "a successful load left bytes of the buffer unread");
    }

    // The fast reader answers exactly as the exact reader does, or leaves the text
    // to it: same status, same message, same tree.
    {
        setenv("KESTO_DICTIONARY_READER", "exact", 1);
        kesto::Ref<COM_ITNodeManager> exact = NewTree();
        kesto::String exactMessage;
        const HRESULT exactStatus = exact->LoadDictionaryBuffer(reinterpret_cast<const char*>(data), size,
                                                                sourceName.c_str(), exactMessage.out());
        unsetenv("KESTO_DICTIONARY_READER");
        FUZZ_CHECK(exactStatus == hr && UnitsOf(exactMessage) == UnitsOf(message),
                   "the fast and the exact reader disagree on the outcome");
        if (SUCCEEDED(hr))
            FUZZ_CHECK(DumpTree(exact.get()) == DumpTree(manager.get()),
                       "the fast and the exact reader build different trees");
    }

    // A node of the earlier tree still answers from it.
    kesto::String earlierName;
    FUZZ_CHECK(earlierNode->GetName(earlierName.out()) == S_OK && UnitsOf(earlierName) == W("Base.Other").units(),
               "a node of the earlier tree stopped answering");
    std::vector<Member> inherited = ListMembers(earlierNode.get(), "m", 1);
    FUZZ_CHECK(inherited.size() == 1 && inherited[0].origin == W("Base.Thing").units(), "the earlier tree changed");
    return 0;
}
