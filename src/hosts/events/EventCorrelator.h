#pragma once

#include <QList>
#include <QSet>
#include <QString>
#include <QtGlobal>

#include <functional>
#include <utility>

namespace velmora::events {

// One message seen appearing in a folder or vanishing from one. `key` names
// the message across folders (an inode on disk, a Message-ID with size and
// date on a server); `name` is the fallback when keys differ (a copy written
// anew). `payload` is whatever the host wants back with it (a message handle).
template <class Payload>
struct Sighting {
    QString folder;
    QString key;
    QString name;
    Payload payload{};
};

// Turns "appeared here, vanished there" into what a user did. Mail servers and
// clients move a message by making it appear in the destination and then
// removing it from the source, a few milliseconds apart, and a move of several
// messages as all the arrivals first and then all the removals. So:
//   - an arrival and a vanishing in two different folders with the same key
//     (else the same name) are one move;
//   - moves completed without a pause of `quietMs` between them are one user
//     action, reported together;
//   - an arrival left unpaired for `pairWindowMs` is new mail (or a copy), and
//     a vanishing left unpaired is a deletion;
//   - an arrival that vanishes from its folder before it is reported is
//     dropped; when it then appears in another folder (the user moved new
//     mail at once), that is a move from the first folder all the same.
//
// It keeps no clock of its own: the caller passes the time (milliseconds on
// any monotonic clock) with every call, and calls settle() when told to, so
// that it can be tested without waiting. Reports are handed out only from
// settle(), in the order: the action's moves, new arrivals, deletions. A
// handler may feed the correlator again (a host's handlers yield to the event
// loop); what it feeds is reported by a later settle().
template <class Payload>
class EventCorrelator {
public:
    using Seen = Sighting<Payload>;
    struct Move {
        Seen from;
        Seen to;
    };
    struct Timing {
        qint64 pairWindowMs = 500;
        qint64 quietMs = 40;
    };
    struct Handlers {
        std::function<void(const QList<Move>&)> moved;    // one user action
        std::function<void(const QList<Seen>&)> arrived;  // in order of arrival
        std::function<void(const QList<Seen>&)> vanished; // in order
    };

    EventCorrelator(Timing timing, Handlers handlers)
        : m_timing(timing), m_handlers(std::move(handlers)) {}

    void arrival(Seen seen, qint64 now) {
        m_lastInput = now;
        if (const qsizetype at = partnerOf(m_vanished, seen); at >= 0) {
            m_moves.append({m_vanished.takeAt(at).seen, std::move(seen)});
            return;
        }
        m_arrived.append({std::move(seen), now});
    }

    void vanish(Seen seen, qint64 now) {
        m_lastInput = now;
        // An arrival in this same folder not yet reported is dropped: the
        // message came and went (deleted at once, or moved on at once).
        bool cameAndWent = false;
        for (qsizetype i = 0; i < m_arrived.size() && !cameAndWent; ++i) {
            const Seen& arrived = m_arrived[i].seen;
            if (arrived.folder == seen.folder && !seen.key.isEmpty() && arrived.key == seen.key) {
                m_arrived.removeAt(i);
                cameAndWent = true;
            }
        }
        if (const qsizetype at = partnerOf(m_arrived, seen); at >= 0) {
            m_moves.append({std::move(seen), m_arrived.takeAt(at).seen});
            return;
        }
        // One that came and went is kept for pairing only: a vanishing of
        // a message never reported is no deletion to report.
        m_vanished.append({std::move(seen), now, cameAndWent});
    }

    // Reports everything that is due at `now`. Returns the milliseconds until
    // something more falls due, or -1 when nothing is waiting.
    qint64 settle(qint64 now) {
        QList<Move> moves;
        if (!m_moves.isEmpty() && now - m_lastInput >= m_timing.quietMs)
            moves = std::exchange(m_moves, {});
        const QList<Seen> arrived = takeDue(m_arrived, now);
        const QList<Seen> vanished = takeDue(m_vanished, now);
        // The state is complete before any handler runs: handlers may re-enter.
        if (!moves.isEmpty() && m_handlers.moved)
            m_handlers.moved(moves);
        if (!arrived.isEmpty() && m_handlers.arrived)
            m_handlers.arrived(arrived);
        if (!vanished.isEmpty() && m_handlers.vanished)
            m_handlers.vanished(vanished);
        return nextDue(now);
    }

    bool idle() const { return m_moves.isEmpty() && m_arrived.isEmpty() && m_vanished.isEmpty(); }

    // The moves reported together, as the user actions a host raises them as,
    // each with one selection. A message moved and moved back is two actions:
    // a selection cannot hold it in two places. Nor can one selection go from
    // two folders or to two: moves made at the same moment by two clients (or
    // a client and a server-side filter) are as many actions as folder pairs,
    // or the handlers of one folder would take the other's messages for
    // theirs (good mail rescued from Junk learnt with a spam leaving the
    // Inbox, and its sender never trusted).
    static QList<QList<Move>> userActions(const QList<Move>& moves) {
        QList<QList<Move>> actions;
        QSet<QString> keys;
        for (const Move& move : moves) {
            const QString key = move.to.key.isEmpty() ? move.to.name : move.to.key;
            const bool startsAnother = actions.isEmpty() || keys.contains(key) ||
                                       move.from.folder != actions.last().first().from.folder ||
                                       move.to.folder != actions.last().first().to.folder;
            if (startsAnother) {
                actions.append(QList<Move>());
                keys.clear();
            }
            keys.insert(key);
            actions.last().append(move);
        }
        return actions;
    }

private:
    struct Waiting {
        Seen seen;
        qint64 since;
        bool neverReported = false; // its arrival was dropped unreported
    };

    // The waiting sighting that pairs with `seen`: in another folder, with the
    // same key, else (when none has it) with the same name. The oldest first.
    static qsizetype partnerOf(const QList<Waiting>& waiting, const Seen& seen) {
        for (qsizetype i = 0; i < waiting.size(); ++i) {
            const Seen& other = waiting[i].seen;
            if (other.folder != seen.folder && !seen.key.isEmpty() && other.key == seen.key)
                return i;
        }
        for (qsizetype i = 0; i < waiting.size(); ++i) {
            const Seen& other = waiting[i].seen;
            if (other.folder != seen.folder && !seen.name.isEmpty() && other.name == seen.name)
                return i;
        }
        return -1;
    }

    QList<Seen> takeDue(QList<Waiting>& waiting, qint64 now) const {
        QList<Seen> due;
        while (!waiting.isEmpty() && now - waiting.first().since >= m_timing.pairWindowMs) {
            Waiting first = waiting.takeFirst();
            if (!first.neverReported)
                due.append(std::move(first.seen));
        }
        return due;
    }

    qint64 nextDue(qint64 now) const {
        qint64 next = -1;
        const auto consider = [&](qint64 at) {
            const qint64 wait = qMax<qint64>(0, at - now);
            if (next < 0 || wait < next)
                next = wait;
        };
        if (!m_moves.isEmpty())
            consider(m_lastInput + m_timing.quietMs);
        if (!m_arrived.isEmpty())
            consider(m_arrived.first().since + m_timing.pairWindowMs);
        if (!m_vanished.isEmpty())
            consider(m_vanished.first().since + m_timing.pairWindowMs);
        return next;
    }

    Timing m_timing;
    Handlers m_handlers;
    QList<Move> m_moves;
    QList<Waiting> m_arrived;
    QList<Waiting> m_vanished;
    qint64 m_lastInput = 0;
};

} // namespace velmora::events
