// The class-dictionary reader: JSON events straight into a Dictionary.
//
// The JSON library calls us once per token (no document tree is built, which keeps
// a large dictionary fast and small). The shape of a dictionary is fixed and
// shallow: root object -> "classes" array -> class object -> member arrays ->
// member object. So the reader is a small state machine over that shape, and any
// token that does not fit is reported right where it stands.
#include "dictionary_loader.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>
#include <nlohmann/json.hpp>
#include <span>
#include <string>
#include <vector>

#include "dictionary_position.h"
#include "dictionary_text.h"
#include "kesto/tnode.h"

namespace kesto {
namespace {

using Json = nlohmann::json;

enum class Field : std::uint8_t {
    kFormat,
    kClasses,
    kName,
    kSuper,
    kClassType,
    kDescription,
    kMethods,
    kProperties,
    kParameters,
    kClassMethod,
    kReturnType,
    kFormalSpec,
    kPrivate,
    kInternal,
    kType,
    kCollection,
    kRelationship,
    kCardinality,
    kDefault,
};

enum class Shape : std::uint8_t { kString, kBoolean, kArray };

struct FieldInfo {
    std::string_view key;
    Field field;
    Shape shape;
};

constexpr FieldInfo kRootFields[] = {
    {"format", Field::kFormat, Shape::kString},
    {"classes", Field::kClasses, Shape::kArray},
};
constexpr FieldInfo kClassFields[] = {
    {"name", Field::kName, Shape::kString},           {"super", Field::kSuper, Shape::kArray},
    {"classType", Field::kClassType, Shape::kString}, {"description", Field::kDescription, Shape::kString},
    {"methods", Field::kMethods, Shape::kArray},       {"properties", Field::kProperties, Shape::kArray},
    {"parameters", Field::kParameters, Shape::kArray},
};
constexpr FieldInfo kMethodFields[] = {
    {"name", Field::kName, Shape::kString},
    {"classMethod", Field::kClassMethod, Shape::kBoolean},
    {"returnType", Field::kReturnType, Shape::kString},
    {"formalSpec", Field::kFormalSpec, Shape::kString},
    {"private", Field::kPrivate, Shape::kBoolean},
    {"internal", Field::kInternal, Shape::kBoolean},
    {"description", Field::kDescription, Shape::kString},
};
constexpr FieldInfo kPropertyFields[] = {
    {"name", Field::kName, Shape::kString},
    {"type", Field::kType, Shape::kString},
    {"collection", Field::kCollection, Shape::kString},
    {"relationship", Field::kRelationship, Shape::kBoolean},
    {"cardinality", Field::kCardinality, Shape::kString},
    {"private", Field::kPrivate, Shape::kBoolean},
    {"internal", Field::kInternal, Shape::kBoolean},
    {"description", Field::kDescription, Shape::kString},
};
constexpr FieldInfo kParameterFields[] = {
    {"name", Field::kName, Shape::kString},
    {"type", Field::kType, Shape::kString},
    {"default", Field::kDefault, Shape::kString},
    {"internal", Field::kInternal, Shape::kBoolean},
    {"description", Field::kDescription, Shape::kString},
};

constexpr std::string_view kCollections[] = {"", "list", "array"};
constexpr std::string_view kCardinalities[] = {"", "one", "many", "parent", "children"};

// Where the reader stands in the fixed shape of a dictionary.
enum class Level : std::uint8_t { kStart, kRoot, kClassList, kClass, kSuperList, kMemberList, kMember, kEnd };

const char* KindWord(MemberKind kind) {
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

const char* ListKey(MemberKind kind) {
    switch (kind) {
        case MemberKind::kMethod:
            return "methods";
        case MemberKind::kProperty:
            return "properties";
        case MemberKind::kParameter:
            return "parameters";
    }
    return "members";
}

// Quoted for a message: control characters escaped, long texts cut.
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

bool HasBlankOrControl(std::string_view name) {
    for (char ch : name) {
        unsigned char c = static_cast<unsigned char>(ch);
        if (c <= 0x20 || c == 0x7F) return true;
    }
    return false;
}

// Empty when the name can be a full class name, else why not.
std::string ClassNameProblem(std::string_view name) {
    if (name.empty()) return "a class name must not be empty";
    if (HasBlankOrControl(name)) return "a class name must not hold blanks or control characters";
    if (name.find(',') != std::string_view::npos) return "a class name must not hold \",\"";
    if (name.front() == '.' || name.back() == '.' || name.find("..") != std::string_view::npos)
        return "the parts of a class name must not be empty";
    if (name.find('%', 1) != std::string_view::npos) return "\"%\" may only start a class name";
    if (name.front() == '%' && name.find('.') == std::string_view::npos)
        return "a class name starting with \"%\" needs a package, as in \"%Library.Text\"";
    return {};
}

std::string MemberNameProblem(std::string_view name, MemberKind kind) {
    std::string what = std::string("a ") + KindWord(kind) + " name";
    if (name.empty()) return what + " must not be empty";
    if (HasBlankOrControl(name)) return what + " must not hold blanks or control characters";
    if (name.find_first_of(",()") != std::string_view::npos) return what + " must not hold \",\", \"(\" or \")\"";
    return {};
}

struct PendingSuper {
    std::uint32_t owner;
    TextRef name;
    std::size_t offset;
    std::uint32_t resolved = Dictionary::kNoClass;
};

class Reader {
public:
    Reader(std::string_view text, std::string_view source, PositionTracker* tracker)
        : text_(text), source_(source), tracker_(tracker), dict_(std::make_shared<Dictionary>()) {}

    // The JSON library's event interface.
    bool null() { return WrongValue("null", tracker_->ValueStart()); }
    bool boolean(bool value);
    bool number_integer(Json::number_integer_t) { return WrongValue("a number", NumberStart()); }
    bool number_unsigned(Json::number_unsigned_t) { return WrongValue("a number", NumberStart()); }
    bool number_float(Json::number_float_t, const Json::string_t&) { return WrongValue("a number", NumberStart()); }
    bool string(Json::string_t& value);
    bool binary(Json::binary_t&) { return WrongValue("binary data", tracker_->ValueStart()); }
    bool start_object(std::size_t);
    bool key(Json::string_t& key);
    bool end_object();
    bool start_array(std::size_t);
    bool end_array();
    bool parse_error(std::size_t position, const std::string& lastToken, const nlohmann::detail::exception& error);

    // After a successful parse: names, super classes and cycles.
    bool Finish();

    HRESULT status() const { return status_; }
    const std::string& message() const { return message_; }
    std::shared_ptr<Dictionary> TakeDictionary() { return std::move(dict_); }
    void ReserveText(std::size_t units) { dict_->ReserveText(units); }

private:
    bool Fail(HRESULT status, std::size_t offset, const std::string& what);
    bool WrongValue(const char* found, std::size_t offset);
    std::string Position(std::size_t offset) const;
    std::string Context() const;
    std::size_t NumberStart() const;

    std::span<const FieldInfo> FieldsHere() const;
    std::uint32_t& SeenHere();
    bool AssignString(std::string_view value);
    bool AssignBoolean(bool value);
    bool EndMember();
    bool EndClass();

    std::uint32_t ResolveSuper(std::uint32_t owner, std::u16string_view name) const;
    bool CheckCycles();

    std::string_view text_;
    std::string source_;
    PositionTracker* tracker_;
    std::shared_ptr<Dictionary> dict_;

    HRESULT status_ = S_OK;
    std::string message_;

    Level level_ = Level::kStart;
    MemberKind listKind_ = MemberKind::kMethod;
    const FieldInfo* pending_ = nullptr;  // the key whose value comes next
    std::uint32_t rootSeen_ = 0;
    std::uint32_t classSeen_ = 0;
    std::uint32_t memberSeen_ = 0;

    std::uint32_t class_ = 0;   // index of the class being read
    std::uint32_t member_ = 0;  // index of the member being read
    std::string className_;     // for messages
    std::string memberName_;
    std::size_t classStart_ = 0;
    std::size_t memberStart_ = 0;

    std::vector<std::size_t> classNameAt_;   // per class: offset of its name
    std::vector<std::size_t> memberNameAt_;  // per member: offset of its name
    std::vector<PendingSuper> supers_;
};

std::string Reader::Position(std::size_t offset) const {
    LineColumn at = LineColumnAt(text_, offset);
    return "line " + std::to_string(at.line) + ", column " + std::to_string(at.column);
}

std::string Reader::Context() const {
    std::string context;
    if (!className_.empty()) context = "class " + className_;
    if (level_ == Level::kMember && !memberName_.empty()) {
        if (!context.empty()) context += ", ";
        context += std::string(KindWord(listKind_)) + " " + memberName_;
    }
    return context.empty() ? context : " (" + context + ")";
}

bool Reader::Fail(HRESULT status, std::size_t offset, const std::string& what) {
    if (FAILED(status_)) return false;  // the first problem is the one reported
    LineColumn at = LineColumnAt(text_, offset);
    status_ = status;
    message_ = source_ + ":" + std::to_string(at.line) + ":" + std::to_string(at.column) + ": " + what + Context();
    return false;
}

std::size_t Reader::NumberStart() const {
    // The byte that ended the number is read already, but a blank or a structural
    // character does not move the value start.
    return tracker_->ValueStart();
}

bool Reader::WrongValue(const char* found, std::size_t offset) {
    std::string f(found);
    switch (level_) {
        case Level::kStart:
            return Fail(TNODE_E_KEYWORD, offset, "a class dictionary must be a JSON object, not " + f);
        case Level::kClassList:
            return Fail(TNODE_E_KEYWORD, offset, "each entry of \"classes\" must be an object, not " + f);
        case Level::kSuperList:
            return Fail(TNODE_E_KEYWORD, offset, "each entry of \"super\" must be a class name (a string), not " + f);
        case Level::kMemberList:
            return Fail(TNODE_E_KEYWORD, offset,
                        std::string("each entry of \"") + ListKey(listKind_) + "\" must be an object, not " + f);
        case Level::kRoot:
        case Level::kClass:
        case Level::kMember:
            if (pending_ != nullptr) {
                const char* expected = pending_->shape == Shape::kString    ? "a string"
                                       : pending_->shape == Shape::kBoolean ? "true or false"
                                                                            : "an array";
                return Fail(TNODE_E_KEYWORD, offset,
                            Quote(pending_->key) + " must be " + expected + ", not " + f);
            }
            break;
        case Level::kEnd:
            break;
    }
    return Fail(PARSE_E_SYNTAX, offset, std::string("unexpected ") + found);
}

std::span<const FieldInfo> Reader::FieldsHere() const {
    switch (level_) {
        case Level::kRoot:
            return kRootFields;
        case Level::kClass:
            return kClassFields;
        case Level::kMember:
            switch (listKind_) {
                case MemberKind::kMethod:
                    return kMethodFields;
                case MemberKind::kProperty:
                    return kPropertyFields;
                case MemberKind::kParameter:
                    return kParameterFields;
            }
            break;
        default:
            break;
    }
    return {};
}

std::uint32_t& Reader::SeenHere() {
    if (level_ == Level::kRoot) return rootSeen_;
    if (level_ == Level::kClass) return classSeen_;
    return memberSeen_;
}

bool Reader::key(Json::string_t& key) {
    std::span<const FieldInfo> fields = FieldsHere();
    for (const FieldInfo& info : fields) {
        if (info.key != key) continue;
        std::uint32_t bit = 1u << static_cast<unsigned>(info.field);
        std::uint32_t& seen = SeenHere();
        if (seen & bit) return Fail(TNODE_E_KEYWORD, tracker_->ValueStart(), "key " + Quote(key) + " appears twice");
        seen |= bit;
        pending_ = &info;
        return true;
    }
    std::string where = level_ == Level::kRoot    ? "the dictionary"
                        : level_ == Level::kClass ? "a class"
                                                  : std::string("a ") + KindWord(listKind_);
    std::string expected;
    for (const FieldInfo& info : fields) expected += (expected.empty() ? "" : ", ") + std::string(info.key);
    return Fail(TNODE_E_KEYWORD, tracker_->ValueStart(),
                "unknown key " + Quote(key) + " in " + where + " (known keys: " + expected + ")");
}

bool Reader::start_object(std::size_t) {
    std::size_t at = tracker_->StructuralStart();
    switch (level_) {
        case Level::kStart:
            level_ = Level::kRoot;
            return true;
        case Level::kClassList: {
            class_ = dict_->ClassCount();
            dict_->MutableClasses().emplace_back();
            classNameAt_.push_back(at);
            classStart_ = at;
            classSeen_ = 0;
            className_.clear();
            level_ = Level::kClass;
            return true;
        }
        case Level::kMemberList: {
            member_ = dict_->MemberCount();
            MemberRecord record;
            record.owner = class_;
            record.kind = listKind_;
            dict_->MutableMembers().push_back(record);
            memberNameAt_.push_back(at);
            memberStart_ = at;
            memberSeen_ = 0;
            memberName_.clear();
            level_ = Level::kMember;
            return true;
        }
        default:
            return WrongValue("an object", at);
    }
}

bool Reader::end_object() {
    pending_ = nullptr;
    switch (level_) {
        case Level::kMember:
            return EndMember();
        case Level::kClass:
            return EndClass();
        case Level::kRoot:
            level_ = Level::kEnd;
            return true;
        default:
            return Fail(PARSE_E_SYNTAX, tracker_->StructuralStart(), "unexpected \"}\"");
    }
}

bool Reader::start_array(std::size_t) {
    std::size_t at = tracker_->StructuralStart();
    if ((level_ == Level::kRoot || level_ == Level::kClass) && pending_ != nullptr && pending_->shape == Shape::kArray) {
        switch (pending_->field) {
            case Field::kClasses:
                level_ = Level::kClassList;
                break;
            case Field::kSuper:
                level_ = Level::kSuperList;
                break;
            case Field::kMethods:
                listKind_ = MemberKind::kMethod;
                level_ = Level::kMemberList;
                break;
            case Field::kProperties:
                listKind_ = MemberKind::kProperty;
                level_ = Level::kMemberList;
                break;
            case Field::kParameters:
                listKind_ = MemberKind::kParameter;
                level_ = Level::kMemberList;
                break;
            default:
                return WrongValue("an array", at);
        }
        pending_ = nullptr;
        return true;
    }
    return WrongValue("an array", at);
}

bool Reader::end_array() {
    switch (level_) {
        case Level::kClassList:
            level_ = Level::kRoot;
            return true;
        case Level::kSuperList:
        case Level::kMemberList:
            level_ = Level::kClass;
            return true;
        default:
            return Fail(PARSE_E_SYNTAX, tracker_->StructuralStart(), "unexpected \"]\"");
    }
}

bool Reader::string(Json::string_t& value) {
    std::size_t at = tracker_->ValueStart();
    if (level_ == Level::kSuperList) {
        supers_.push_back({class_, dict_->AddUtf8(value), at});
        return true;
    }
    if ((level_ == Level::kRoot || level_ == Level::kClass || level_ == Level::kMember) && pending_ != nullptr &&
        pending_->shape == Shape::kString) {
        bool ok = AssignString(value);
        pending_ = nullptr;
        return ok;
    }
    return WrongValue("a string", at);
}

bool Reader::boolean(bool value) {
    std::size_t at = tracker_->ValueStart();
    if (level_ == Level::kMember && pending_ != nullptr && pending_->shape == Shape::kBoolean) {
        bool ok = AssignBoolean(value);
        pending_ = nullptr;
        return ok;
    }
    return WrongValue(value ? "true" : "false", at);
}

bool Reader::AssignString(std::string_view value) {
    std::size_t at = tracker_->ValueStart();
    const Field field = pending_->field;
    if (level_ == Level::kRoot) {
        // The only string of the root is the format tag.
        if (value != kDictionaryFormat)
            return Fail(TNODE_E_KEYWORD, at,
                        "unsupported format " + Quote(value) + "; expected " + Quote(kDictionaryFormat));
        return true;
    }
    if (level_ == Level::kClass) {
        ClassRecord& record = dict_->MutableClasses()[class_];
        switch (field) {
            case Field::kName: {
                std::string problem = ClassNameProblem(value);
                if (!problem.empty()) return Fail(TNODE_E_INVALIDCLASSNAME, at, problem + ": " + Quote(value));
                record.name = dict_->AddUtf8(value);
                className_ = value;
                classNameAt_[class_] = at;
                return true;
            }
            case Field::kClassType:
                record.classType = dict_->AddUtf8(value);
                return true;
            case Field::kDescription:
                record.description = dict_->AddUtf8(value);
                return true;
            default:
                break;
        }
        return WrongValue("a string", at);
    }
    MemberRecord& record = dict_->MutableMembers()[member_];
    switch (field) {
        case Field::kName: {
            std::string problem = MemberNameProblem(value, listKind_);
            if (!problem.empty()) return Fail(TNODE_E_INVALIDNAME, at, problem + ": " + Quote(value));
            record.name = dict_->AddUtf8(value);
            memberName_ = value;
            memberNameAt_[member_] = at;
            return true;
        }
        case Field::kDescription:
            record.description = dict_->AddUtf8(value);
            return true;
        case Field::kReturnType:
        case Field::kType:
            record.type = dict_->AddUtf8(value);
            return true;
        case Field::kFormalSpec:
            record.formalSpec = dict_->AddUtf8(value);
            return true;
        case Field::kDefault:
            record.defaultValue = dict_->AddUtf8(value);
            return true;
        case Field::kCollection:
            for (std::string_view allowed : kCollections) {
                if (value == allowed) {
                    record.collection = dict_->AddUtf8(value);
                    return true;
                }
            }
            return Fail(TNODE_E_KEYWORD, at, "\"collection\" must be \"list\", \"array\" or \"\", not " + Quote(value));
        case Field::kCardinality:
            for (std::string_view allowed : kCardinalities) {
                if (value == allowed) {
                    record.cardinality = dict_->AddUtf8(value);
                    return true;
                }
            }
            return Fail(TNODE_E_KEYWORD, at,
                        "\"cardinality\" must be \"one\", \"many\", \"parent\", \"children\" or \"\", not " +
                            Quote(value));
        default:
            break;
    }
    return WrongValue("a string", at);
}

bool Reader::AssignBoolean(bool value) {
    MemberRecord& record = dict_->MutableMembers()[member_];
    switch (pending_->field) {
        case Field::kClassMethod:
            record.classMethod = value;
            return true;
        case Field::kPrivate:
            record.isPrivate = value;
            return true;
        case Field::kInternal:
            record.internal = value;
            return true;
        case Field::kRelationship:
            record.relationship = value;
            return true;
        default:
            return WrongValue(value ? "true" : "false", tracker_->ValueStart());
    }
}

bool Reader::EndMember() {
    constexpr std::uint32_t kNameBit = 1u << static_cast<unsigned>(Field::kName);
    if (!(memberSeen_ & kNameBit))
        return Fail(TNODE_E_INVALIDNAME, memberStart_, std::string("this ") + KindWord(listKind_) + " has no \"name\"");
    dict_->MutableClasses()[class_].own[static_cast<int>(listKind_)].push_back(member_);
    memberName_.clear();
    level_ = Level::kMemberList;
    return true;
}

bool Reader::EndClass() {
    constexpr std::uint32_t kNameBit = 1u << static_cast<unsigned>(Field::kName);
    if (!(classSeen_ & kNameBit)) return Fail(TNODE_E_INVALIDCLASSNAME, classStart_, "this class has no \"name\"");
    ClassRecord& record = dict_->MutableClasses()[class_];
    for (int k = 0; k < kMemberKindCount; ++k) {
        std::uint32_t first = 0;
        std::uint32_t second = 0;
        if (!dict_->SortMembers(record.own[k], &first, &second)) {
            MemberKind kind = static_cast<MemberKind>(k);
            std::string name = Utf16ToUtf8(dict_->MemberName(second));
            return Fail(TNODE_E_NAMECONFLICT, memberNameAt_[second],
                        std::string(KindWord(kind)) + " " + Quote(name) + " is defined twice in this class (first at " +
                            Position(memberNameAt_[first]) + ")");
        }
    }
    className_.clear();
    level_ = Level::kClassList;
    return true;
}

bool Reader::parse_error(std::size_t position, const std::string&, const nlohmann::detail::exception& error) {
    std::string what = error.what();
    // Drop the library's own prefix and position ("[json.exception...] parse error at
    // line L, column C: "); ours counts characters, not bytes, like the other messages.
    std::size_t column = what.find("column ");
    if (column != std::string::npos) {
        std::size_t colon = what.find(": ", column);
        if (colon != std::string::npos) what.erase(0, colon + 2);
    }
    std::size_t at;
    if (what.find("unexpected end of input") != std::string::npos) {
        at = text_.size();
    } else if (what.find("unexpected ") != std::string::npos) {
        at = tracker_->TokenStart();  // a whole token that does not belong here
    } else {
        at = position > 0 ? position - 1 : 0;  // the character the scanner stopped at
    }
    return Fail(PARSE_E_SYNTAX, at, what);
}

std::uint32_t Reader::ResolveSuper(std::uint32_t owner, std::u16string_view name) const {
    if (name.find(u'.') != std::u16string_view::npos) return dict_->FindClass(name);
    if (!name.empty() && name.front() == u'%') return dict_->FindClass(u"%Library." + std::u16string(name.substr(1)));
    std::u16string_view ownerName = dict_->ClassName(owner);
    std::size_t dot = ownerName.rfind(u'.');
    if (dot == std::u16string_view::npos) return dict_->FindClass(name);
    std::u16string full(ownerName.substr(0, dot + 1));
    full += name;
    return dict_->FindClass(full);
}

bool Reader::CheckCycles() {
    const std::uint32_t count = dict_->ClassCount();
    enum : std::uint8_t { kWhite, kGray, kBlack };
    std::vector<std::uint8_t> color(count, kWhite);
    struct Frame {
        std::uint32_t cls;
        std::size_t next;
    };
    std::vector<Frame> stack;
    for (std::uint32_t start = 0; start < count; ++start) {
        if (color[start] != kWhite) continue;
        stack.push_back({start, 0});
        color[start] = kGray;
        while (!stack.empty()) {
            Frame& top = stack.back();
            const auto& supers = dict_->Class(top.cls).supers;
            if (top.next == supers.size()) {
                color[top.cls] = kBlack;
                stack.pop_back();
                continue;
            }
            std::uint32_t super = supers[top.next++];
            if (color[super] == kWhite) {
                color[super] = kGray;
                stack.push_back({super, 0});
                continue;
            }
            if (color[super] != kGray) continue;
            // A back edge: the classes on the stack from `super` up to the top form the cycle.
            std::string path;
            bool inCycle = false;
            for (const Frame& frame : stack) {
                inCycle = inCycle || frame.cls == super;
                if (inCycle) path += Utf16ToUtf8(dict_->ClassName(frame.cls)) + " -> ";
            }
            path += Utf16ToUtf8(dict_->ClassName(super));
            std::size_t at = 0;
            for (const PendingSuper& entry : supers_) {
                if (entry.owner == top.cls && entry.resolved == super) {
                    at = entry.offset;
                    break;
                }
            }
            className_ = Utf16ToUtf8(dict_->ClassName(top.cls));
            return Fail(PARSE_E_COMPILE, at, "the super classes form a cycle: " + path);
        }
    }
    return true;
}

bool Reader::Finish() {
    level_ = Level::kEnd;
    std::uint32_t first = 0;
    std::uint32_t second = 0;
    if (!dict_->Seal(&first, &second)) {
        className_.clear();
        return Fail(TNODE_E_CLASSEXISTS, classNameAt_[second],
                    "class " + Quote(Utf16ToUtf8(dict_->ClassName(second))) + " is defined twice (first at " +
                        Position(classNameAt_[first]) + ")");
    }
    auto& classes = dict_->MutableClasses();
    for (PendingSuper& entry : supers_) {
        entry.resolved = ResolveSuper(entry.owner, dict_->Text(entry.name));
        if (entry.resolved == Dictionary::kNoClass) {
            className_ = Utf16ToUtf8(dict_->ClassName(entry.owner));
            return Fail(TNODE_E_CLASSNOTEXIST, entry.offset,
                        "super class " + Quote(Utf16ToUtf8(dict_->Text(entry.name))) + " does not exist");
        }
        classes[entry.owner].supers.push_back(entry.resolved);
    }
    return CheckCycles();
}

}  // namespace

DictionaryLoadResult LoadDictionaryText(std::string_view json, std::string_view sourceName) {
    DictionaryLoadResult result;
    try {
        if (json.size() > (1ul << 30)) {
            result.status = E_OUTOFMEMORY;
            result.message = std::string(sourceName) + ": the file is larger than 1 GiB";
            return result;
        }
        PositionTracker tracker(json.data());
        Reader reader(json, sourceName, &tracker);
        // The texts are most of a dictionary; they never take more units than bytes.
        reader.ReserveText(json.size());
        TrackingIterator first(json.data(), &tracker);
        TrackingIterator last(json.data() + json.size(), &tracker);
        bool parsed = Json::sax_parse(first, last, &reader, Json::input_format_t::json, true, false);
        if (parsed && SUCCEEDED(reader.status())) parsed = reader.Finish();
        if (!parsed || FAILED(reader.status())) {
            result.status = FAILED(reader.status()) ? reader.status() : PARSE_E_SYNTAX;
            result.message = reader.message().empty() ? std::string(sourceName) + ": cannot read the dictionary"
                                                      : reader.message();
            return result;
        }
        result.dictionary = reader.TakeDictionary();
    } catch (const std::bad_alloc&) {
        result = DictionaryLoadResult{};
        result.status = E_OUTOFMEMORY;
        result.message = std::string(sourceName) + ": out of memory while loading the dictionary";
    } catch (const std::exception& error) {
        result = DictionaryLoadResult{};
        result.status = E_FAIL;
        result.message = std::string(sourceName) + ": " + error.what();
    }
    return result;
}

DictionaryLoadResult LoadDictionaryFile(const std::string& path) {
    DictionaryLoadResult result;
    std::string text;
    {
        std::FILE* file = std::fopen(path.c_str(), "rb");
        if (file == nullptr) {
            result.status = STG_E_FILENOTFOUND;
            result.message = path + ": cannot open the dictionary: " + std::strerror(errno);
            return result;
        }
        struct stat status{};
        if (fstat(fileno(file), &status) == 0 && S_ISDIR(status.st_mode)) {
            std::fclose(file);
            result.status = STG_E_FILENOTFOUND;
            result.message = path + ": cannot read the dictionary: it is a directory";
            return result;
        }
        try {
            // Sized from the file's length; a file that grows meanwhile is read on.
            if (S_ISREG(status.st_mode) && status.st_size > 0 && static_cast<unsigned long long>(status.st_size) <= (1ull << 30))
                text.reserve(static_cast<std::size_t>(status.st_size));
            char buffer[1 << 16];
            std::size_t got;
            while ((got = std::fread(buffer, 1, sizeof buffer, file)) > 0) text.append(buffer, got);
        } catch (const std::exception&) {
            std::fclose(file);
            result.status = E_OUTOFMEMORY;
            result.message = path + ": out of memory while reading the dictionary";
            return result;
        }
        bool failed = std::ferror(file) != 0;
        int error = errno;
        std::fclose(file);
        if (failed) {
            result.status = STG_E_FILENOTFOUND;
            result.message = path + ": cannot read the dictionary: " + std::strerror(error);
            return result;
        }
    }
    return LoadDictionaryText(text, path);
}

}  // namespace kesto
