// The fast reader: one pass over well-formed JSON, declining at anything else.
#include "dictionary_fast_reader.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include <algorithm>
#include <cstdint>
#include <string>

#include "class_tree_builder.h"
#include "dictionary_names.h"
#include "dictionary_position.h"
#include "dictionary_schema.h"

namespace kesto {
namespace {

// The first byte at or after `p` that a string cannot simply take: a quote, a
// backslash, a control character or a byte of a multi-byte character.
inline const char* ScanPlain(const char* p, const char* end) {
#if defined(__SSE2__)
    const __m128i quote = _mm_set1_epi8('"');
    const __m128i backslash = _mm_set1_epi8('\\');
    const __m128i space = _mm_set1_epi8(0x20);
    while (end - p >= 16) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        // Signed: bytes from 0x80 up are negative, so "below a blank" takes them too.
        const __m128i stop = _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(bytes, quote), _mm_cmpeq_epi8(bytes, backslash)),
                                          _mm_cmplt_epi8(bytes, space));
        const int mask = _mm_movemask_epi8(stop);
        if (mask != 0) return p + __builtin_ctz(static_cast<unsigned>(mask));
        p += 16;
    }
#endif
    for (; p < end; ++p) {
        const auto c = static_cast<unsigned char>(*p);
        if (c == '"' || c == '\\' || c < 0x20 || c >= 0x80) return p;
    }
    return end;
}

int HexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// Bytes of the well-formed UTF-8 sequence at `p` (RFC 3629: no overlong forms, no
// surrogates, nothing past U+10FFFF), or 0.
std::size_t Utf8SequenceLength(const unsigned char* p, const unsigned char* end) {
    auto tail = [&](std::size_t i, unsigned char low = 0x80, unsigned char high = 0xBF) {
        return p + i < end && p[i] >= low && p[i] <= high;
    };
    const unsigned char c = p[0];
    if (c >= 0xC2 && c <= 0xDF) return tail(1) ? 2 : 0;
    if (c == 0xE0) return tail(1, 0xA0) && tail(2) ? 3 : 0;
    if ((c >= 0xE1 && c <= 0xEC) || c == 0xEE || c == 0xEF) return tail(1) && tail(2) ? 3 : 0;
    if (c == 0xED) return tail(1, 0x80, 0x9F) && tail(2) ? 3 : 0;
    if (c == 0xF0) return tail(1, 0x90) && tail(2) && tail(3) ? 4 : 0;
    if (c >= 0xF1 && c <= 0xF3) return tail(1) && tail(2) && tail(3) ? 4 : 0;
    if (c == 0xF4) return tail(1, 0x80, 0x8F) && tail(2) && tail(3) ? 4 : 0;
    return 0;
}

void AppendUtf8(std::string& out, std::uint32_t code) {
    if (code < 0x80) {
        out.push_back(static_cast<char>(code));
    } else if (code < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (code >> 6)));
        out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xE0 | (code >> 12)));
        out.push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
    }
}

// Thrown inside the reader to decline; caught at its entry.
struct Decline {};

constexpr std::size_t kProgressStep = std::size_t{8} << 20;

class FastReader {
public:
    // `size` is what the whole text is expected to be, for reserving.
    FastReader(const char* text, std::size_t loaded, std::size_t size, ReadFeed* feed)
        : begin_(text), p_(text), end_(text + loaded), lineStart_(begin_), countedAt_(begin_), lastWide_(begin_),
          feed_(feed), nextReport_(kProgressStep) {
        // A generous guess at the records, so that they never move while growing;
        // pages never written cost nothing.
        draft_.members.reserve(size / 64 + 16);
        draft_.memberNameAt.reserve(size / 64 + 16);
        draft_.classes.reserve(size / 512 + 16);
        draft_.classNameAt.reserve(size / 512 + 16);
        draft_.superStarts.reserve(size / 512 + 16);
    }

