// The dictionary reader's state machine.
#include "dictionary_reader.h"

#include <algorithm>
#include <cstring>
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

// One problem found; its line and column are known when it is about a name the
// reader keeps, else they are found from `offset` once reading is over.
struct Problem {
    HRESULT status;
    std::size_t offset;
    LineColumn at;
    bool located;
    std::string text;  // what went wrong, and where in the class
};

class Reader {
public:
    Reader(std::string_view text, std::string_view source, PositionTracker* tracker)
        : text_(text), source_(source), tracker_(tracker), dict_(std::make_shared<Dictionary>()) {
        // The texts are most of a dictionary; they never take more units than bytes.
        dict_->ReserveText(text.size());
    }

    // The JSON library's event interface; each answers whether to read on. A
    // number's value start is right although the byte that ended the number is
    // read already: a blank or a structural character does not move it.
    bool null() { return SkippedScalar() || WrongScalar("null"); }
    bool boolean(bool value);
    bool number_integer(Json::number_integer_t) { return SkippedScalar() || WrongScalar("a number"); }
    bool number_unsigned(Json::number_unsigned_t) { return SkippedScalar() || WrongScalar("a number"); }
    bool number_float(Json::number_float_t, const Json::string_t&) {
        return SkippedScalar() || WrongScalar("a number");
    }
    bool string(Json::string_t& value);
    bool binary(Json::binary_t&) { return SkippedScalar() || WrongScalar("binary data"); }
    bool start_object(std::size_t);
    bool key(Json::string_t& key);
    bool end_object();
    bool start_array(std::size_t);
    bool end_array();
    bool parse_error(std::size_t position, const std::string& lastToken, const nlohmann::detail::exception& error);

    // After the value is read: false when bytes the library passed over remain.
    bool CheckEnd();
    // After the whole text is read: classes defined twice, super classes and cycles.
    void Finish();

    bool failed() const { return !problems_.empty(); }
    // The problems in file order, each "SOURCE:LINE:COLUMN: what (class C, method M)",
    // and the status of the first.
    std::vector<std::string> TakeMessages(HRESULT* status);
    std::shared_ptr<Dictionary> TakeDictionary() { return std::move(dict_); }

private:
    // Notes a problem; answers whether to read on (false once there are too many).
    bool Report(HRESULT status, std::size_t offset, const std::string& what);
    bool Report(HRESULT status, LineColumn at, const std::string& what);
    bool Add(Problem problem);
    // Notes a problem after which the text is read no further.
    bool Stop(HRESULT status, std::size_t offset, const std::string& what) {
        Report(status, offset, what);
        return false;
    }
    // A value that does not belong where it stands: reported, and, when it is an
    // object or an array, passed over with all it holds.
    bool WrongValue(const char* found, std::size_t offset, bool container);
    bool WrongScalar(const char* found) { return WrongValue(found, tracker_->ValueStart(), false); }
    bool WrongContainer(const char* found) { return WrongValue(found, tracker_->StructuralStart(), true); }
    // Passing over a value after a problem: true when the event belongs to it.
    bool SkippedScalar();
    bool SkippedStart();
    bool SkippedEnd();
    // Where the name whose string was just delivered starts: after its quote.
    SourcePosition NameHere();

    ObjectKind ObjectHere() const;
    std::uint32_t& SeenHere();
    ClassRecord& Class() { return dict_->MutableClasses()[class_]; }
    MemberRecord& Member() { return dict_->MutableMembers()[member_]; }
    bool AssignString(const Field& field, const std::string& value);
    bool EndMember();
    bool EndClass();

    std::string_view text_;
    std::string source_;
    PositionTracker* tracker_;
    std::shared_ptr<Dictionary> dict_;

    std::vector<Problem> problems_;
    bool skipNext_ = false;        // the next value is passed over
    std::size_t skipDepth_ = 0;    // objects and arrays open in a value passed over

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
    std::size_t collectionAt_ = 0;  // of the member's "collection" value
    // A class or member whose name is wrong is read for its other problems, then
    // left out: it would only breed more (a nameless class "defined twice").
    bool classUnnamed_ = false;
    bool memberUnnamed_ = false;

    std::vector<SuperReference> supers_;
};

// The JSON library's error number for a number too large for a double.
constexpr int kNumberOutOfRange = 406;

// More than this many problems are not worth reading on for: the text is likely
// not a dictionary at all, and the list would only grow.
constexpr std::size_t kMostProblems = 100;

bool Reader::Report(HRESULT status, std::size_t offset, const std::string& what) {
    return Add({status, offset, {}, false, what});
}

bool Reader::Report(HRESULT status, LineColumn at, const std::string& what) {
    return Add({status, 0, at, true, what});
}

