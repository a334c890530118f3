#pragma once

#include <QStringList>
#include <QtGlobal>

namespace velmora {

// The comma-separated identifiers that NewMailEx carries. An identifier is
// never empty and holds no comma, or the list could not be split again.
inline QString entryIdCollection(const QStringList& entryIds) {
    for ([[maybe_unused]] const QString& id : entryIds)
        Q_ASSERT_X(!id.isEmpty() && !id.contains(QLatin1Char(',')), "entryIdCollection",
                   "an EntryID must be non-empty and hold no comma");
    return entryIds.join(QLatin1Char(','));
}

} // namespace velmora
