#include "store/ListFile.h"

#include "base/Cp1252.h"
#include "base/MessageSink.h"
#include "base/Rounding.h"
#include "base/VbError.h"
#include "store/DataFileIo.h"
#include "store/DataFileLoads.h"

namespace velmora {

void LoadARRAY(StringList& list, const QString& path) {
    list.reset();
    try {
        const QByteArray content = readDataFile(path);
        forEachLine(content, [&](QByteArrayView line, int) {
            if (!line.isEmpty())
                list.append(fromCp1252(line));
            return true;
        });
        dataFileLoads::noteComplete(path);
    } catch (const VbError& error) {
        const QString message = QStringLiteral("LoadARRAY_error: ") + error.description();
        dataFileLoads::noteIncomplete(path, loadFailureCause(message));
        showMessage(message);
    }
}

void WriteARRAY(const StringList& list, const QString& path) {
    try {
        DataFileWriter writer(path);
        writer.open();
        QByteArray content;
        try {
            const int upperBound = checkedInt16(list.upperBound());
            if (upperBound > 1) {
                for (int i = 1; i <= upperBound; ++i) {
                    appendCp1252(content, list[i]);
                    content.append("\r\n", 2);
                }
            }
        } catch (const VbError&) {
            // The file has already been emptied by the time the count fails.
            writer.commit({});
            throw;
        }
        writer.commit(content);
    } catch (const VbError& error) {
        showMessage(QStringLiteral("WriteARRAY_error: ") + error.description());
    }
}

} // namespace velmora
