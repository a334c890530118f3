#include "settings/IniDocument.h"

namespace velmora {
namespace {

// What a "[...]" line puts before the keys of its section: "" for
// "[General]", which holds the keys outside sections, and otherwise the
// section's name and a slash (a section really called "General" is written
// "[%General]").
QString sectionPrefix(QByteArrayView headerLine) {
    qsizetype close = headerLine.indexOf(']');
    if (close < 0)
        close = headerLine.size();
    const QByteArrayView name = headerLine.sliced(1, close - 1).trimmed();
    if (name.compare("general", Qt::CaseInsensitive) == 0)
        return {};
    if (name.compare("%general", Qt::CaseInsensitive) == 0)
        return QString::fromLatin1(name.sliced(1)) + QLatin1Char('/');
    return unescapeIniKey(name) + QLatin1Char('/');
}

} // namespace

IniDocument::IniDocument(QByteArray bytes) : m_bytes(std::move(bytes)) {
    index();
}

void IniDocument::index() {
    m_entries.clear();
    m_sections.clear();
    QString prefix;
    for (const IniLine& line : splitIniLines(m_bytes)) {
        const QByteArrayView text =
            QByteArrayView(m_bytes).sliced(line.start, line.end - line.start);
        if (text.startsWith('[')) {
            prefix = sectionPrefix(text);
            m_sections.append({prefix, endOfPhysicalLine(line.end)});
            continue;
        }
        if (m_sections.isEmpty())
            m_sections.append({QString(), 0}); // lines before the first section
        m_sections.back().appendAt = endOfPhysicalLine(line.end);
        if (line.equals < 0)
            continue; // neither a key nor a section: kept, but means nothing
        const QByteArrayView key =
            QByteArrayView(m_bytes).sliced(line.start, line.equals - line.start).trimmed();
        m_entries.append({prefix + unescapeIniKey(key), line.equals + 1, line.end});
    }
}

qsizetype IniDocument::endOfPhysicalLine(qsizetype pos) const {
    // A logical line ends at a line break, or at a ';' whose comment runs to
    // the next one.
    while (pos < m_bytes.size() && m_bytes[pos] != '\n' && m_bytes[pos] != '\r')
        ++pos;
    return pos;
}

QByteArray IniDocument::lineBreak() const {
    return m_bytes.contains("\r\n") ? QByteArrayLiteral("\r\n") : QByteArrayLiteral("\n");
}

const IniDocument::Entry* IniDocument::findEntry(const QString& key) const {
    for (auto it = m_entries.crbegin(); it != m_entries.crend(); ++it) {
        if (it->key == key)
            return &*it;
    }
    return nullptr;
}

const IniDocument::Section* IniDocument::findSection(const QString& name) const {
    const QString prefix = name.isEmpty() ? QString() : name + QLatin1Char('/');
    for (auto it = m_sections.crbegin(); it != m_sections.crend(); ++it) {
        if (it->prefix == prefix)
            return &*it;
    }
    return nullptr;
}

std::optional<IniValueText> IniDocument::value(const QString& key) const {
    const Entry* entry = findEntry(key);
    if (!entry)
        return std::nullopt;
    return unescapeIniValue(
        QByteArrayView(m_bytes).sliced(entry->valueStart, entry->valueEnd - entry->valueStart));
}

void IniDocument::setValue(const QString& key, const QByteArray& storedValue) {
    if (const Entry* entry = findEntry(key)) {
        m_bytes.replace(entry->valueStart, entry->valueEnd - entry->valueStart, storedValue);
        index();
        return;
    }
    const qsizetype slash = key.indexOf(QLatin1Char('/'));
    const QString section = slash < 0 ? QString() : key.left(slash);
    const QByteArray eol = lineBreak();
    const QByteArray keyLine = escapeIniKey(QStringView(key).sliced(slash + 1)) + '=' + storedValue;
    if (const Section* existing = findSection(section)) {
        m_bytes.insert(existing->appendAt, eol + keyLine);
    } else {
        if (!m_bytes.isEmpty()) {
            if (!m_bytes.endsWith('\n') && !m_bytes.endsWith('\r'))
                m_bytes += eol;
            m_bytes += eol; // sections stand apart, as QSettings writes them
        }
        QByteArray header = escapeIniKey(section);
        if (header.isEmpty())
            header = QByteArrayLiteral("General");
        else if (header.compare("general", Qt::CaseInsensitive) == 0)
            header.prepend('%');
        m_bytes += '[' + header + ']' + eol + keyLine + eol;
    }
    index();
}

} // namespace velmora
