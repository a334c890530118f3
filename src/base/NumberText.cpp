#include "base/NumberText.h"

#include <charconv>

namespace velmora {

void appendSignOrSpace(QByteArray& out, std::int64_t value) {
    char buf[24];
    buf[0] = value < 0 ? '-' : ' ';
    const std::uint64_t magnitude =
        value < 0 ? 0 - static_cast<std::uint64_t>(value) : static_cast<std::uint64_t>(value);
    const auto result = std::to_chars(buf + 1, buf + sizeof buf, magnitude);
    out.append(buf, result.ptr - buf);
}

QString signOrSpace(std::int64_t value) {
    QByteArray text;
    appendSignOrSpace(text, value);
    return QString::fromLatin1(text);
}

} // namespace velmora
