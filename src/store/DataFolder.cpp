#include "store/DataFolder.h"

namespace velmora {

DataFolder::DataFolder(const QString& workRoot) : m_workRoot(workRoot) {
    if (!m_workRoot.endsWith(QLatin1Char('/')))
        m_workRoot += QLatin1Char('/');
    m_dataFolder = m_workRoot + QStringLiteral("spamdata/");
}

} // namespace velmora
