#pragma once

#include "base/MessageSink.h"
#include "store/StringList.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <initializer_list>
#include <ostream>

// Lets GoogleTest print Qt strings in failure messages.
QT_BEGIN_NAMESPACE
void PrintTo(const QString& text, std::ostream* os);
void PrintTo(const QByteArray& bytes, std::ostream* os);
QT_END_NAMESPACE

namespace velmora::test {

// Records every message box instead of showing it, for as long as it lives.
class RecordingSink final : public MessageSink {
public:
    RecordingSink() : m_scope(this) {}
    void showMessage(const QString& text, const QString&) override { messages.append(text); }

    QStringList messages;

private:
    ScopedMessageSink m_scope;
};

// A fresh temporary folder with helpers to write and read files in it.
class TempFolder {
public:
    TempFolder();
    // The folder's path with a trailing slash.
    QString path() const;
    QString file(const QString& name) const { return path() + name; }

    void writeBytes(const QString& name, const QByteArray& bytes) const;
    QByteArray readBytes(const QString& name) const;

private:
    QTemporaryDir m_dir;
};

// A word list holding `entries` from slot 1.
StringList stringListOf(std::initializer_list<const char*> entries);

// Turns a readable description of a data file into its bytes: "|" stands for
// the field separator 0xB5 and "\n" for CR LF; everything else is Latin-1.
QByteArray dataFileBytes(const char* readable);

} // namespace velmora::test
