// The texts of the dictionary loader's messages.
//
// Each problem of a failed load gives one message, "SOURCE:LINE:COLUMN: what (class
// C, method M)"; these functions make the "what" and the parts around it. Callers and people read
// them, and tests pin them, so their wording changes only on purpose: all of it is
// here. Texts quoted from the file are cut and escaped by Quote. Nothing here keeps
// state; any thread may call it.
#ifndef KESTO_RUNTIME_DICTIONARY_MESSAGES_H_
#define KESTO_RUNTIME_DICTIONARY_MESSAGES_H_

#include <string>
#include <string_view>
#include <vector>

#include "dictionary_model.h"
#include "dictionary_names.h"
#include "dictionary_position.h"
#include "dictionary_schema.h"

namespace kesto::messages {

// A piece of the file in a message is cut after this many characters, so that a
// message stays a line to read, whatever the file holds.
inline constexpr std::size_t kLongestPiece = 80;
// A cycle of super classes names this many of its classes.
inline constexpr std::size_t kCycleNamesShown = 4;

// Control characters, '"' and '\' as \uXXXX, cut after kLongestPiece characters
// (never inside one) and then ended by "...".
std::string Shortened(std::string_view text);
// The same in double quotes.
std::string Quote(std::string_view text);

// "method", "property" or "parameter".
std::string_view KindWord(MemberKind kind);

// "line L, column C", for pointing at an earlier place.
std::string Position(LineColumn at);

// " (class C, property P)", " (class C)", or empty when neither is known; the names
// Shortened.
std::string Context(std::string_view className, MemberKind kind, std::string_view memberName);

// The whole message.
std::string Located(std::string_view source, LineColumn at, std::string_view what, std::string_view context);

// A value of the wrong kind where `found` ("a string", "true", "an array", ...) stands.
std::string RootNotObject(std::string_view found);
std::string ClassEntryNotObject(std::string_view found);
std::string SuperEntryNotName(std::string_view found);
std::string MemberEntryNotObject(MemberKind kind, std::string_view found);
std::string WrongValueKind(const Field& field, std::string_view found);
std::string Unexpected(std::string_view found);

std::string UnknownKey(std::string_view key, ObjectKind object);
std::string RepeatedKey(std::string_view key);
std::string UnsupportedFormat(std::string_view value);
std::string NotAllowed(const Field& field, std::string_view value);

std::string BadClassName(ClassNameFault fault, std::string_view name);
std::string BadMemberName(MemberNameFault fault, MemberKind kind, std::string_view name);
std::string ClassWithoutName();
std::string MemberWithoutName(MemberKind kind);
std::string ClassTwice(std::string_view name, LineColumn first);
std::string MemberTwice(MemberKind kind, std::string_view name, LineColumn first);
std::string MissingSuper(std::string_view name);
// "A -> B -> C -> A" for a cycle of `length` classes, `first` its first ones in
// order (at least kCycleNamesShown of them, or all); a longer one is
// "A -> B -> C -> D -> and N more -> A".
std::string SuperCycle(const std::vector<std::string>& first, std::size_t length);
std::string CollectionWithoutType(std::string_view collection);

// The JSON library's message without its own prefix and position ("[json.exception...]
// parse error at line L, column C: "): ours counts UTF-16 units, not bytes. The
// token it quotes, `lastToken`, is cut to its last kLongestPiece characters.
std::string SyntaxError(std::string_view library, std::string_view lastToken);
// A NUL byte outside a string, where the JSON library would end the text.
std::string NulCharacter();
std::string NumberOutOfRange(std::string_view number);

// Messages naming only the source (the file or buffer).
std::string TooLarge(std::string_view source);
std::string OutOfMemoryLoading(std::string_view source);
std::string NotReadable(std::string_view source);
std::string Failed(std::string_view source, std::string_view what);
std::string CannotOpen(std::string_view path, int error);
// `kind` is what the file is instead: "a directory", "a device", ...
std::string NotRegularFile(std::string_view path, std::string_view kind);
std::string OutOfMemoryReading(std::string_view path);
std::string CannotRead(std::string_view path, int error);

}  // namespace kesto::messages

#endif  // KESTO_RUNTIME_DICTIONARY_MESSAGES_H_
