// Source positions for the dictionary loader.
//
// The JSON reader reports values, not where they were. TrackingIterator feeds the
// reader byte by byte and tells a PositionTracker about every byte consumed; the
// tracker keeps the byte offset at which the latest value token (string, number,
// literal) and the latest structural character started, and the line being read.
// At the moment the reader hands a value to the loader, nothing after that value
// has been read except, for a number, the one byte that ended it: so the tracker's
// offsets name the value's own position.
//
// Lines and columns are what an editor shows: lines count from 1 and end at LF;
// columns count from 1 in UTF-16 code units (a character beyond U+FFFF takes two),
// since that is how editors and their protocols address a line. A UTF-8 byte order
// mark at the start of the text is not part of the first line. The loader keeps
// the line and column of every name, so the tracker counts lines as the bytes pass
// and counts a name's column on from the name before it on the same line (or from
// the line's start): no byte is counted twice, however long the line. Problems are
// placed afterwards, all in one pass (TextCursor).
#ifndef KESTO_RUNTIME_DICTIONARY_POSITION_H_
#define KESTO_RUNTIME_DICTIONARY_POSITION_H_

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string_view>

namespace kesto {

struct LineColumn {
    std::size_t line = 1;    // from 1
    std::size_t column = 1;  // from 1, in UTF-16 code units
};

// Bytes of a UTF-8 byte order mark at the start of `text` (0 or 3).
inline std::size_t ByteOrderMarkLength(std::string_view text) {
    return text.substr(0, 3) == "\xEF\xBB\xBF" ? 3 : 0;
}

// UTF-16 code units that a UTF-8 byte adds: one for a byte that starts a sequence,
// and one more for a four-byte sequence. Broken sequences count somehow but never
// stop the count: only messages about them need it, the reader refuses them.
inline std::size_t Utf16UnitsOf(unsigned char byte) {
    return static_cast<std::size_t>((byte & 0xC0) != 0x80) + static_cast<std::size_t>(byte >= 0xF0);
}

inline std::size_t Utf16UnitsOf(const char* from, const char* to) {
    std::size_t units = 0;
    for (; from < to; ++from) units += Utf16UnitsOf(static_cast<unsigned char>(*from));
    return units;
}

class PositionTracker {
public:
    explicit PositionTracker(std::string_view text)
        : begin_(text.data()), lineStart_(ByteOrderMarkLength(text)), counted_(lineStart_) {}

    void Consume(const char* at) {
        const char c = *at;
        if (inString_) {
            if (escaped_) {
                escaped_ = false;
            } else if (c == '\\') {
                escaped_ = true;
            } else if (c == '"') {
                inString_ = false;
            }
            return;
        }
        switch (c) {
            case '"':
                inString_ = true;
                inScalar_ = false;
                valueStart_ = Offset(at);
                break;
            case '\n':
                ++line_;
                lineStart_ = Offset(at) + 1;
                inScalar_ = false;
                break;
            case ' ':
            case '\t':
            case '\r':
                inScalar_ = false;
                break;
            case '{':
            case '}':
            case '[':
            case ']':
            case ':':
            case ',':
                inScalar_ = false;
                structuralStart_ = Offset(at);
                break;
            default:
                if (!inScalar_) valueStart_ = Offset(at);
                inScalar_ = true;
                break;
        }
    }

    // Where the value just delivered starts.
    std::size_t ValueStart() const { return valueStart_; }
    // Where the '{' or '[' just delivered is.
    std::size_t StructuralStart() const { return structuralStart_; }
    // Where the token read last starts, value or structural.
    std::size_t TokenStart() const { return valueStart_ > structuralStart_ ? valueStart_ : structuralStart_; }

    // The line and column of `offset`, which must lie on the line being read (no
    // line break consumed since): true of a string just delivered, which cannot
    // hold a raw line break. Asked in increasing order along a line, the columns
    // cost a count of the bytes between one answer and the next.
    LineColumn Locate(std::size_t offset) {
        if (countedLine_ != line_ || offset < counted_) {
            countedLine_ = line_;
            counted_ = lineStart_;
            countedUnits_ = 0;
        }
        if (offset > counted_) {
            countedUnits_ += Utf16UnitsOf(begin_ + counted_, begin_ + offset);
            counted_ = offset;
        }
        return {line_, countedUnits_ + 1};
    }

private:
    std::size_t Offset(const char* at) const { return static_cast<std::size_t>(at - begin_); }

    const char* begin_;
    std::size_t valueStart_ = 0;
    std::size_t structuralStart_ = 0;
    std::size_t line_ = 1;
    std::size_t lineStart_;
    // How far Locate has counted the columns of line countedLine_.
    std::size_t countedLine_ = 1;
    std::size_t counted_;
    std::size_t countedUnits_ = 0;
    bool inString_ = false;
    bool escaped_ = false;
    bool inScalar_ = false;
};

class TrackingIterator {
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    TrackingIterator(const char* at, PositionTracker* tracker) : at_(at), tracker_(tracker) {}

    reference operator*() const { return *at_; }
    TrackingIterator& operator++() {
        tracker_->Consume(at_);
        ++at_;
        return *this;
    }
    TrackingIterator operator++(int) {
        TrackingIterator before = *this;
        ++*this;
        return before;
    }
    bool operator==(const TrackingIterator& other) const { return at_ == other.at_; }
    bool operator!=(const TrackingIterator& other) const { return at_ != other.at_; }

private:
    const char* at_;
    PositionTracker* tracker_;
};

// Lines and columns of offsets into a text, asked in increasing order: each answer
// continues from the one before, so any number of them cost one pass over the text.
// An offset before the one asked last starts the count again from the beginning.
class TextCursor {
public:
    explicit TextCursor(std::string_view text) : text_(text), at_(ByteOrderMarkLength(text)) {}

    LineColumn MoveTo(std::size_t offset) {
        if (offset > text_.size()) offset = text_.size();
        if (offset < at_) *this = TextCursor(text_);
        for (; at_ < offset; ++at_) {
            const auto byte = static_cast<unsigned char>(text_[at_]);
            if (byte == '\n') {
                ++line_;
                units_ = 0;
            } else {
                units_ += Utf16UnitsOf(byte);
            }
        }
        return {line_, units_ + 1};
    }

private:
    std::string_view text_;
    std::size_t at_;
    std::size_t line_ = 1;
    std::size_t units_ = 0;  // of the line up to at_
};

}  // namespace kesto

#endif  // KESTO_RUNTIME_DICTIONARY_POSITION_H_
