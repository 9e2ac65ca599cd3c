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

// Whether a byte of UTF-8 starts a character, for cutting text between characters.
// A run of more continuation bytes than a character holds (broken text) counts as
// characters too, so that a cut never waits for a lead byte that does not come.
bool StartsCharacter(unsigned char byte, int& continuations) {
    if ((byte & 0xC0) != 0x80 || continuations == 3) {
        continuations = 0;
        return true;
    }
    ++continuations;
    return false;
}

}  // namespace

std::string Shortened(std::string_view text) {
    std::string out;
    std::size_t characters = 0;
    int continuations = 0;
    std::size_t i = 0;
    for (; i < text.size(); ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        // A character is cut off before its first byte, never inside it.
        if (StartsCharacter(c, continuations) && characters++ == kLongestPiece) break;
        if (c < 0x20 || c == 0x7F || c == '"' || c == '\\') {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04X", c);
            out += escaped;
        } else {
            out.push_back(static_cast<char>(c));
        }
    }
    if (i < text.size()) out += "...";
    return out;
}

// Piece by piece: GCC 12 at -O3 warns falsely about `"literal" + std::string`.
std::string Quote(std::string_view text) {
    std::string out(1, '"');
    out += Shortened(text);
    out += '"';
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
    if (!className.empty()) context = "class " + Shortened(className);
    if (!memberName.empty()) {
        if (!context.empty()) context += ", ";
        context += Str(KindWord(kind)) + " " + Shortened(memberName);
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

std::string SuperCycle(const std::vector<std::string>& first, std::size_t length) {
    std::string path;
    for (std::size_t i = 0; i < first.size() && i < length && i < kCycleNamesShown; ++i)
        path += Shortened(first[i]) + " -> ";
    if (length > kCycleNamesShown) path += "and " + std::to_string(length - kCycleNamesShown) + " more -> ";
    if (!first.empty()) path += Shortened(first.front());
    return "the super classes form a cycle: " + path;
}

std::string SyntaxError(std::string_view library, std::string_view lastToken) {
    // "[json.exception.parse_error.101] parse error at line L, column C: what"
    const std::size_t column = library.find("column ");
    if (column != library.npos) {
        const std::size_t colon = library.find(": ", column);
        if (colon != library.npos) library.remove_prefix(colon + 2);
    }
    // "...; last read: 'TOKEN'...": the token may be the rest of the file. The
    // scanner stopped at its end, where the message points, so its end is kept.
    constexpr std::string_view kLastRead = "; last read: '";
    const std::size_t read = library.find(kLastRead);
    if (read == library.npos || library.compare(read + kLastRead.size(), lastToken.size(), lastToken) != 0)
        return Str(library);
    std::size_t start = lastToken.size();
    int continuations = 0;
    for (std::size_t characters = 0; start > 0 && characters < kLongestPiece;) {
        --start;
        if (StartsCharacter(static_cast<unsigned char>(lastToken[start]), continuations)) ++characters;
    }
    const std::size_t tokenAt = read + kLastRead.size();
    return Str(library.substr(0, tokenAt)) + (start > 0 ? "..." : "") + Str(lastToken.substr(start)) +
           Str(library.substr(tokenAt + lastToken.size()));
}

std::string NulCharacter() {
    return "syntax error - a NUL character (U+0000) is not allowed in a dictionary";
}

std::string NumberOutOfRange(std::string_view number) {
    return "number " + Quote(number) + " is out of range";
}

std::string CollectionWithoutType(std::string_view collection) {
    return "a property with \"collection\": " + Quote(collection) +
           " needs a \"type\", the class of its elements";
}

std::string NotRegularFile(std::string_view path, std::string_view kind) {
    return Str(path) + ": cannot read the dictionary: it is " + Str(kind);
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

std::string OutOfMemoryReading(std::string_view path) {
    return Str(path) + ": out of memory while reading the dictionary";
}

std::string CannotRead(std::string_view path, int error) {
    return Str(path) + ": cannot read the dictionary: " + std::strerror(error);
}

}  // namespace kesto::messages
