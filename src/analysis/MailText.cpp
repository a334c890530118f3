#include "analysis/MailText.h"

#include "analysis/TextNormalisation.h"

namespace velmora {

QString chooseMailText(const MailItemView& item) {
    const QString body = item.body();
    if (item.attachmentCount() == 0) {
        const QString html = item.htmlBody();
        if (body.size() < html.size())
            return double(html.size()) / (body.size() + 1) > 10 ? body : html;
    }
    return body;
}

QString textRecordSubject(const QString& subject) {
    return subject.contains(QStringLiteral("&#")) ? QString() : subject;
}

QString pictureRecordSubject(const QString& subject) {
    return subject.contains(QStringLiteral("&#")) ? QString() : Normalyse(subject);
}

} // namespace velmora
