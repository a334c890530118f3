#include "analysis/SubjectTags.h"

#include "base/Rounding.h"
#include "base/VbError.h"

namespace velmora {

QString withScoreTag(const QString& subject, float score) {
    const QString tag = QStringLiteral("{S:") + QString::number(qint64(roundHalfEven(score))) +
                        QStringLiteral("%} ");
    if (subject.startsWith(QStringLiteral("{S:"))) {
        if (subject.size() < 9)
            throw VbError(VbError::InvalidCall);
        return tag + subject.mid(9);
    }
    return tag + subject;
}

QString withRestrictedTag(const QString& subject) {
    const QString tag = QStringLiteral("{RESTR} ");
    if (subject.startsWith(QStringLiteral("{RESTR}")))
        return tag + subject.mid(8);
    return tag + subject;
}

} // namespace velmora
