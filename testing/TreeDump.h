// TreeDump.h: everything a loaded runtime tree answers, as one text, for comparing
// two loads (the fast reader against the exact one, a cached tree against a fresh
// one). Classes in name order with their super classes, keywords and place; each
// kind of member, own and inherited, with every keyword the tree knows for it and
// each member's place. Header-only, over the public tree interfaces.
#ifndef VANTLE_TESTING_TREEDUMP_H_
#define VANTLE_TESTING_TREEDUMP_H_

#include <string>

#include "AssistService.h"

inline std::string DumpTree(COM_ITNodeManager* manager) {
    std::string out;
    unsigned int classes = 0, members = 0;
    manager->GetClassCount(&classes);
    manager->GetMemberCount(&members);
    out += "classes " + std::to_string(classes) + " members " + std::to_string(members) + "\n";
    kesto::Ref<COM_IClassCache> cache;
    if (manager->QueryInterface(COM_IID_IClassCache, cache.out_void()) != S_OK) return out + "no cache\n";
    kesto::String list;
    cache->GetClassList(W(""), list.out());
    std::string names = Narrow(list);
    for (std::size_t at = 0; at < names.size();) {
        const std::size_t comma = names.find(',', at);
        const std::string name = names.substr(at, comma - at);
        at = comma == std::string::npos ? names.size() : comma + 1;
        kesto::Ref<COM_ITNodeElement> node;
        if (manager->GetClassNode(W(name), node.out()) != S_OK) {
            out += name + ": no node\n";
            continue;
        }
        kesto::String supers, description, classType, file;
        node->GetSuperClasses(supers.out());
        node->GetDescription(description.out());
        node->GetKeyword(W("23"), classType.out(), nullptr, nullptr, nullptr);
        unsigned int line = 0, column = 0;
        node->GetLocation(nullptr, nullptr, file.out(), &line, &column);
        out += name + " < " + Narrow(supers) + " | " + Narrow(classType) + " | " + Narrow(description) + " @" +
               std::to_string(line) + ":" + std::to_string(column) + "\n";
        struct Kind {
            const char* code;
            const char* query;
        };
        // Every subscript each kind of member has: name, origin, description, type,
        // then the kind's own ("42" return type, "27" formal argument list / collection, ...).
        for (const Kind kind : {Kind{"m", "1:11:21:41:52:142:232:272:392:42"},
                                Kind{"a", "1:11:21:41:52:142:242:272:352:36"}, Kind{"p", "1:11:21:41:52:14"}}) {
            for (int inherited = 0; inherited < 2; ++inherited) {
                kesto::Ref<COM_IStringCollection> children;
                if (node->OpenChildren(W(kind.code), W(kind.query), inherited, children.out()) != S_OK) continue;
                for (;;) {
                    kesto::String member, values;
                    if (children->Next(member.out(), values.out()) != S_OK) break;
                    kesto::String where;
                    unsigned int memberLine = 0, memberColumn = 0;
                    node->GetLocation(W(kind.code), member.get(), where.out(), &memberLine, &memberColumn);
                    out += std::string("  ") + kind.code + (inherited ? "+ " : "  ") + Narrow(member) + " = " +
                           Narrow(values) + " @" + std::to_string(memberLine) + ":" + std::to_string(memberColumn) +
                           "\n";
                }
            }
        }
    }
    return out;
}

#endif  // VANTLE_TESTING_TREEDUMP_H_