    std::shared_ptr<ClassTree> Read() {
        Have(begin_, 3);
        if (ByteOrderMarkLength({begin_, static_cast<std::size_t>(end_ - begin_)}) != 0) return nullptr;
        try {
            Root();
            SkipBlanks();
            if (p_ != end_) return nullptr;
        } catch (const Decline&) {
            return nullptr;
        }
        draft_.superStarts.push_back(static_cast<std::uint32_t>(draft_.supers.size()));
        return BuildClassTree(draft_);
    }

private:
    [[noreturn]] static void Refuse() { throw Decline{}; }

    // More of the text, when it comes in pieces; false at its end.
    bool Grow() {
        if (feed_ == nullptr || !feed_->More()) return false;
        end_ = begin_ + feed_->Loaded();
        return true;
    }

    // Whether `n` bytes from `at` are there (reading more as needed).
    bool Have(const char* at, std::size_t n) {
        while (static_cast<std::size_t>(end_ - at) < n) {
            if (!Grow()) return false;
        }
        return true;
    }

    void SkipBlanks() {
        while (p_ < end_ || Grow()) {
            const char c = *p_;
            if (c == ' ' || c == '\t' || c == '\r') {
                ++p_;
            } else if (c == '\n') {
                ++p_;
                ++line_;
                lineStart_ = p_;
            } else {
                return;
            }
        }
    }

    void Expect(char c) {
        SkipBlanks();
        if (p_ == end_ || *p_ != c) Refuse();
        ++p_;
    }

    // After a member of an object or array: true when another follows (a comma),
    // false at `close`.
    bool More(char close) {
        SkipBlanks();
        if (p_ == end_) Refuse();
        const char c = *p_++;
        if (c == ',') return true;
        if (c == close) return false;
        Refuse();
    }

    // True at the start of an empty object or array (and steps over its end).
    bool Empty(char close) {
        SkipBlanks();
        if (p_ < end_ && *p_ == close) {
            ++p_;
            return true;
        }
        return false;
    }

    // The next string's contents; `start` is where they begin (after the quote).
    std::string_view String(const char** start = nullptr) {
        SkipBlanks();
        if (p_ == end_ || *p_ != '"') Refuse();
        const char* from = ++p_;
        if (start != nullptr) *start = from;
        const char* stop = ScanPlain(from, end_);
        while (stop == end_ && Grow()) stop = ScanPlain(stop, end_);
        if (stop < end_ && *stop == '"') {
            p_ = stop + 1;
            return {from, static_cast<std::size_t>(stop - from)};
        }
        return Decoded(from, stop);
    }

    // A string with escapes or multi-byte characters, decoded into `scratch_`.
    std::string_view Decoded(const char* from, const char* stop) {
        scratch_.assign(from, stop);
        const char* p = stop;
        for (;;) {
            if (p == end_ && !Grow()) Refuse();
            const auto c = static_cast<unsigned char>(*p);
            if (c == '"') break;
            if (c < 0x20) Refuse();
            if (c >= 0x80) {
                Have(p, 4);
                const std::size_t length =
                    Utf8SequenceLength(reinterpret_cast<const unsigned char*>(p), reinterpret_cast<const unsigned char*>(end_));
                if (length == 0) Refuse();
                scratch_.append(p, length);
                p += length;
                lastWide_ = p;
            } else if (c == '\\') {
                if (!Have(p, 2)) Refuse();
                switch (p[1]) {
                    case '"': scratch_.push_back('"'); break;
                    case '\\': scratch_.push_back('\\'); break;
                    case '/': scratch_.push_back('/'); break;
                    case 'b': scratch_.push_back('\b'); break;
                    case 'f': scratch_.push_back('\f'); break;
                    case 'n': scratch_.push_back('\n'); break;
                    case 'r': scratch_.push_back('\r'); break;
                    case 't': scratch_.push_back('\t'); break;
                    case 'u': {
                        if (!Have(p, 6)) Refuse();
                        std::uint32_t code = 0;
                        for (int i = 2; i < 6; ++i) {
                            const int digit = HexValue(p[i]);
                            if (digit < 0) Refuse();
                            code = code * 16 + static_cast<std::uint32_t>(digit);
                        }
                        // Surrogates and control characters are left to the exact reader.
                        if (code < 0x20 || (code >= 0xD800 && code <= 0xDFFF)) Refuse();
                        AppendUtf8(scratch_, code);
                        p += 4;
                        break;
                    }
                    default:
                        Refuse();
                }
                p += 2;
            } else {
                const char* next = ScanPlain(p, end_);
                scratch_.append(p, next);
                p = next;
            }
        }
        p_ = p + 1;
        return scratch_;
    }

