// TNodePiece and Tokenize on arbitrary 16-bit text, against a plain model of each.
//
// TNodePiece reads runs of pieces from any position, negative and past the end
// included, and must agree with the model on the piece and the new position
// wherever the stated length is sane; with absurd lengths it must still stay
// inside the text. Tokenize walks a list cut from the middle of a larger buffer and
// from an exact heap copy with no terminator, so a read past the view's end is
// caught; items and continuation indexes must match the model.
#include <climits>
#include <memory>
#include <optional>

#include "FuzzSupport.h"
#include "VantleAssistRecords.h"


namespace {

struct Piece {
    Units text;
    long position;
};

// std::nullopt when the stated length is too large to model the position.
std::optional<Piece> ModelPiece(const Units& text, long position) {
    long length = static_cast<long>(text.size());
    if (position < 0 || position >= length) return Piece{Units(), position};
    if (text[position] == ':') return Piece{Units(), position + 1};
    long n = 0;
    long at = position;
    for (; at < length && text[at] != ':'; ++at) {
        if (text[at] >= '0' && text[at] <= '9') {
            n = n * 10 + (text[at] - '0');
            if (n > 1000000) return std::nullopt;
        }
    }
    long start = at < length ? at + 1 : at;
    long available = length - start;
    return Piece{text.substr(start, std::min(n, available)), start + n};
}

void CheckPieces(FuzzedDataProvider& input) {
    Units text = vantle::fuzz::ConsumeUnits(input, 48, true);
    Units terminated = text.substr(0, text.find(static_cast<unsigned short>(0)));
    // An exact block: the text and its terminator, nothing more to read.
    std::unique_ptr<unsigned short[]> block(new unsigned short[terminated.size() + 1]);
    std::copy(terminated.begin(), terminated.end(), block.get());
    block[terminated.size()] = 0;

    int position = 0;
    switch (input.ConsumeIntegralInRange<int>(0, 5)) {
        case 0: position = -input.ConsumeIntegralInRange<int>(1, 3); break;
        case 1: position = static_cast<int>(terminated.size()) + input.ConsumeIntegralInRange<int>(0, 3); break;
        case 2: position = input.ConsumeBool() ? INT_MIN : INT_MAX; break;
        default: position = 0; break;
    }
    for (int call = 0; call < 24; ++call) {
        int before = position;
        kesto::String piece(TNodePiece(block.get(), position));
        FUZZ_CHECK(!piece.is_null(), "TNodePiece failed without fault injection");
        Units got = UnitsOf(piece);
        std::optional<Piece> expected = ModelPiece(terminated, before);
        if (expected) {
            FUZZ_CHECK(got == expected->text, "TNodePiece read the wrong piece");
            if (expected->position <= INT_MAX) {
                FUZZ_CHECK(position == expected->position, "TNodePiece left the wrong position");
            }
        } else {
            FUZZ_CHECK(got.size() <= terminated.size(), "TNodePiece returned more than the text holds");
        }
        if (position == before) break;
    }
    int nullPosition = 0;
    kesto::String fromNull(TNodePiece(nullptr, nullPosition));
    FUZZ_CHECK(fromNull.size() == 0 && nullPosition == 0, "a NULL text reads as empty");
}

struct Item {
    long begin;
    long length;
    unsigned long next;
};

Item ModelToken(const Units& text, unsigned short separator, unsigned long start) {
    long length = static_cast<long>(text.size());
    if (start >= static_cast<unsigned long>(length)) return Item{-1, 0, CScanString::NPOS};
    bool quoted = false;
    long depth = 0;
    for (long i = static_cast<long>(start); i < length; ++i) {
        unsigned short c = text[i];
        if (c == '"') {
            quoted = !quoted;
            continue;
        }
        if (!quoted && c == '(') {
            ++depth;
            continue;
        }
        if (!quoted && c == ')') {
            --depth;
            continue;
        }
        if (c == separator && depth == 0 && !quoted) {
            return Item{static_cast<long>(start), i - static_cast<long>(start), static_cast<unsigned long>(i)};
        }
    }
    return Item{static_cast<long>(start), length - static_cast<long>(start), CScanString::NPOS};
}

void CheckTokens(FuzzedDataProvider& input) {
    Units text = vantle::fuzz::ConsumeUnits(input, 48, true);
    static const unsigned short kSeparators[] = {',', ',', ':', '=', '"', '(', ')', 0};
    unsigned short separator = kSeparators[input.ConsumeIntegralInRange<int>(0, 7)];
    if (separator == 0) separator = vantle::fuzz::ConsumeUnit(input);

    Units buffer = W("a,(").units() + text + W(",b)\"").units();
    std::unique_ptr<unsigned short[]> exact(new unsigned short[text.size()]);
    std::copy(text.begin(), text.end(), exact.get());
    CScanString views[] = {CScanString(buffer.data() + 3, buffer.data() + 3 + text.size()),
                           CScanString(exact.get(), exact.get() + text.size())};

    unsigned long start = input.ConsumeBool() ? 0 : input.ConsumeIntegralInRange<unsigned long>(0, text.size() + 2);
    if (input.ConsumeIntegralInRange<int>(0, 15) == 0) start = CScanString::NPOS;
    for (int item = 0; item < 64; ++item) {
        Item expected = ModelToken(text, separator, start);
        unsigned long next = 12345;
        for (const CScanString& view : views) {
            CScanString got = Tokenize(view, separator, start, &next);
            FUZZ_CHECK(next == expected.next, "Tokenize continues at the wrong index");
            if (expected.begin < 0) {
                FUZZ_CHECK(got.Begin() == nullptr && got.End() == nullptr, "Tokenize past the end is not the null view");
            } else {
                FUZZ_CHECK(got.Begin() == view.Begin() + expected.begin && static_cast<long>(got.Length()) == expected.length,
                           "Tokenize returned the wrong item");
            }
        }
        if (expected.next == CScanString::NPOS) break;
        FUZZ_CHECK(text[expected.next] == separator, "an item did not end at a separator");
        start = expected.next + 1;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    vantle::fuzz::LiveStringGuard strings;
    FuzzedDataProvider input(data, size);
    if (input.ConsumeBool()) {
        CheckPieces(input);
    } else {
        CheckTokens(input);
    }
    return 0;
}
