#include "hosts/maildir/InotifyWatcher.h"

#include "base/VbError.h"

#include <QFile>
#include <QSocketNotifier>

#include <cerrno>
#include <cstring>

#include <sys/inotify.h>
#include <unistd.h>

namespace velmora::maildir {
namespace {

// A message appears by a rename (most delivery agents and servers), by a hard
// link (maildrop, qmail: IN_CREATE alone), or, from writers that skip tmp/,
// by being written in place (IN_CLOSE_WRITE).
constexpr uint32_t kMask = IN_MOVED_TO | IN_MOVED_FROM | IN_CREATE | IN_CLOSE_WRITE | IN_DELETE |
                           IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;

struct RawEvent {
    int wd;
    uint32_t mask;
    uint32_t cookie;
    QString name;
};

} // namespace

InotifyWatcher::InotifyWatcher(Handler handler) : m_handler(std::move(handler)) {
    m_fd = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (m_fd < 0)
        throw VbError(VbError::PathFileAccessError,
                      QStringLiteral("cannot watch mail folders: ") +
                          QString::fromLocal8Bit(std::strerror(errno)));
    m_notifier = std::make_unique<QSocketNotifier>(m_fd, QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, this,
                     [this] { readPending(); });
}

InotifyWatcher::~InotifyWatcher() {
    m_notifier.reset();
    if (m_fd >= 0)
        ::close(m_fd);
}

QString InotifyWatcher::watch(const QString& folder) {
    for (const char* sub : {"cur", "new"}) {
        const QString path = folder + QLatin1Char('/') + QLatin1String(sub);
        const int wd = ::inotify_add_watch(m_fd, QFile::encodeName(path).constData(), kMask);
        if (wd < 0) {
            const QString cause = QString::fromLocal8Bit(std::strerror(errno));
            unwatch(folder);
            return path + QStringLiteral(": ") + cause;
        }
        m_byDescriptor.insert(wd, {folder, QLatin1String(sub)});
    }
    return {};
}

QString InotifyWatcher::watchRoot(const QString& root) {
    const int wd = ::inotify_add_watch(m_fd, QFile::encodeName(root).constData(),
                                       IN_CREATE | IN_MOVED_TO | IN_ONLYDIR);
    if (wd < 0)
        return root + QStringLiteral(": ") + QString::fromLocal8Bit(std::strerror(errno));
    m_byDescriptor.insert(wd, {root, QString()});
    return {};
}

void InotifyWatcher::unwatch(const QString& folder) {
    for (auto it = m_byDescriptor.begin(); it != m_byDescriptor.end();) {
        if (it->folder == folder && !it->sub.isEmpty()) {
            ::inotify_rm_watch(m_fd, it.key());
            it = m_byDescriptor.erase(it);
        } else {
            ++it;
        }
    }
}

bool InotifyWatcher::watching(const QString& folder) const {
    for (const Watched& w : m_byDescriptor) {
        if (w.folder == folder && !w.sub.isEmpty())
            return true;
    }
    return false;
}

void InotifyWatcher::readPending() {
    QList<RawEvent> raw;
    bool overflow = false;
    alignas(inotify_event) char buffer[64 * 1024];
    for (;;) {
        const ssize_t got = ::read(m_fd, buffer, sizeof buffer);
        if (got <= 0) {
            if (got < 0 && errno == EINTR)
                continue;
            break; // EAGAIN: all read
        }
        for (ssize_t at = 0; at < got;) {
            const auto* e = reinterpret_cast<const inotify_event*>(buffer + at);
            at += ssize_t(sizeof(inotify_event) + e->len);
            if (e->mask & IN_Q_OVERFLOW) {
                overflow = true;
                continue;
            }
            raw.append(
                {e->wd, e->mask, e->cookie, e->len ? QFile::decodeName(e->name) : QString()});
        }
    }

    QList<FileEvent> events;
    QList<bool> used(raw.size(), false);
    for (qsizetype i = 0; i < raw.size(); ++i) {
        if (used[i])
            continue;
        const RawEvent& e = raw[i];
        const auto watched = m_byDescriptor.constFind(e.wd);
        if (watched == m_byDescriptor.constEnd())
            continue; // a watch removed meanwhile
        if (watched->sub.isEmpty()) {
            if ((e.mask & IN_ISDIR) && e.name.startsWith(QLatin1Char('.')) &&
                !e.name.startsWith(QLatin1String("..")))
                events.append({FileEvent::FolderMade, watched->folder, e.name, {}});
            continue;
        }
        const QString file = watched->sub + QLatin1Char('/') + e.name;
        if (e.mask & (IN_DELETE_SELF | IN_MOVE_SELF | IN_IGNORED)) {
            events.append({FileEvent::FolderGone, watched->folder, {}, {}});
            continue;
        }
        if (e.mask & IN_ISDIR)
            continue;
        if (e.mask & IN_MOVED_FROM) {
            // Its other half, when the file stayed in the same folder.
            qsizetype partner = -1;
            for (qsizetype k = i + 1; k < raw.size() && partner < 0; ++k) {
                if (!used[k] && (raw[k].mask & IN_MOVED_TO) && raw[k].cookie == e.cookie)
                    partner = k;
            }
            if (partner >= 0) {
                const auto to = m_byDescriptor.constFind(raw[partner].wd);
                if (to != m_byDescriptor.constEnd() && to->folder == watched->folder) {
                    used[partner] = true;
                    events.append({FileEvent::RenamedWithin, watched->folder,
                                   to->sub + QLatin1Char('/') + raw[partner].name, file});
                    continue;
                }
            }
            events.append({FileEvent::Disappeared, watched->folder, file, {}});
        } else if (e.mask & IN_DELETE) {
            events.append({FileEvent::Disappeared, watched->folder, file, {}});
        } else if (e.mask & (IN_MOVED_TO | IN_CREATE | IN_CLOSE_WRITE)) {
            events.append({FileEvent::Appeared, watched->folder, file, {}});
        }
    }
    // A folder that is gone is watched no more (the kernel dropped the watch).
    for (const FileEvent& e : events) {
        if (e.kind == FileEvent::FolderGone)
            unwatch(e.folder);
    }
    if (overflow)
        events.append({FileEvent::Overflow, {}, {}, {}});
    if (!events.isEmpty())
        m_handler(events);
}

} // namespace velmora::maildir