bool Reader::Add(Problem problem) {
    if (problems_.size() >= kMostProblems) return false;
    const std::string_view member = level_ == Level::kMember ? std::string_view(memberName_) : std::string_view();
    problem.text += messages::Context(className_, listKind_, member);
    problems_.push_back(std::move(problem));
    return problems_.size() < kMostProblems;
}

std::vector<std::string> Reader::TakeMessages(HRESULT* status) {
    // In order of their offsets, one pass over the text places them all.
    std::vector<Problem*> unlocated;
    for (Problem& problem : problems_) {
        if (!problem.located) unlocated.push_back(&problem);
    }
    std::stable_sort(unlocated.begin(), unlocated.end(),
                     [](const Problem* a, const Problem* b) { return a->offset < b->offset; });
    TextCursor cursor(text_);
    for (Problem* problem : unlocated) problem->at = cursor.MoveTo(problem->offset);
    std::stable_sort(problems_.begin(), problems_.end(), [](const Problem& a, const Problem& b) {
        return a.at.line != b.at.line ? a.at.line < b.at.line : a.at.column < b.at.column;
    });
    std::vector<std::string> lines;
    lines.reserve(problems_.size());
    for (const Problem& problem : problems_) lines.push_back(messages::Located(source_, problem.at, problem.text, {}));
    *status = problems_.empty() ? S_OK : problems_.front().status;
    return lines;
}

bool Reader::SkippedScalar() {
    if (skipDepth_ > 0) return true;
    if (!skipNext_) return false;
    skipNext_ = false;
    return true;
}

bool Reader::SkippedStart() {
    if (skipDepth_ > 0 || skipNext_) {
        skipNext_ = false;
        ++skipDepth_;
        return true;
    }
    return false;
}

bool Reader::SkippedEnd() {
    if (skipDepth_ == 0) return false;
    --skipDepth_;
    return true;
}

SourcePosition Reader::NameHere() {
    const LineColumn at = tracker_->Locate(tracker_->ValueStart() + 1);
    return {static_cast<std::uint32_t>(at.line), static_cast<std::uint32_t>(at.column)};
}

// The place of the quote in front of a kept name, where messages point.
LineColumn QuoteOf(SourcePosition name) { return {name.line, name.column - 1}; }

bool Reader::WrongValue(const char* found, std::size_t offset, bool container) {
    bool readOn = false;
    switch (level_) {
        case Level::kStart:
            readOn = Report(TNODE_E_KEYWORD, offset, messages::RootNotObject(found));
            break;
        case Level::kClassList:
            readOn = Report(TNODE_E_KEYWORD, offset, messages::ClassEntryNotObject(found));
            break;
        case Level::kSuperList:
            readOn = Report(TNODE_E_KEYWORD, offset, messages::SuperEntryNotName(found));
            break;
        case Level::kMemberList:
            readOn = Report(TNODE_E_KEYWORD, offset, messages::MemberEntryNotObject(listKind_, found));
            break;
        case Level::kRoot:
        case Level::kClass:
        case Level::kMember:
            if (pending_ == nullptr) return Stop(PARSE_E_SYNTAX, offset, messages::Unexpected(found));
            readOn = Report(TNODE_E_KEYWORD, offset, messages::WrongValueKind(*pending_, found));
            pending_ = nullptr;
            break;
        case Level::kEnd:
            return Stop(PARSE_E_SYNTAX, offset, messages::Unexpected(found));
    }
    if (container) skipDepth_ = 1;
    return readOn;
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
    if (skipDepth_ > 0) return true;
    const ObjectKind object = ObjectHere();
    const Field* field = FindField(object, key);
    if (field == nullptr) {
        skipNext_ = true;
        return Report(TNODE_E_KEYWORD, tracker_->ValueStart(), messages::UnknownKey(key, object));
    }
    const std::uint32_t bit = 1u << (field - FieldsOf(object).data());
    std::uint32_t& seen = SeenHere();
    if (seen & bit) {
        skipNext_ = true;  // the first value stands
        return Report(TNODE_E_KEYWORD, tracker_->ValueStart(), messages::RepeatedKey(key));
    }
    seen |= bit;
    pending_ = field;
    return true;
}

bool Reader::start_object(std::size_t) {
    if (SkippedStart()) return true;
    const std::size_t at = tracker_->StructuralStart();
    switch (level_) {
        case Level::kStart:
            level_ = Level::kRoot;
            return true;
        case Level::kClassList:
            class_ = dict_->ClassCount();
            dict_->NewClass();
            classStart_ = at;
            classSeen_ = 0;
            classUnnamed_ = false;
            className_.clear();
            level_ = Level::kClass;
            return true;
        case Level::kMemberList: {
            member_ = dict_->MemberCount();
            MemberRecord& record = dict_->NewMember();
            record.owner = class_;
            record.kind = listKind_;
            memberStart_ = at;
            memberSeen_ = 0;
            memberUnnamed_ = false;
            memberName_.clear();
            level_ = Level::kMember;
            return true;
        }
        default:
            return WrongContainer("an object");
    }
}

