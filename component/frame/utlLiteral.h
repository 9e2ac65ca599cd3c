// utlLiteral.h: 16-bit copies of ASCII literals, made at compile time.
//
// utlLiteral<"TRUE"> is a NUL-terminated array of unsigned short in read-only data,
// one per distinct text, with no start-up cost. It is the one way the component
// spells a private 16-bit text; texts exported for other components stay brace lists,
// since exported arrays need their own definitions.
#ifndef VANTLE_FRAME_UTLLITERAL_H_
#define VANTLE_FRAME_UTLLITERAL_H_

#include <cstddef>

template <std::size_t N>
struct utlNarrowText {
    char units[N];
    // Implicit, so that a string literal can be a template argument.
    constexpr utlNarrowText(const char (&text)[N]) {
        for (std::size_t i = 0; i < N; ++i) units[i] = text[i];
    }
};

template <std::size_t N>
struct utlWideText {
    unsigned short units[N];
};

template <utlNarrowText Text>
inline constexpr utlWideText<sizeof(Text.units)> utlWideLiteral = [] {
    utlWideText<sizeof(Text.units)> wide{};
    for (std::size_t i = 0; i < sizeof(Text.units); ++i) wide.units[i] = static_cast<unsigned char>(Text.units[i]);
    return wide;
}();

// The text's units, terminator included: utlLiteral<"OK status">.
template <utlNarrowText Text>
inline constexpr const unsigned short (&utlLiteral)[sizeof(Text.units)] = utlWideLiteral<Text>.units;

#endif  // VANTLE_FRAME_UTLLITERAL_H_
