#include "support/TestSupport.h"

#include <QDir>
#include <QFile>

QT_BEGIN_NAMESPACE
void PrintTo(const QString& text, std::ostream* os) {
    *os << '"' << text.toUtf8().toStdString() << '"';
}
void PrintTo(const QByteArray& bytes, std::ostream* os) {
    *os << '"' << bytes.toPercentEncoding(" |-.@:/", "").toStdString() << '"';
}
QT_END_NAMESPACE

namespace velmora::test {

TempFolder::TempFolder() {
    EXPECT_TRUE(m_dir.isValid());
}

QString TempFolder::path() const {
    return m_dir.path() + QLatin1Char('/');
}

void TempFolder::writeBytes(const QString& name, const QByteArray& bytes) const {
    const QString full = file(name);
    QDir().mkpath(full.left(full.lastIndexOf(QLatin1Char('/'))));
    QFile out(full);
    ASSERT_TRUE(out.open(QIODevice::WriteOnly | QIODevice::Truncate));
    out.write(bytes);
}

QByteArray TempFolder::readBytes(const QString& name) const {
    QFile in(file(name));
    if (!in.open(QIODevice::ReadOnly))
        return QByteArray("<missing>");
    return in.readAll();
}

StringList stringListOf(std::initializer_list<const char*> entries) {
    StringList list;
    for (const char* e : entries)
        list.append(QString::fromLatin1(e));
    return list;
}

QByteArray dataFileBytes(const char* readable) {
    QByteArray out;
    for (const char* p = readable; *p; ++p) {
        if (*p == '|')
            out.append('\xB5');
        else if (*p == '\n')
            out.append("\r\n");
        else
            out.append(*p);
    }
    return out;
}

} // namespace velmora::test
