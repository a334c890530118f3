#include "base/Cp1252.h"

namespace velmora {
namespace {

// Bytes 0x80..0x9F; the rest of the code page is identical to Latin-1.
constexpr char16_t kHighControls[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

unsigned char encodeOutsideLatin1(char16_t u) {
    for (int i = 0; i < 32; ++i) {
        if (kHighControls[i] == u)
            return static_cast<unsigned char>(0x80 + i);
    }
    return '?';
}

} // namespace

unsigned char ansiCode(QChar c) {
    const char16_t u = c.unicode();
    if (u < 0x80 || (u >= 0xA0 && u <= 0xFF))
        return static_cast<unsigned char>(u);
    return encodeOutsideLatin1(u);
}

QString fromCp1252(QByteArrayView bytes) {
    QString text(bytes.size(), Qt::Uninitialized);
    char16_t* out = reinterpret_cast<char16_t*>(text.data());
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        const auto b = static_cast<unsigned char>(bytes[i]);
        out[i] = (b >= 0x80 && b < 0xA0) ? kHighControls[b - 0x80] : char16_t(b);
    }
    return text;
}

void appendCp1252(QByteArray& out, QStringView text) {
    const qsizetype start = out.size();
    out.resize(start + text.size());
    char* dst = out.data() + start;
    const char16_t* src = text.utf16();
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t u = src[i];
        dst[i] =
            static_cast<char>((u < 0x80 || (u >= 0xA0 && u <= 0xFF)) ? static_cast<unsigned char>(u)
                                                                     : encodeOutsideLatin1(u));
    }
}

QByteArray toCp1252(QStringView text) {
    QByteArray out;
    appendCp1252(out, text);
    return out;
}

} // namespace velmora
