#pragma once

#include <QString>

namespace velmora::mime {

// Every line end (CR LF, a lone LF or a lone CR) as CR LF.
inline QString withCrLf(QString text) {
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    text.replace(QLatin1Char('\r'), QLatin1Char('\n'));
    text.replace(QLatin1Char('\n'), QStringLiteral("\r\n"));
    return text;
}

} // namespace velmora::mime