bool Reader::end_object() {
    if (SkippedEnd()) return true;
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
            return Stop(PARSE_E_SYNTAX, tracker_->StructuralStart(), messages::Unexpected("\"}\""));
    }
}

bool Reader::start_array(std::size_t) {
    if (SkippedStart()) return true;
    if (pending_ == nullptr || pending_->value != ValueKind::kArray) return WrongContainer("an array");
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
            return WrongContainer("an array");
    }
    pending_ = nullptr;
    return true;
}

bool Reader::end_array() {
    if (SkippedEnd()) return true;
    switch (level_) {
        case Level::kClassList:
            level_ = Level::kRoot;
            return true;
        case Level::kSuperList:
        case Level::kMemberList:
            level_ = Level::kClass;
            return true;
        default:
            return Stop(PARSE_E_SYNTAX, tracker_->StructuralStart(), messages::Unexpected("\"]\""));
    }
}

bool Reader::string(Json::string_t& value) {
    if (SkippedScalar()) return true;
    if (level_ == Level::kSuperList) {
        supers_.push_back({class_, dict_->AddUtf8(value), tracker_->ValueStart()});
        return true;
    }
    if (pending_ == nullptr || pending_->value != ValueKind::kString) return WrongScalar("a string");
    const bool ok = AssignString(*pending_, value);
    pending_ = nullptr;
    return ok;
}

bool Reader::boolean(bool value) {
    if (SkippedScalar()) return true;
    if (pending_ == nullptr || pending_->value != ValueKind::kBoolean) return WrongScalar(value ? "true" : "false");
    Member().*(pending_->memberFlag) = value;
    pending_ = nullptr;
    return true;
}

bool Reader::AssignString(const Field& field, const std::string& value) {
    const std::size_t at = tracker_->ValueStart();
    switch (field.target) {
        case Target::kFormat:
            // The rest of a text in another format would be read by rules it does
            // not follow: what that finds is noise.
            if (value != kDictionaryFormat) return Stop(TNODE_E_KEYWORD, at, messages::UnsupportedFormat(value));
            return true;
        case Target::kClassName: {
            const ClassNameFault fault = CheckClassName(value, ClassNameForm::kFull);
            if (fault != ClassNameFault::kNone) {
                classUnnamed_ = true;
                const bool readOn = Report(TNODE_E_INVALIDCLASSNAME, at, messages::BadClassName(fault, value));
                className_ = value;
                return readOn;
            }
            Class().name = dict_->AddUtf8(value);
            dict_->SetClassNameAt(class_, NameHere());
            className_ = value;
            return true;
        }
        case Target::kClassText:
            Class().*(field.classText) = dict_->AddUtf8(value);
            return true;
        case Target::kMemberName: {
            const MemberNameFault fault = CheckMemberName(value);
            if (fault != MemberNameFault::kNone) {
                memberUnnamed_ = true;
                const bool readOn = Report(TNODE_E_INVALIDNAME, at, messages::BadMemberName(fault, listKind_, value));
                memberName_ = value;
                return readOn;
            }
            Member().name = dict_->AddUtf8(value);
            dict_->SetMemberNameAt(member_, NameHere());
            memberName_ = value;
            return true;
        }
        case Target::kMemberText:
            if (!field.allowed.empty() &&
                std::find(field.allowed.begin(), field.allowed.end(), value) == field.allowed.end())
                return Report(TNODE_E_KEYWORD, at, messages::NotAllowed(field, value));
            Member().*(field.memberText) = dict_->AddUtf8(value);
            if (field.memberText == &MemberRecord::collection) collectionAt_ = at;
            return true;
        default:
            return WrongScalar("a string");
    }
}

bool Reader::EndMember() {
    bool readOn = true;
    if (!(memberSeen_ & (1u << kNameField))) {
        memberUnnamed_ = true;
        readOn = Report(TNODE_E_INVALIDNAME, memberStart_, messages::MemberWithoutName(listKind_));
    }
    // A list or array without the class of its elements would answer every query
    // about its type with an invalid class name.
    const MemberRecord& member = Member();
    if (readOn && member.collection.length > 0 && member.type.length == 0)
        readOn = Report(TNODE_E_KEYWORD, collectionAt_,
                        messages::CollectionWithoutType(Utf16ToUtf8(dict_->Text(member.collection))));
    if (!memberUnnamed_) Class().own[static_cast<int>(listKind_)].push_back(member_);
    memberName_.clear();
    level_ = Level::kMemberList;
    return readOn;
}

