// The dictionary reader's state machine.
#include "dictionary_reader.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "dictionary_messages.h"
#include "dictionary_names.h"
#include "dictionary_position.h"
#include "dictionary_schema.h"
#include "dictionary_supers.h"
#include "dictionary_text.h"
#include "kesto/tnode.h"

namespace kesto {
namespace {

using Json = nlohmann::json;

// Where the reader stands in the fixed shape of a dictionary.
enum class Level : std::uint8_t { kStart, kRoot, kClassList, kClass, kSuperList, kMemberList, kMember, kEnd };

class Reader {
public:
    Reader(std::string_view text, std::string_view source, const PositionTracker* tracker)
        : text_(text), source_(source), tracker_(tracker), dict_(std::make_shared<Dictionary>()) {
        // The texts are most of a dictionary; they never take more units than bytes.
        dict_->ReserveText(text.size());
    }

    // The JSON library's event interface. A number's value start is right although
    // the byte that ended the number is read already: a blank or a structural
    // character does not move it.
    bool null() { return WrongValue("null", tracker_->ValueStart()); }
    bool boolean(bool value);
    bool number_integer(Json::number_integer_t) { return WrongValue("a number", tracker_->ValueStart()); }
    bool number_unsigned(Json::number_unsigned_t) { return WrongValue("a number", tracker_->ValueStart()); }
    bool number_float(Json::number_float_t, const Json::string_t&) {
        return WrongValue("a number", tracker_->ValueStart());
    }
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

private:
    bool Fail(HRESULT status, std::size_t offset, const std::string& what);
    bool WrongValue(const char* found, std::size_t offset);
    LineColumn At(std::size_t offset) const { return LineColumnAt(text_, offset); }

    ObjectKind ObjectHere() const;
    std::uint32_t& SeenHere();
    ClassRecord& Class() { return dict_->MutableClasses()[class_]; }
    MemberRecord& Member() { return dict_->MutableMembers()[member_]; }
    bool AssignString(const Field& field, const std::string& value);
    bool EndMember();
    bool EndClass();

    std::string_view text_;
    std::string source_;
    const PositionTracker* tracker_;
    std::shared_ptr<Dictionary> dict_;

    HRESULT status_ = S_OK;
    std::string message_;

