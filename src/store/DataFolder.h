#pragma once

#include <QString>
#include <QStringView>

namespace velmora {

// File names inside the data folder.
inline constexpr QStringView kTxtDataFile = u"txtdata.dat";
inline constexpr QStringView kPicDataFile = u"picdata.dat";
inline constexpr QStringView kDefaultPicDataFile = u"defaultpicdata.dat";
inline constexpr QStringView kTrustedFile = u"trusteml.dat";
inline constexpr QStringView kRestrictedFile = u"restricted.dat";

// An attachment's name, chosen by its sender, as one safe file name in the
// work root. Path separators, NUL and other control characters, the wildcards
// * and ? (taken literally), "%" itself and a leading "." are written as "%XX"
// per UTF-8 byte, so neither "." nor ".." nor a hidden file can come of it, and
// an empty name becomes "%". Different names give different files, so saving
// under one name and deleting under another (display name and file name)
// behave as they would with the names themselves. A name of more than 200
// bytes keeps its start, a hash of the whole and its last 20 characters (the
// extension survives).
QString attachmentFileName(const QString& name);

// The two fixed folders: the work root, where picture attachments are saved
// while they are analysed, and inside it the data folder that holds the
// learnt knowledge. Both paths end with a slash, so that a file name can be
// appended directly and so that DirectoryExist sees the folder's contents.
class DataFolder {
public:
    // `workRoot` may be given with or without its trailing slash.
    explicit DataFolder(const QString& workRoot);

    const QString& workRoot() const { return m_workRoot; }
    const QString& dataFolder() const { return m_dataFolder; }
    QString dataFile(QStringView fileName) const { return QString(m_dataFolder).append(fileName); }
    // Where an attachment named `name` by its sender is saved in the work
    // root: the name made one safe file name (see attachmentFileName).
    QString attachmentFile(const QString& name) const {
        return m_workRoot + attachmentFileName(name);
    }

private:
    QString m_workRoot;
    QString m_dataFolder;
};

} // namespace velmora