    bool Boolean() {
        SkipBlanks();
        Have(p_, 5);
        if (end_ - p_ >= 4 && std::string_view(p_, 4) == "true") {
            p_ += 4;
            return true;
        }
        if (end_ - p_ >= 5 && std::string_view(p_, 5) == "false") {
            p_ += 5;
            return false;
        }
        Refuse();
    }

    // The key of the next field of `object`, checked against its table and the
    // keys seen before.
    const Field& Key(ObjectKind object, std::uint32_t& seen) {
        const Field* field = FindField(object, String());
        if (field == nullptr) Refuse();
        const std::uint32_t bit = 1u << (field - FieldsOf(object).data());
        if (seen & bit) Refuse();
        seen |= bit;
        Expect(':');
        return *field;
    }

    // Line and column of a name starting at `at`, on the line being read; columns
    // count on from the name before on the same line.
    SourcePosition Where(const char* at) {
        if (countedLine_ != line_ || at < countedAt_) {
            countedLine_ = line_;
            countedAt_ = lineStart_;
            countedUnits_ = 0;
        }
        if (lastWide_ > countedAt_) {
            countedUnits_ += Utf16UnitsOf(countedAt_, at);
        } else {
            countedUnits_ += static_cast<std::size_t>(at - countedAt_);
        }
        countedAt_ = at;
        return {static_cast<std::uint32_t>(line_), static_cast<std::uint32_t>(countedUnits_ + 1)};
    }

    void Root() {
        Expect('{');
        if (Empty('}')) return;
        std::uint32_t seen = 0;
        do {
            const Field& field = Key(ObjectKind::kRoot, seen);
            if (field.target == Target::kFormat) {
                if (String() != kDictionaryFormat) Refuse();
            } else if (field.target == Target::kClasses) {
                Classes();
            } else {
                Refuse();
            }
        } while (More('}'));
    }

    void Classes() {
        Expect('[');
        if (Empty(']')) return;
        do {
            Class();
            // Nothing before the line being read is read again (columns count
            // from the line's start at the furthest).
            const auto done = static_cast<std::size_t>(lineStart_ - begin_);
            if (feed_ != nullptr && done >= nextReport_) {
                feed_->Consumed(done);
                nextReport_ = done + kProgressStep;
            }
        } while (More(']'));
    }

    void Class() {
        Expect('{');
        const auto index = static_cast<std::uint32_t>(draft_.classes.size());
        ClassEntry entry{};
        SourcePosition nameAt{};
        draft_.superStarts.push_back(static_cast<std::uint32_t>(draft_.supers.size()));
        std::uint32_t seen = 0;
        if (!Empty('}')) {
            do {
                const Field& field = Key(ObjectKind::kClass, seen);
                switch (field.target) {
                    case Target::kClassName: {
                        const char* start = nullptr;
                        const std::string_view name = String(&start);
                        if (CheckClassName(name, ClassNameForm::kFull) != ClassNameFault::kNone) Refuse();
                        entry.name = draft_.texts.Intern(name);
                        nameAt = Where(start);
                        break;
                    }
                    case Target::kClassText:
                        if (field.classText == &ClassRecord::classType) {
                            entry.classType = draft_.texts.Intern(String());
                        } else if (field.classText == &ClassRecord::description) {
                            entry.description = draft_.texts.Intern(String());
                        } else {
                            Refuse();
                        }
                        break;
                    case Target::kSupers:
                        Expect('[');
                        if (!Empty(']')) {
                            do {
                                draft_.supers.push_back(draft_.texts.Intern(String()));
                            } while (More(']'));
                        }
                        break;
                    case Target::kMembers:
                        Members(index, field.members);
                        break;
                    default:
                        Refuse();
                }
            } while (More('}'));
        }
        if (!(seen & (1u << kNameField))) Refuse();
        draft_.classes.push_back(entry);
        draft_.classNameAt.push_back(nameAt);
    }

