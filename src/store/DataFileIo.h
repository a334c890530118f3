#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QSaveFile>
#include <QString>

#include <cstring>

namespace velmora {

// Reads a whole data file. Throws VbError (File not found, Path not found,
// Path/File access error, Permission denied) naming the path.
QByteArray readDataFile(const QString& path);

// Calls `onLine` for each line of `content`, in order, with its 1-based number.
// A line ends at LF or CR LF (the terminator is not part of it); a last line
// without terminator counts, an empty remainder after the last terminator does
// not. `onLine` returns false to stop early.
template <typename OnLine>
void forEachLine(QByteArrayView content, OnLine&& onLine) {
    const char* p = content.data();
    const char* const end = p + content.size();
    int number = 0;
    while (p < end) {
        const char* lf = static_cast<const char*>(std::memchr(p, '\n', end - p));
        const char* lineEnd = lf ? lf : end;
        const char* textEnd = (lf && lineEnd > p && lineEnd[-1] == '\r') ? lineEnd - 1 : lineEnd;
        if (!onLine(QByteArrayView(p, textEnd - p), ++number))
            return;
        p = lf ? lf + 1 : end;
    }
}

// Replaces a data file as a whole: the new content goes to a file beside it,
// which is flushed and renamed over the old one only when complete, so that a
// crash leaves either the old file or the new one, never a torn one.
class DataFileWriter {
public:
    explicit DataFileWriter(const QString& path);

    // Creates the file aside. Throws VbError naming the path when the folder is
    // missing or cannot be written.
    void open();
    // Puts the content in place of the old file. Throws VbError on failure; the
    // old file is then left as it was.
    void commit(QByteArrayView content);

private:
    QSaveFile m_file;
};

} // namespace velmora
