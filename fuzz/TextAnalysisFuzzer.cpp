// Normalyse and AnalyseText on the input as text. The first byte chooses how
// the rest is decoded: as UTF-8, as Windows-1252, or as UTF-16 code units
// taken as they come (so lone surrogates, which no decoder produces, reach
// the routines too: a mail client hands over whatever it holds).
#include "FuzzSupport.h"

#include "analysis/TextFeatures.h"
#include "analysis/TextNormalisation.h"
#include "base/Cp1252.h"

using namespace velmora;

namespace {

QString decoded(std::uint8_t how, QByteArrayView bytes) {
    switch (how % 3) {
    case 0:
        return QString::fromUtf8(bytes);
    case 1:
        return fromCp1252(bytes);
    default: {
        QString text(bytes.size() / 2, Qt::Uninitialized);
        for (qsizetype i = 0; i < text.size(); ++i)
            text[i] =
                QChar(char16_t(std::uint8_t(bytes[2 * i]) | std::uint8_t(bytes[2 * i + 1]) << 8));
        return text;
    }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0)
        return 0;
    fuzz::setUp();
    const QString text = decoded(data[0], fuzz::inputBytes(data + 1, size - 1));

    // What Normalyse keeps, it keeps again.
    const QString subject = Normalyse(text);
    if (Normalyse(subject) != subject)
        fuzz::fail("Normalyse is not idempotent", subject);

    QString body = text;
    AnalyseText(body);
    return 0;
}
