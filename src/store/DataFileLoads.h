#pragma once

#include <QString>

namespace velmora {

// What became of the last load of each data file in this process, so that a
// save never silently replaces learnt data the filter does not hold in full.
// Kept by absolute path, process-wide: the readers note their outcome, the
// writer asks before it replaces a file and notes a successful save (the file
// then mirrors memory).
namespace dataFileLoads {

// The whole file is now held in memory (loaded, or just saved).
void noteComplete(const QString& path);
// The load stopped early or failed; `cause` is the reader's message.
void noteIncomplete(const QString& path, const QString& cause);
// Notes `cause` for a file whose load has no outcome yet in this process.
void noteIfUnknown(const QString& path, const QString& cause);
// Why replacing the file on disk could lose data the filter does not hold:
// the cause of an incomplete load, or that the file was never loaded; empty
// when its last load was complete.
QString riskOfReplacing(const QString& path);
// Forgets every outcome (tests start afresh).
void clear();

} // namespace dataFileLoads

// The cause noted for a load that ended with the reader's `message`.
inline QString loadFailureCause(const QString& message) {
    return QStringLiteral("its last load stopped early (") + message + QLatin1Char(')');
}
} // namespace velmora