    Level level_ = Level::kStart;
    MemberKind listKind_ = MemberKind::kMethod;
    const Field* pending_ = nullptr;  // the key whose value comes next
    std::uint32_t rootSeen_ = 0;      // bits of the keys seen, by their place in FieldsOf
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
    std::vector<SuperReference> supers_;
};

bool Reader::Fail(HRESULT status, std::size_t offset, const std::string& what) {
    if (FAILED(status_)) return false;  // the first problem is the one reported
    status_ = status;
    const std::string_view member = level_ == Level::kMember ? std::string_view(memberName_) : std::string_view();
    message_ = messages::Located(source_, At(offset), what, messages::Context(className_, listKind_, member));
    return false;
}

bool Reader::WrongValue(const char* found, std::size_t offset) {
    switch (level_) {
        case Level::kStart:
            return Fail(TNODE_E_KEYWORD, offset, messages::RootNotObject(found));
        case Level::kClassList:
            return Fail(TNODE_E_KEYWORD, offset, messages::ClassEntryNotObject(found));
        case Level::kSuperList:
            return Fail(TNODE_E_KEYWORD, offset, messages::SuperEntryNotName(found));
        case Level::kMemberList:
            return Fail(TNODE_E_KEYWORD, offset, messages::MemberEntryNotObject(listKind_, found));
        case Level::kRoot:
        case Level::kClass:
        case Level::kMember:
            if (pending_ != nullptr) return Fail(TNODE_E_KEYWORD, offset, messages::WrongValueKind(*pending_, found));
            break;
        case Level::kEnd:
            break;
    }
    return Fail(PARSE_E_SYNTAX, offset, messages::Unexpected(found));
}

// Keys come only inside the root, a class or a member.
ObjectKind Reader::ObjectHere() const {
    if (level_ == Level::kRoot) return ObjectKind::kRoot;
    if (level_ == Level::kClass) return ObjectKind::kClass;
    return ObjectOf(listKind_);
}

std::uint32_t& Reader::SeenHere() {
    if (level_ == Level::kRoot) return rootSeen_;
    if (level_ == Level::kClass) return classSeen_;
    return memberSeen_;
}

bool Reader::key(Json::string_t& key) {
    const ObjectKind object = ObjectHere();
    const Field* field = FindField(object, key);
    if (field == nullptr) return Fail(TNODE_E_KEYWORD, tracker_->ValueStart(), messages::UnknownKey(key, object));
    const std::uint32_t bit = 1u << (field - FieldsOf(object).data());
    std::uint32_t& seen = SeenHere();
    if (seen & bit) return Fail(TNODE_E_KEYWORD, tracker_->ValueStart(), messages::RepeatedKey(key));
    seen |= bit;
    pending_ = field;
    return true;
}

bool Reader::start_object(std::size_t) {
    const std::size_t at = tracker_->StructuralStart();
    switch (level_) {
        case Level::kStart:
            level_ = Level::kRoot;
            return true;
        case Level::kClassList:
            class_ = dict_->ClassCount();
            dict_->MutableClasses().emplace_back();
            classNameAt_.push_back(at);
            classStart_ = at;
            classSeen_ = 0;
            className_.clear();
            level_ = Level::kClass;
            return true;
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
            return Fail(PARSE_E_SYNTAX, tracker_->StructuralStart(), messages::Unexpected("\"}\""));
    }
}

bool Reader::start_array(std::size_t) {
    const std::size_t at = tracker_->StructuralStart();
    if (pending_ == nullptr || pending_->value != ValueKind::kArray) return WrongValue("an array", at);
    switch (pending_->target) {
        case Target::kClasses:
            level_ = Level::kClassList;
            break;
        case Target::kSupers:
            level_ = Level::kSuperList;
            break;
        case Target::kMembers:
            listKind_ = pending_->members;
            level_ = Level::kMemberList;
            break;
        default:
            return WrongValue("an array", at);
    }
    pending_ = nullptr;
    return true;
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
            return Fail(PARSE_E_SYNTAX, tracker_->StructuralStart(), messages::Unexpected("\"]\""));
    }
}

bool Reader::string(Json::string_t& value) {
    if (level_ == Level::kSuperList) {
        supers_.push_back({class_, dict_->AddUtf8(value), tracker_->ValueStart()});
        return true;
    }
    if (pending_ == nullptr || pending_->value != ValueKind::kString)
        return WrongValue("a string", tracker_->ValueStart());
    const bool ok = AssignString(*pending_, value);
    pending_ = nullptr;
    return ok;
}

bool Reader::boolean(bool value) {
    if (pending_ == nullptr || pending_->value != ValueKind::kBoolean)
        return WrongValue(value ? "true" : "false", tracker_->ValueStart());
    Member().*(pending_->memberFlag) = value;
    pending_ = nullptr;
    return true;
}

bool Reader::AssignString(const Field& field, const std::string& value) {
    const std::size_t at = tracker_->ValueStart();
    switch (field.target) {
        case Target::kFormat:
            if (value != kDictionaryFormat) return Fail(TNODE_E_KEYWORD, at, messages::UnsupportedFormat(value));
            return true;
        case Target::kClassName: {
            const ClassNameFault fault = CheckClassName(value, ClassNameForm::kFull);
            if (fault != ClassNameFault::kNone)
                return Fail(TNODE_E_INVALIDCLASSNAME, at, messages::BadClassName(fault, value));
            Class().name = dict_->AddUtf8(value);
            className_ = value;
            classNameAt_[class_] = at;
            return true;
        }
        case Target::kClassText:
            Class().*(field.classText) = dict_->AddUtf8(value);
            return true;
        case Target::kMemberName: {
            const MemberNameFault fault = CheckMemberName(value);
            if (fault != MemberNameFault::kNone)
                return Fail(TNODE_E_INVALIDNAME, at, messages::BadMemberName(fault, listKind_, value));
            Member().name = dict_->AddUtf8(value);
            memberName_ = value;
            memberNameAt_[member_] = at;
            return true;
        }
        case Target::kMemberText:
            if (!field.allowed.empty() &&
                std::find(field.allowed.begin(), field.allowed.end(), value) == field.allowed.end())
                return Fail(TNODE_E_KEYWORD, at, messages::NotAllowed(field, value));
            Member().*(field.memberText) = dict_->AddUtf8(value);
            return true;
        default:
            return WrongValue("a string", at);
    }
}

bool Reader::EndMember() {
    if (!(memberSeen_ & (1u << kNameField)))
        return Fail(TNODE_E_INVALIDNAME, memberStart_, messages::MemberWithoutName(listKind_));
    Class().own[static_cast<int>(listKind_)].push_back(member_);
    memberName_.clear();
    level_ = Level::kMemberList;
    return true;
}

bool Reader::EndClass() {
    if (!(classSeen_ & (1u << kNameField)))
        return Fail(TNODE_E_INVALIDCLASSNAME, classStart_, messages::ClassWithoutName());
    ClassRecord& record = Class();
    for (int k = 0; k < kMemberKindCount; ++k) {
        std::uint32_t first = 0;
        std::uint32_t second = 0;
        if (!dict_->SortMembers(record.own[k], &first, &second)) {
            return Fail(TNODE_E_NAMECONFLICT, memberNameAt_[second],
                        messages::MemberTwice(static_cast<MemberKind>(k), Utf16ToUtf8(dict_->MemberName(second)),
                                              At(memberNameAt_[first])));
        }
    }
    className_.clear();
    level_ = Level::kClassList;
    return true;
}

bool Reader::parse_error(std::size_t position, const std::string&, const nlohmann::detail::exception& error) {
    const std::string what = messages::SyntaxError(error.what());
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

bool Reader::Finish() {
    level_ = Level::kEnd;
    std::uint32_t first = 0;
    std::uint32_t second = 0;
    if (!dict_->Seal(&first, &second)) {
        className_.clear();
        return Fail(TNODE_E_CLASSEXISTS, classNameAt_[second],
                    messages::ClassTwice(Utf16ToUtf8(dict_->ClassName(second)), At(classNameAt_[first])));
    }
    SuperProblem problem;
    if (!LinkSuperClasses(*dict_, supers_, &problem)) {
        className_ = Utf16ToUtf8(dict_->ClassName(problem.owner));
        return Fail(problem.status, problem.offset, problem.what);
    }
    return true;
}

}  // namespace

DictionaryLoadResult ReadDictionaryText(std::string_view json, std::string_view sourceName) {
    DictionaryLoadResult result;
    PositionTracker tracker(json.data());
    Reader reader(json, sourceName, &tracker);
    TrackingIterator first(json.data(), &tracker);
    TrackingIterator last(json.data() + json.size(), &tracker);
    bool parsed = Json::sax_parse(first, last, &reader, Json::input_format_t::json, true, false);
    if (parsed && SUCCEEDED(reader.status())) parsed = reader.Finish();
    if (!parsed || FAILED(reader.status())) {
        result.status = FAILED(reader.status()) ? reader.status() : PARSE_E_SYNTAX;
        result.message = reader.message().empty() ? messages::NotReadable(sourceName) : reader.message();
        return result;
    }
    result.dictionary = reader.TakeDictionary();
    return result;
}

}  // namespace kesto
