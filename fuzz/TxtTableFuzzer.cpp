// The text table reader on "txtdata.dat" holding the input. Whatever it
// loads must survive a save and a second load unchanged: the file format
// keeps every field of a record with a sender, byte for byte.
#include "FuzzSupport.h"

#include "store/SpamData.h"
#include "store/TxtTableFile.h"

using namespace velmora;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::setUp();
    SpamData spam{DataFolder(fuzz::freshFolder(QStringLiteral("work")))};
    const QString file = spam.folder.dataFile(kTxtDataFile);
    fuzz::writeFile(file, fuzz::inputBytes(data, size));

    ReadTxtTable(spam);
    TxtRecords kept;
    for (const TxtRec& rec : spam.TxtTable) {
        if (!rec.Sender.isEmpty())
            kept.append(rec);
    }
    WriteTxtTable(spam);
    ReadTxtTable(spam);
    if (!(spam.TxtTable == kept))
        fuzz::fail("a saved text table reads back differently", file);
    return 0;
}
