#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QIODevice>
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

// Writes all of `content` to `device` and makes sure it got there: the device
// is flushed and its error checked, because a file device may report a failed
// buffered write only when it is flushed (and QSaveFile::commit() renames the
// file even then). Throws VbError ("Disk full" or "Device I/O error") naming
// `name` and the cause.
void writeWhole(QIODevice& device, QByteArrayView content, const QString& name);

// Replaces a data file as a whole: the new content goes to a file beside it,
// which is flushed, checked and renamed over the old one only when complete,
// so that a crash or a full disk leaves either the old file or the new one,
// never a torn or empty one.
//
// Before it replaces a file whose content the filter does not hold in full
// (its last load failed, stopped early or never happened), or empties a file
// of learnt data (the trusted addresses and the two tables), it keeps the old
// file beside it as "<name>.saved-<date-time>", never overwriting an earlier
// one, and says so in a message naming both files and the cause.
class DataFileWriter {
public:
    explicit DataFileWriter(const QString& path);

    // Creates the file aside. Throws VbError naming the path when the folder is
    // missing or cannot be written, or the path is not a regular file.
    void open();
    // Puts the content in place of the old file. Throws VbError on failure; the
    // old file is then left as it was.
    void commit(QByteArrayView content);

private:
    void keepOldFileIfAtRisk(bool emptying);

    QSaveFile m_file;
};

} // namespace velmora
