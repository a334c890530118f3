#include "base/Val.h"

#include "base/VbError.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <string>

namespace velmora {
namespace {

bool isIgnoredBlank(unsigned c) {
    return c == ' ' || c == '\t' || c == '\n';
}

bool isDigit(unsigned c) {
    return c >= '0' && c <= '9';
}

// Reads a radix number after "&H"/"&O". Values that fit 16 bits unsigned wrap
// to a 16-bit signed number and those that fit 32 bits to a 32-bit one, as the
// original runtime's hexadecimal literals do ("&HFFFF" is -1).
template <typename Unit>
double radixValue(const Unit* p, const Unit* end, unsigned radix) {
    std::uint64_t value = 0;
    for (; p != end; ++p) {
        const unsigned c = static_cast<unsigned>(*p);
        if (isIgnoredBlank(c))
            continue;
        unsigned digit;
        if (isDigit(c))
            digit = c - '0';
        else if (radix == 16 && c >= 'a' && c <= 'f')
            digit = c - 'a' + 10;
        else if (radix == 16 && c >= 'A' && c <= 'F')
            digit = c - 'A' + 10;
        else
            break;
        if (digit >= radix)
            break;
        value = value * radix + digit;
        if (value > 0xFFFFFFFFull)
            throw VbError(VbError::Overflow);
    }
    if (value <= 0xFFFF)
        return static_cast<std::int16_t>(static_cast<std::uint16_t>(value));
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(value));
}

// Reads a run of decimal digits from `p`, passing over ignored blanks, and
// hands each digit to `onDigit`; `p` is left on the first other character.
template <typename Unit, typename OnDigit>
bool readDigits(const Unit*& p, const Unit* end, OnDigit&& onDigit) {
    bool any = false;
    for (; p != end; ++p) {
        const unsigned c = static_cast<unsigned>(*p);
        if (isIgnoredBlank(c))
            continue;
        if (!isDigit(c))
            break;
        any = true;
        onDigit(static_cast<char>(c));
    }
    return any;
}

template <typename Unit>
bool isSign(const Unit* p, const Unit* end) {
    return p != end && (*p == Unit('-') || *p == Unit('+'));
}

template <typename Unit>
double parseVal(const Unit* p, const Unit* end) {
    while (p != end && isIgnoredBlank(static_cast<unsigned>(*p)))
        ++p;
    if (p != end && *p == Unit('&') && p + 1 != end) {
        const unsigned kind = static_cast<unsigned>(p[1]);
        if (kind == 'h' || kind == 'H')
            return radixValue(p + 2, end, 16);
        if (kind == 'o' || kind == 'O')
            return radixValue(p + 2, end, 8);
        if (isDigit(kind))
            return radixValue(p + 1, end, 8);
        return 0.0;
    }

    // Collect the number's characters, blanks removed, into a text that
    // std::from_chars can read (it ignores the locale, unlike strtod). Numbers
    // in the data files are short enough to stay in the string's own buffer;
    // a damaged file's long ones are read whole all the same.
    std::string text;
    auto put = [&](char c) { text.push_back(c); };
    std::uint64_t integer = 0; // fast path for plain whole numbers
    int significantDigits = 0;
    bool plainInteger = true;
    bool nonZeroFraction = false;

    const bool negative = isSign(p, end) && *p == Unit('-');
    if (isSign(p, end))
        ++p;
    bool anyDigit = readDigits(p, end, [&](char c) {
        put(c);
        if (integer != 0 || c != '0')
            ++significantDigits;
        integer = integer * 10 + unsigned(c - '0');
    });
    if (p != end && *p == Unit('.')) {
        plainInteger = false;
        put('.');
        ++p;
        anyDigit |= readDigits(p, end, [&](char c) {
            put(c);
            nonZeroFraction |= c != '0';
        });
    }
    if (!anyDigit)
        return 0.0;

    bool expNegative = false;
    if (p != end) {
        const unsigned e = static_cast<unsigned>(*p);
        if (e == 'e' || e == 'E' || e == 'd' || e == 'D') {
            const Unit* q = p + 1;
            while (q != end && isIgnoredBlank(static_cast<unsigned>(*q)))
                ++q;
            const bool minus = isSign(q, end) && *q == Unit('-');
            if (isSign(q, end))
                ++q;
            std::string exponent;
            if (readDigits(q, end, [&](char c) { exponent.push_back(c); })) {
                plainInteger = false;
                expNegative = minus;
                put('e');
                put(minus ? '-' : '+');
                text += exponent;
            }
        }
    }

    if (plainInteger && significantDigits <= 18)
        return negative ? -static_cast<double>(integer) : static_cast<double>(integer);

    double value = 0.0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (result.ec == std::errc::result_out_of_range) {
        // from_chars leaves the value alone both ways: tell a number too small
        // to represent (which is simply 0) from one too large.
        if (expNegative || (significantDigits == 0 && !nonZeroFraction))
            return 0.0;
        throw VbError(VbError::Overflow);
    }
    if (std::isinf(value))
        throw VbError(VbError::Overflow);
    return negative ? -value : value;
}

} // namespace

double Val(QStringView text) {
    const char16_t* begin = text.utf16();
    return parseVal(begin, begin + text.size());
}

double Val(QByteArrayView text) {
    const auto* begin = reinterpret_cast<const unsigned char*>(text.data());
    return parseVal(begin, begin + text.size());
}

} // namespace velmora
