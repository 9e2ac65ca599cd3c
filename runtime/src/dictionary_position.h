// Source positions for the dictionary loader.
//
// The JSON reader reports values, not where they were. TrackingIterator feeds the
// reader byte by byte and tells a PositionTracker about every byte consumed; the
// tracker keeps the byte offset at which the latest value token (string, number,
// literal) and the latest structural character started. At the moment the reader
// hands a value to the loader, nothing after that value has been read except, for
// a number, the one byte that ended it: so the tracker's offsets name the value's
// own position. Lines and columns are computed only when a message needs them.
#ifndef KESTO_RUNTIME_DICTIONARY_POSITION_H_
#define KESTO_RUNTIME_DICTIONARY_POSITION_H_

#include <cstddef>
#include <iterator>
#include <string_view>

namespace kesto {

class PositionTracker {
public:
    explicit PositionTracker(const char* begin) : begin_(begin) {}

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
            case ' ':
            case '\t':
            case '\n':
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

private:
    std::size_t Offset(const char* at) const { return static_cast<std::size_t>(at - begin_); }

    const char* begin_;
    std::size_t valueStart_ = 0;
    std::size_t structuralStart_ = 0;
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

struct LineColumn {
    std::size_t line = 1;    // from 1
    std::size_t column = 1;  // from 1, in characters (UTF-8 sequences), not bytes
};

inline LineColumn LineColumnAt(std::string_view text, std::size_t offset) {
    if (offset > text.size()) offset = text.size();
    LineColumn at;
    std::size_t lineStart = 0;
    for (std::size_t i = 0; i < offset; ++i) {
        if (text[i] == '\n') {
            ++at.line;
            lineStart = i + 1;
        }
    }
    for (std::size_t i = lineStart; i < offset; ++i) {
        if ((static_cast<unsigned char>(text[i]) & 0xC0) != 0x80) ++at.column;
    }
    return at;
}

}  // namespace kesto

#endif  // KESTO_RUNTIME_DICTIONARY_POSITION_H_