bool Reader::EndClass() {
    bool readOn = true;
    if (!(classSeen_ & (1u << kNameField))) {
        classUnnamed_ = true;
        readOn = Report(TNODE_E_INVALIDCLASSNAME, classStart_, messages::ClassWithoutName());
    }
    ClassRecord& record = Class();
    for (int k = 0; k < kMemberKindCount && readOn; ++k) {
        for (const auto& [first, again] : dict_->SortMembers(record.own[k])) {
            readOn = Report(TNODE_E_NAMECONFLICT, QuoteOf(dict_->MemberNameAt(again)),
                            messages::MemberTwice(static_cast<MemberKind>(k), Utf16ToUtf8(dict_->MemberName(again)),
                                                  QuoteOf(dict_->MemberNameAt(first))));
            if (!readOn) break;
        }
    }
    if (classUnnamed_) {
        // Its super classes went to the end of the list while it was read.
        while (!supers_.empty() && supers_.back().owner == class_) supers_.pop_back();
        dict_->DropLastClass();
    }
    className_.clear();
    level_ = Level::kClassList;
    return readOn;
}

bool Reader::parse_error(std::size_t position, const std::string& lastToken,
                         const nlohmann::detail::exception& error) {
    // `position` counts the bytes the scanner took, the one it stopped at included
    // (a byte past the text at its end).
    const std::size_t stop = std::min(position > 0 ? position - 1 : 0, text_.size());
    if (error.id == kNumberOutOfRange) {
        // The scanner has given back the byte after the number: `position` is its end.
        const std::size_t end = std::min(position, text_.size());
        return Stop(PARSE_E_SYNTAX, end - std::min(lastToken.size(), end), messages::NumberOutOfRange(lastToken));
    }
    const std::string what = messages::SyntaxError(error.what(), lastToken);
    // The library's own words tell the three cases apart; the token it read, which
    // may hold any of them, stands after "last read: " and is never searched.
    const std::string_view words = std::string_view(what).substr(0, what.find("; last read: "));
    std::size_t at;
    if (words.find("unexpected end of input") != std::string_view::npos) {
        // The library ends the text at a NUL, as it would at the end of a C string.
        if (stop < text_.size() && text_[stop] == '\0') return Stop(PARSE_E_SYNTAX, stop, messages::NulCharacter());
        at = text_.size();
    } else if (words.find("unexpected ") != std::string_view::npos) {
        at = tracker_->TokenStart();  // a whole token that does not belong here
    } else {
        at = stop;  // the character the scanner stopped at
    }
    return Stop(PARSE_E_SYNTAX, at, what);
}

bool Reader::CheckEnd() {
    // The library ends the text at a NUL after the value; a NUL before its end was a
    // syntax error already, so the first one is where reading stopped.
    const void* nul = std::memchr(text_.data(), 0, text_.size());
    if (nul == nullptr) return true;
    return Stop(PARSE_E_SYNTAX, static_cast<std::size_t>(static_cast<const char*>(nul) - text_.data()),
                messages::NulCharacter());
}

void Reader::Finish() {
    level_ = Level::kEnd;
    className_.clear();
    if (problems_.size() >= kMostProblems) return;
    for (const auto& [first, again] : dict_->Seal()) {
        if (!Report(TNODE_E_CLASSEXISTS, QuoteOf(dict_->ClassNameAt(again)),
                    messages::ClassTwice(Utf16ToUtf8(dict_->ClassName(again)), QuoteOf(dict_->ClassNameAt(first)))))
            return;
    }
    for (const SuperProblem& problem : LinkSuperClasses(*dict_, supers_, kMostProblems - problems_.size())) {
        className_ = Utf16ToUtf8(dict_->ClassName(problem.owner));
        Report(problem.status, problem.offset, problem.what);
    }
}

}  // namespace

DictionaryLoadResult ReadDictionaryText(std::string_view json, std::string_view sourceName) {
    DictionaryLoadResult result;
    PositionTracker tracker(json);
    Reader reader(json, sourceName, &tracker);
    TrackingIterator first(json.data(), &tracker);
    TrackingIterator last(json.data() + json.size(), &tracker);
    // Checks that need every class wait for the end of the text; when reading
    // stopped early, what they would find is noise.
    const bool readAll =
        Json::sax_parse(first, last, &reader, Json::input_format_t::json, true, false) && reader.CheckEnd();
    if (readAll) reader.Finish();
    if (!readAll || reader.failed()) {
        result.problems = reader.TakeMessages(&result.status);
        if (result.problems.empty()) {
            result.status = PARSE_E_SYNTAX;
            result.problems.push_back(messages::NotReadable(sourceName));
        }
        result.message = result.problems.front();
        return result;
    }
    result.dictionary = reader.TakeDictionary();
    return result;
}

}  // namespace kesto