    void Members(std::uint32_t owner, MemberKind kind) {
        Expect('[');
        if (Empty(']')) return;
        const ObjectKind object = ObjectOf(kind);
        do {
            Expect('{');
            MemberEntry entry{};
            hasType_ = hasCollection_ = false;
            entry.owner = owner;
            entry.kind = static_cast<std::uint8_t>(kind);
            SourcePosition nameAt{};
            std::uint32_t seen = 0;
            if (!Empty('}')) {
                do {
                    const Field& field = Key(object, seen);
                    switch (field.target) {
                        case Target::kMemberName: {
                            const char* start = nullptr;
                            const std::string_view name = String(&start);
                            if (CheckMemberName(name) != MemberNameFault::kNone) Refuse();
                            entry.name = draft_.texts.Intern(name);
                            nameAt = Where(start);
                            break;
                        }
                        case Target::kMemberText:
                            MemberText(field, entry);
                            break;
                        case Target::kMemberFlag:
                            MemberFlag(field, entry);
                            break;
                        default:
                            Refuse();
                    }
                } while (More('}'));
            }
            if (!(seen & (1u << kNameField))) Refuse();
            // A list or an array must say what it holds; the exact reader words that.
            if (hasCollection_ && !hasType_) Refuse();
            draft_.members.push_back(entry);
            draft_.memberNameAt.push_back(nameAt);
        } while (More(']'));
    }

    void MemberText(const Field& field, MemberEntry& entry) {
        const std::string_view value = String();
        if (!field.allowed.empty() && std::find(field.allowed.begin(), field.allowed.end(), value) == field.allowed.end())
            Refuse();
        TextId* slot = nullptr;
        if (field.memberText == &MemberRecord::type) slot = &entry.type;
        if (field.memberText == &MemberRecord::description) slot = &entry.description;
        if (field.memberText == &MemberRecord::formalSpec) slot = &entry.formalSpec;
        if (field.memberText == &MemberRecord::cardinality) slot = &entry.cardinality;
        if (field.memberText == &MemberRecord::collection) slot = &entry.collection;
        if (field.memberText == &MemberRecord::defaultValue) slot = &entry.defaultValue;
        if (slot == nullptr) Refuse();
        if (slot == &entry.type) hasType_ = !value.empty();
        if (slot == &entry.collection) hasCollection_ = !value.empty();
        *slot = draft_.texts.Intern(value);
    }

    void MemberFlag(const Field& field, MemberEntry& entry) {
        std::uint8_t bit = 0;
        if (field.memberFlag == &MemberRecord::classMethod) bit = kFlagClassMethod;
        if (field.memberFlag == &MemberRecord::isPrivate) bit = kFlagPrivate;
        if (field.memberFlag == &MemberRecord::internal) bit = kFlagInternal;
        if (field.memberFlag == &MemberRecord::relationship) bit = kFlagRelationship;
        if (bit == 0) Refuse();
        if (Boolean()) entry.flags |= bit;
    }

    const char* begin_;
    const char* p_;
    const char* end_;
    std::size_t line_ = 1;
    const char* lineStart_;
    std::size_t countedLine_ = 1;
    const char* countedAt_;
    std::size_t countedUnits_ = 0;
    const char* lastWide_;  // just past the latest multi-byte character
    ReadFeed* feed_;
    std::size_t nextReport_;
    std::string scratch_;
    DraftTree draft_;
    bool hasType_ = false;        // of the member being read: a type that is not empty
    bool hasCollection_ = false;  // ... and a collection that is not empty
};

}  // namespace

std::shared_ptr<ClassTree> ReadDictionaryFast(std::string_view json) {
    if (json.empty()) return nullptr;
    FastReader reader(json.data(), json.size(), json.size(), nullptr);
    return reader.Read();
}

std::shared_ptr<ClassTree> ReadDictionaryFast(const char* text, std::size_t size, ReadFeed& feed) {
    FastReader reader(text, feed.Loaded(), size, &feed);
    return reader.Read();
}

}  // namespace kesto
