#pragma once

#include "settings/IniSyntax.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>

namespace velmora {

// The bytes of an INI file with an index of its keys. Changing a value
// rewrites only that value (or adds one line), so comments, unknown sections
// and keys, and the layout of everything else stay exactly as they were.
//
// Keys are written "Section/Name" as QSettings names them: the section is
// everything before the first slash, and a key outside any section (under
// "[General]" or before the first section) has no slash. Keys are
// case-sensitive. When a key occurs more than once, the last one counts.
class IniDocument {
public:
    explicit IniDocument(QByteArray bytes = {});

    // The text of `key`'s value, unescaped, or nothing when the key is absent.
    std::optional<IniValueText> value(const QString& key) const;

    // Stores `storedValue` (already escaped) as `key`'s value: in place of the
    // last occurrence of the key, else at the end of the key's section, else
    // in a new section at the end of the file.
    void setValue(const QString& key, const QByteArray& storedValue);

    const QByteArray& bytes() const { return m_bytes; }

private:
    struct Entry {
        QString key;
        qsizetype valueStart;
        qsizetype valueEnd;
    };
    struct Section {
        QString prefix;     // "Name/", or "" for keys outside any section
        qsizetype appendAt; // where a new key line of this section goes
    };

    void index();
    const Entry* findEntry(const QString& key) const;
    const Section* findSection(const QString& name) const;
    qsizetype endOfPhysicalLine(qsizetype pos) const;
    QByteArray lineBreak() const;

    QByteArray m_bytes;
    QList<Entry> m_entries;
    QList<Section> m_sections;
};

} // namespace velmora
