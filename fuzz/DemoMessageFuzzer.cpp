// The reader of the demo's bundled messages on a message file holding the
// input, with an empty pictures folder beside it.
#include "FuzzSupport.h"

#include "app/DemoMessage.h"

#include <QDir>

using namespace velmora;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::setUp();
    const QString folder = fuzz::freshFolder(QStringLiteral("demo"));
    const QString file = folder + QStringLiteral("message.txt");
    fuzz::writeFile(file, fuzz::inputBytes(data, size));
    const QString pictures = folder + QStringLiteral("pictures");
    QDir().mkdir(pictures);
    QString error;
    readDemoMessage(file, pictures, error);
    return 0;
}
