// The picture table reader. The first input byte chooses the files: when it
// is even, the rest of the input is "picdata.dat"; when it is odd, the rest is
// the shipped "defaultpicdata.dat" and its tail, of a length the byte's other
// bits choose, the user's "picdata.dat", so the default file is merged in
// when it is the longer one. Whatever it loads must survive a save and a
// second load unchanged.
#include "FuzzSupport.h"

#include "store/PicTableFile.h"
#include "store/SpamData.h"

#include <QFile>

using namespace velmora;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0)
        return 0;
    fuzz::setUp();
    SpamData spam{DataFolder(fuzz::freshFolder(QStringLiteral("work")))};
    const QString file = spam.folder.dataFile(kPicDataFile);
    const QString defaultFile = spam.folder.dataFile(kDefaultPicDataFile);
    const QByteArrayView rest = fuzz::inputBytes(data + 1, size - 1);
    if (data[0] & 1) {
        fuzz::writeFile(defaultFile, rest);
        fuzz::writeFile(file, rest.last(rest.size() * (data[0] >> 1) / 128));
    } else {
        fuzz::writeFile(file, rest);
    }

    ReadPicTable(spam);
    PicRecords kept;
    for (const PicRec& rec : spam.PicTable) {
        if (!rec.Sender.isEmpty())
            kept.append(rec);
    }
    // A default file that holds lines the save leaves out stays longer than
    // the saved file and would be merged again; that is not what is checked.
    QFile::remove(defaultFile);
    WritePicTable(spam);
    ReadPicTable(spam);
    if (!(spam.PicTable == kept))
        fuzz::fail("a saved picture table reads back differently", file);
    return 0;
}
