#pragma once

#include <QHash>
#include <QList>
#include <QObject>
#include <QString>

#include <functional>
#include <memory>

class QSocketNotifier;

namespace velmora::maildir {

// One change to the messages of a watched folder, as the kernel reported it.
struct FileEvent {
    enum Kind {
        Appeared,      // renamed, linked or written into cur/ or new/ (maybe reported twice)
        Disappeared,   // renamed away or deleted
        RenamedWithin, // renamed inside the folder (a flag change, new/ to cur/)
        FolderGone,    // the folder's cur/ or new/ was removed
        FolderMade,    // a dot-directory appeared in the watched root (`folder`)
        Overflow,      // the kernel dropped events: the folders must be read again
    };
    Kind kind;
    QString folder;  // the folder's own directory (holding cur/, new/, tmp/)
    QString file;    // "cur/<name>" or "new/<name>"
    QString oldFile; // for RenamedWithin: the name before
};

// Raw inotify on the cur/ and new/ of each watched folder, read through a
// QSocketNotifier so that everything happens on the event loop. A rename
// inside one folder (its two halves carry the same cookie) is reported as
// one RenamedWithin; a rename between folders as Disappeared and Appeared.
class InotifyWatcher final : public QObject {
public:
    using Handler = std::function<void(const QList<FileEvent>&)>;

    // Throws VbError when the kernel refuses an inotify instance.
    explicit InotifyWatcher(Handler handler);
    ~InotifyWatcher() override;

    // Watches `folder`'s cur/ and new/. Returns why it cannot, or "".
    QString watch(const QString& folder);
    // Watches the Maildir's root for folders made (or renamed into place).
    QString watchRoot(const QString& root);
    void unwatch(const QString& folder);
    bool watching(const QString& folder) const;

    // Reads and reports whatever the kernel has queued now (also done by the
    // notifier on its own; tests call it to wait for nothing).
    void readPending();

private:
    struct Watched {
        QString folder;
        QString sub; // "cur" or "new"; "" for the root
    };

    int m_fd = -1;
    std::unique_ptr<QSocketNotifier> m_notifier;
    QHash<int, Watched> m_byDescriptor;
    Handler m_handler;
};

} // namespace velmora::maildir
