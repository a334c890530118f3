// The word-list reader on "restricted.dat" holding the input. A list of two
// or more entries must survive a save and a second load unchanged (a list of
// one is saved as an empty file on purpose, see ListFile.h).
#include "FuzzSupport.h"

#include "store/DataFolder.h"
#include "store/ListFile.h"

using namespace velmora;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::setUp();
    const DataFolder folder(fuzz::freshFolder(QStringLiteral("work")));
    const QString file = folder.dataFile(kRestrictedFile);
    fuzz::writeFile(file, fuzz::inputBytes(data, size));

    StringList list;
    LoadARRAY(list, file);
    if (list.upperBound() < 2)
        return 0;
    WriteARRAY(list, file);
    StringList reread;
    LoadARRAY(reread, file);
    if (!(reread == list))
        fuzz::fail("a saved word list reads back differently", file);
    return 0;
}
