// The settings store on a settings file made from the input. The first byte
// chooses the setting to write (its two low bits: the unnamed default value
// or one of the three settings) and the length of the value (the other six
// bits); that many bytes follow as the value, in Windows-1252, and the rest
// is the file.
//
// Reading never shows a message. A write that succeeds reads back as written
// and leaves every other setting reading as before; a write that fails
// leaves the file as it was.
#include "FuzzSupport.h"

#include "base/Cp1252.h"
#include "settings/SettingsStore.h"

#include <algorithm>
#include <array>

using namespace velmora;

namespace {

constexpr std::array<short, 4> kNumbers = {0, SettingLevelP, SettingLevelT, SettingTextP};

// What ReadSetting gives for a value written by WriteSetting.
QString readBack(const QString& written) {
    const QString stored = written.isEmpty() ? QStringLiteral(" ") : written;
    const qsizetype nul = stored.indexOf(QChar());
    return nul < 0 ? stored : stored.left(nul);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0)
        return 0;
    fuzz::setUp();
    const std::size_t valueLength = std::min<std::size_t>(data[0] >> 2, size - 1);
    const short number = kNumbers[data[0] & 3];
    const QString value = fromCp1252(fuzz::inputBytes(data + 1, valueLength));
    const QByteArrayView fileBytes =
        fuzz::inputBytes(data + 1 + valueLength, size - 1 - valueLength);

    const QString file =
        fuzz::freshFolder(QStringLiteral("config")) + QStringLiteral("velmora.ini");
    fuzz::writeFile(file, fileBytes);
    SettingsStore store(file);
    std::array<QString, kNumbers.size()> before;
    for (std::size_t i = 0; i < kNumbers.size(); ++i)
        before[i] = store.ReadSetting(kNumbers[i]);
    if (!fuzz::takeMessages().isEmpty())
        fuzz::fail("ReadSetting showed a message");

    store.WriteSetting(value, number);
    if (!fuzz::takeMessages().isEmpty()) {
        if (fuzz::readFile(file) != fileBytes)
            fuzz::fail("a failed WriteSetting changed the file");
        return 0;
    }
    for (std::size_t i = 0; i < kNumbers.size(); ++i) {
        const QString now = store.ReadSetting(kNumbers[i]);
        const QString expected = kNumbers[i] == number ? readBack(value) : before[i];
        if (now != expected)
            fuzz::fail("a setting reads differently after WriteSetting",
                       QStringLiteral("setting %1 reads \"%2\", expected \"%3\"")
                           .arg(kNumbers[i])
                           .arg(now, expected));
    }
    return 0;
}
