// The dictionary loader's message texts.
#include "dictionary_messages.h"

#include <cstdio>
#include <cstring>

namespace kesto::messages {
namespace {

std::string Str(std::string_view text) { return std::string(text); }

std::string_view ObjectWords(ObjectKind object) {
    switch (object) {
        case ObjectKind::kRoot:
            return "the dictionary";
        case ObjectKind::kClass:
            return "a class";
        case ObjectKind::kMethod:
            return "a method";
        case ObjectKind::kProperty:
            return "a property";
        case ObjectKind::kParameter:
            return "a parameter";
    }
    return "an object";
}

std::string_view ValueWords(ValueKind kind) {
    switch (kind) {
        case ValueKind::kString:
            return "a string";
        case ValueKind::kBoolean:
            return "true or false";
        case ValueKind::kArray:
            return "an array";
    }
    return "a value";
}

}  // namespace

std::string Quote(std::string_view text) {
    constexpr std::size_t kLongest = 80;
    std::string out = "\"";
    for (std::size_t i = 0; i < text.size() && i < kLongest; ++i) {
        unsigned char c = static_cast<unsigned char>(text[i]);
        if (c < 0x20 || c == '"' || c == '\\') {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04X", c);
            out += escaped;
        } else {
            out.push_back(static_cast<char>(c));
        }
    }
    if (text.size() > kLongest) out += "...";
    out += "\"";
    return out;
}

std::string_view KindWord(MemberKind kind) {
    switch (kind) {
        case MemberKind::kMethod:
            return "method";
        case MemberKind::kProperty:
            return "property";
        case MemberKind::kParameter:
            return "parameter";
    }
    return "member";
}

std::string Position(LineColumn at) {
    return "line " + std::to_string(at.line) + ", column " + std::to_string(at.column);
}

std::string Context(std::string_view className, MemberKind kind, std::string_view memberName) {
    std::string context;
    if (!className.empty()) context = "class " + Str(className);
    if (!memberName.empty()) {
        if (!context.empty()) context += ", ";
        context += Str(KindWord(kind)) + " " + Str(memberName);
    }
    return context.empty() ? context : " (" + context + ")";
}

std::string Located(std::string_view source, LineColumn at, std::string_view what, std::string_view context) {
    return Str(source) + ":" + std::to_string(at.line) + ":" + std::to_string(at.column) + ": " + Str(what) +
           Str(context);
}

std::string RootNotObject(std::string_view found) {
    return "a class dictionary must be a JSON object, not " + Str(found);
}

std::string ClassEntryNotObject(std::string_view found) {
    return "each entry of \"classes\" must be an object, not " + Str(found);
}

std::string SuperEntryNotName(std::string_view found) {
    return "each entry of \"super\" must be a class name (a string), not " + Str(found);
}

std::string MemberEntryNotObject(MemberKind kind, std::string_view found) {
    return "each entry of \"" + Str(MemberListKey(kind)) + "\" must be an object, not " + Str(found);
}

std::string WrongValueKind(const Field& field, std::string_view found) {
    return Quote(field.key) + " must be " + Str(ValueWords(field.value)) + ", not " + Str(found);
}

std::string Unexpected(std::string_view found) { return "unexpected " + Str(found); }

std::string UnknownKey(std::string_view key, ObjectKind object) {
    std::string known;
    for (const Field& field : FieldsOf(object)) known += (known.empty() ? "" : ", ") + Str(field.key);
    return "unknown key " + Quote(key) + " in " + Str(ObjectWords(object)) + " (known keys: " + known + ")";
}

std::string RepeatedKey(std::string_view key) { return "key " + Quote(key) + " appears twice"; }

std::string UnsupportedFormat(std::string_view value) {
    return "unsupported format " + Quote(value) + "; expected " + Quote(kDictionaryFormat);
}

std::string NotAllowed(const Field& field, std::string_view value) {
    std::string allowed;
    for (std::size_t i = 0; i < field.allowed.size(); ++i) {
        if (i > 0) allowed += i + 1 == field.allowed.size() ? " or " : ", ";
        allowed += Quote(field.allowed[i]);
    }
    return Quote(field.key) + " must be " + allowed + ", not " + Quote(value);
}

std::string BadClassName(ClassNameFault fault, std::string_view name) {
    std::string_view why;
    switch (fault) {
        case ClassNameFault::kEmpty:
            why = "a class name must not be empty";
            break;
        case ClassNameFault::kBlankOrControl:
            why = "a class name must not hold blanks or control characters";
            break;
        case ClassNameFault::kComma:
            why = "a class name must not hold \",\"";
            break;
        case ClassNameFault::kEmptyPart:
            why = "the parts of a class name must not be empty";
            break;
        case ClassNameFault::kPercentInside:
            why = "\"%\" may only start a class name";
            break;
        case ClassNameFault::kPercentWithoutPackage:
        case ClassNameFault::kPercentAlone:
            why = "a class name starting with \"%\" needs a package, as in \"%Library.Text\"";
            break;
        case ClassNameFault::kNone:
            why = "a class name is wrong";
            break;
    }
    return Str(why) + ": " + Quote(name);
}

std::string BadMemberName(MemberNameFault fault, MemberKind kind, std::string_view name) {
    std::string_view why;
    switch (fault) {
        case MemberNameFault::kEmpty:
            why = " must not be empty";
            break;
        case MemberNameFault::kBlankOrControl:
            why = " must not hold blanks or control characters";
            break;
        case MemberNameFault::kSeparator:
            why = " must not hold \",\", \"(\" or \")\"";
            break;
        case MemberNameFault::kNone:
            why = " is wrong";
            break;
    }
    return "a " + Str(KindWord(kind)) + " name" + Str(why) + ": " + Quote(name);
}

std::string ClassWithoutName() { return "this class has no \"name\""; }

std::string MemberWithoutName(MemberKind kind) { return "this " + Str(KindWord(kind)) + " has no \"name\""; }

std::string ClassTwice(std::string_view name, LineColumn first) {
    return "class " + Quote(name) + " is defined twice (first at " + Position(first) + ")";
}

std::string MemberTwice(MemberKind kind, std::string_view name, LineColumn first) {
    return Str(KindWord(kind)) + " " + Quote(name) + " is defined twice in this class (first at " + Position(first) +
           ")";
}

std::string MissingSuper(std::string_view name) { return "super class " + Quote(name) + " does not exist"; }

std::string SuperCycle(std::string_view path) { return "the super classes form a cycle: " + Str(path); }

std::string SyntaxError(std::string_view library) {
    const std::size_t column = library.find("column ");
    if (column != library.npos) {
        const std::size_t colon = library.find(": ", column);
        if (colon != library.npos) library.remove_prefix(colon + 2);
    }
    return Str(library);
}

std::string TooLarge(std::string_view source) { return Str(source) + ": the file is larger than 1 GiB"; }

std::string OutOfMemoryLoading(std::string_view source) {
    return Str(source) + ": out of memory while loading the dictionary";
}

std::string NotReadable(std::string_view source) { return Str(source) + ": cannot read the dictionary"; }

std::string Failed(std::string_view source, std::string_view what) { return Str(source) + ": " + Str(what); }

std::string CannotOpen(std::string_view path, int error) {
    return Str(path) + ": cannot open the dictionary: " + std::strerror(error);
}

std::string IsFolder(std::string_view path) { return Str(path) + ": cannot read the dictionary: it is a directory"; }

std::string OutOfMemoryReading(std::string_view path) {
    return Str(path) + ": out of memory while reading the dictionary";
}

std::string CannotRead(std::string_view path, int error) {
    return Str(path) + ": cannot read the dictionary: " + std::strerror(error);
}

}  // namespace kesto::messages
