#pragma once

#include <QString>

namespace velmora {

// One writer at a time on the user's data folder. `velmora watch` keeps its
// learnt tables in memory and writes them whole, so another command writing
// the same files meanwhile would have its changes overwritten: the watcher
// holds this lock for as long as it runs, and the commands that change the
// data refuse while it is held. The lock is an flock() on a file beside the
// work root, so it goes with the process however that ends.
class DataFolderLock {
public:
    // Tries to take the lock of the work root `workRoot`; see held().
    explicit DataFolderLock(const QString& workRoot);
    ~DataFolderLock();
    DataFolderLock(const DataFolderLock&) = delete;
    DataFolderLock& operator=(const DataFolderLock&) = delete;

    bool held() const { return m_fd >= 0; }
    // Why it is not held, for the user: which process has it.
    const QString& refusal() const { return m_refusal; }

private:
    int m_fd = -1;
    QString m_refusal;
};

} // namespace velmora
