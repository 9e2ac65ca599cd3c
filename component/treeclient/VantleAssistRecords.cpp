// TNode pieces and separator-delimited lists.
#include "VantleAssistRecords.h"

#include <climits>

#include "utlLiteral.h"

namespace {

constexpr const unsigned short* kNoText = utlLiteral<"">;

BSTR EmptyPiece() { return COM_SysAllocStringLen(kNoText, 0); }

// Copies up to `length` units from `from`, stopping at the text's end.
BSTR CopyPiece(const unsigned short* text, long textLength, long from, long length) {
    long available = textLength - from;
    if (length > available) length = available;
    if (length <= 0) return EmptyPiece();
    return COM_SysAllocStringLen(text + from, static_cast<unsigned int>(length));
}

// position + length without leaving int; pieces that long never come from a real
// tree, but a malformed length must not wrap the caller's position.
int Advance(long position, long length) {
    long moved = position + length;
    return moved > INT_MAX ? INT_MAX : static_cast<int>(moved);
}

}  // namespace

BSTR TNodePiece(const unsigned short* text, int& position) {
    if (text == nullptr) text = kNoText;
    long textLength = 0;
    while (text[textLength] != 0) ++textLength;
    if (position < 0 || position >= textLength) return EmptyPiece();

    long at = position;
    if (text[at] == ':') {
        position = Advance(at, 1);
        return EmptyPiece();
    }
    // Anything but a digit before the ':' is skipped without complaint; the length
    // saturates instead of overflowing.
    long length = 0;
    while (at < textLength && text[at] != ':') {
        unsigned short c = text[at];
        if (c >= '0' && c <= '9') {
            length = length * 10 + (c - '0');
            if (length > INT_MAX) length = INT_MAX;
        }
        ++at;
    }
    long start = at < textLength ? at + 1 : at;  // past the ':', or at the NUL
    position = Advance(start, length);
    return CopyPiece(text, textLength, start, length);
}

CScanString Tokenize(const CScanString& text, unsigned short separator, unsigned long start, unsigned long* next) {
    unsigned long ignored = 0;
    if (next == nullptr) next = &ignored;
    const int length = static_cast<int>(text.End() - text.Begin());
    if (length <= 0 || start >= static_cast<unsigned long>(length)) {
        *next = CScanString::NPOS;
        return CScanString();
    }
    const unsigned short* begin = text.Begin();
    bool quoted = false;
    int depth = 0;
    for (unsigned long i = start; i < static_cast<unsigned long>(length); ++i) {
        unsigned short c = begin[i];
        if (c == '"') {
            quoted = !quoted;
        } else if (!quoted && c == '(') {
            ++depth;
        } else if (!quoted && c == ')') {
            --depth;
        } else if (c == separator && depth == 0 && !quoted) {
            *next = i;
            return CScanString(begin + start, begin + i);
        }
    }
    *next = CScanString::NPOS;
    return CScanString(begin + start, begin + length);
}
