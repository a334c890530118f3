#pragma once

#include <QString>

namespace velmora {

// True when `path` names at least one ordinary file: hidden files (names that
// begin with a dot), folders and special files do not count. The last part of
// the path may hold the wildcards * and ?; a path ending in a slash asks
// whether the folder holds any ordinary file.
bool FileExists(const QString& path);

// True when a listing of `path`, folders included, yields "." or "..": that is
// for a folder path written with its trailing slash (or ending in a wildcard
// that matches them). The same folder without the trailing slash gives false.
bool DirectoryExist(const QString& path);

// Deletes the file if it exists and returns true; returns false, silently, if
// there is no such file. A file that cannot be deleted is reported.
bool DeleteFile(const QString& path);

// A file's length in bytes. Throws VbError "File not found" (naming the path)
// when there is no such file.
qint64 fileLength(const QString& path);

} // namespace velmora
