#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <QStringList>

#include <cstddef>
#include <cstdint>

namespace velmora::fuzz {

// What every routine under fuzzing expects of a running filter, set up once
// per process on the first call (later calls only empty the message list):
// an application object, since the routines yield to the event loop; the XDG
// data and configuration folders pointed into this process's scratch folder,
// so that nothing touches the user's own; and a message sink that records
// the messages instead of printing them, since most inputs end in one.
void setUp();

// The messages shown since the last setUp() or takeMessages().
QStringList takeMessages();

// An empty folder of the given name in the scratch folder, with a trailing
// slash: whatever the previous input left there is deleted first, so that
// every input starts from the same state (a saved file kept aside by the
// previous input would otherwise change what the next one does).
QString freshFolder(const QString& name);

// Writes `bytes` as the whole content of `path`, creating its folder.
void writeFile(const QString& path, QByteArrayView bytes);
QByteArray readFile(const QString& path);

// The fuzzer's input as bytes, without copying.
inline QByteArrayView inputBytes(const std::uint8_t* data, std::size_t size) {
    return QByteArrayView(reinterpret_cast<const char*>(data), qsizetype(size));
}

// Stops the process with a message naming the property that did not hold, so
// that the fuzzer records the input as a crash.
[[noreturn]] void fail(const char* what, const QString& detail = {});

} // namespace velmora::fuzz
