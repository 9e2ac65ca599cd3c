// Hand-made number formatting for 16-bit streams and strings.
#include "sysExceptionFormat.h"

#include <cstdio>
#include <cstring>
#include <memory>

void sysAppendDigits(utlWString& out, unsigned long long value, unsigned int base, bool upperCase) {
    const char* digits = upperCase ? "0123456789ABCDEF" : "0123456789abcdef";
    unsigned short reversed[64];
    int count = 0;
    do {
        reversed[count++] = static_cast<unsigned short>(digits[value % base]);
        value /= base;
    } while (value != 0);
    while (count > 0) out.push_back(reversed[--count]);
}

void sysAppendText(utlWString& out, const unsigned short* text) {
    while (*text != 0) out.push_back(*text++);
}

void sysAppendNarrow(utlWString& out, const char* text) {
    unsigned long length = std::strlen(text);
    std::unique_ptr<unsigned short[]> wide(a2w(text, length, 0));
    out.append(wide.get(), length);
}

unsigned short* a2w(const char* text, unsigned long count, int) {
    unsigned short* wide = new unsigned short[count];
    for (unsigned long i = 0; i < count; ++i) {
        // Sign extension is deliberate: bytes from 0x80 up become 0xFF80 to 0xFFFF.
        wide[i] = static_cast<unsigned short>(static_cast<short>(static_cast<signed char>(text[i])));
    }
    return wide;
}

void sysWriteInt(utlWOStream& stream, int value) {
    const std::ios_base::fmtflags flags = stream.flags();
    const std::ios_base::fmtflags basefield = flags & std::ios_base::basefield;
    const bool upperCase = (flags & std::ios_base::uppercase) != 0;
    utlWString text;
    if (basefield == std::ios_base::hex || basefield == std::ios_base::oct) {
        // Like the narrow streams: other bases show the unsigned bit pattern, and
        // the base prefix only for a non-zero value.
        const unsigned int bits = static_cast<unsigned int>(value);
        const bool hex = basefield == std::ios_base::hex;
        if ((flags & std::ios_base::showbase) != 0 && bits != 0) {
            text.push_back('0');
            if (hex) text.push_back(upperCase ? 'X' : 'x');
        }
        sysAppendDigits(text, bits, hex ? 16 : 8, upperCase);
    } else {
        const long long wider = value;
        if (wider < 0) {
            text.push_back('-');
        } else if ((flags & std::ios_base::showpos) != 0) {
            text.push_back('+');
        }
        sysAppendDigits(text, static_cast<unsigned long long>(wider < 0 ? -wider : wider), 10, false);
    }
    sysWriteText(stream, text);
}

void sysWriteText(utlWOStream& stream, const unsigned short* text) {
    std::streamsize length = 0;
    while (text[length] != 0) ++length;
    stream.write(text, length);
}

void sysWriteText(utlWOStream& stream, const utlWString& text) {
    stream.write(text.data(), static_cast<std::streamsize>(text.size()));
}
