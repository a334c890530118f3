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
    QString workFile(QStringView fileName) const { return QString(m_workRoot).append(fileName); }

private:
    QString m_workRoot;
    QString m_dataFolder;
};

} // namespace velmora
