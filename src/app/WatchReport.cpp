#include "app/WatchReport.h"

#include "store/SpamData.h"

namespace velmora {

QString knowledgeOf(const SpamData& data) {
    return QStringLiteral("%1 text records, %2 picture records, %3 trusted senders")
        .arg(data.TxtTable.upperBound())
        .arg(data.PicTable.upperBound())
        .arg(data.TrustedList.upperBound());
}

QString newMailVerdict(const QString& sender, const QString& subject, bool spam,
                       const QString& junkName, const QString& keptIn) {
    return QStringLiteral("new mail from %1 \"%2\": %3")
        .arg(sender, subject,
             spam ? QStringLiteral("spam, moved to ") + junkName
                  : QStringLiteral("kept in ") + keptIn);
}

} // namespace velmora
