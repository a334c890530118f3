#include "hosts/imap/ImapData.h"

#include "hosts/imap/ModifiedUtf7.h"

namespace velmora::imap {

namespace {

std::optional<quint32> uint32Of(const ImapValue& value) {
    if (value.kind != ImapValue::Kind::Number || value.number > 0xffffffffu)
        return std::nullopt;
    return static_cast<quint32>(value.number);
}

QByteArrayList atomsOf(const ImapValue& list) {
    QByteArrayList atoms;
    for (const ImapValue& item : list.items)
        if (!item.isList() && !item.isNil())
            atoms.append(item.text());
    return atoms;
}

bool containsWithoutCase(const QByteArrayList& list, QByteArrayView wanted) {
    for (const QByteArray& item : list)
        if (QByteArrayView(item).compare(wanted, Qt::CaseInsensitive) == 0)
            return true;
    return false;
}

} // namespace

std::optional<QSet<QByteArray>> readCapabilities(const ImapResponse& response) {
    QList<ImapValue> values;
    if (response.isData("CAPABILITY"))
        values = response.values;
    else if (response.isStatus() && response.code.is("CAPABILITY"))
        values = response.code.arguments;
    else
        return std::nullopt;
    QSet<QByteArray> names;
    for (const ImapValue& value : values)
        if (!value.isList())
            names.insert(value.text().toUpper());
    return names;
}

std::optional<QByteArrayList> readEnabled(const ImapResponse& response) {
    if (!response.isData("ENABLED"))
        return std::nullopt;
    QByteArrayList names;
    for (const ImapValue& value : response.values)
        names.append(value.text().toUpper());
    return names;
}

bool MailboxEntry::has(QByteArrayView attribute) const {
    return containsWithoutCase(attributes, attribute);
}

bool MailboxEntry::selectable() const {
    return !has("\\Noselect") && !has("\\NonExistent");
}

QString MailboxEntry::leafName() const {
    if (delimiter.isNull())
        return name;
    return name.section(delimiter, -1);
}

std::optional<MailboxEntry> readList(const ImapResponse& response) {
    // XLIST answers look the same; LSUB too, and are read alike.
    if (!response.isData("LIST") && !response.isData("LSUB") && !response.isData("XLIST"))
        return std::nullopt;
    const QList<ImapValue>& v = response.values;
    if (v.size() < 3 || !v[0].isList() || v[1].isList() || v[2].isList())
        return std::nullopt;
    MailboxEntry entry;
    entry.attributes = atomsOf(v[0]);
    if (!v[1].isNil()) {
        const QByteArray delimiter = v[1].text();
        if (delimiter.size() != 1)
            return std::nullopt;
        entry.delimiter = QLatin1Char(delimiter[0]);
    }
    entry.wireName = v[2].text();
    entry.name = decodeMailboxName(entry.wireName);
    // INBOX is the one name without case (RFC 3501 5.1).
    if (entry.name.compare(QLatin1String("INBOX"), Qt::CaseInsensitive) == 0)
        entry.name = QStringLiteral("INBOX");
    return entry;
}

std::optional<MailboxStatus> readStatus(const ImapResponse& response) {
    if (!response.isData("STATUS") || response.values.size() < 2 || !response.values[1].isList())
        return std::nullopt;
    MailboxStatus status;
    status.mailbox = decodeMailboxName(response.values[0].text());
    const QList<ImapValue>& items = response.values[1].items;
    for (qsizetype i = 0; i + 1 < items.size(); i += 2) {
        const ImapValue& key = items[i];
        const ImapValue& value = items[i + 1];
        if (value.kind != ImapValue::Kind::Number)
            return std::nullopt;
        if (key.is("MESSAGES"))
            status.messages = uint32Of(value);
        else if (key.is("UIDNEXT"))
            status.uidNext = uint32Of(value);
        else if (key.is("UIDVALIDITY"))
            status.uidValidity = uint32Of(value);
        else if (key.is("UNSEEN"))
            status.unseen = uint32Of(value);
        else if (key.is("HIGHESTMODSEQ"))
            status.highestModSeq = value.number;
    }
    return status;
}

bool FetchedMessage::hasFlag(QByteArrayView flag) const {
    return flags && containsWithoutCase(*flags, flag);
}

std::optional<FetchedMessage> readFetch(const ImapResponse& response) {
    if (!response.isData("FETCH") || !response.number || response.values.size() != 1 ||
        !response.values[0].isList())
        return std::nullopt;
    FetchedMessage message;
    message.sequence = *response.number;
    const QList<ImapValue>& items = response.values[0].items;
    if (items.size() % 2 != 0)
        return std::nullopt;
    for (qsizetype i = 0; i < items.size(); i += 2) {
        const ImapValue& key = items[i];
        const ImapValue& value = items[i + 1];
        if (key.isList())
            return std::nullopt;
        const QByteArray name = key.text().toUpper();
        if (name == "UID") {
            const auto uid = uint32Of(value);
            if (!uid)
                return std::nullopt;
            message.uid = *uid;
        } else if (name == "FLAGS") {
            if (!value.isList())
                return std::nullopt;
            message.flags = atomsOf(value);
        } else if (name == "RFC822.SIZE") {
            if (value.kind != ImapValue::Kind::Number)
                return std::nullopt;
            message.size = static_cast<qint64>(value.number);
        } else if (name == "INTERNALDATE") {
            message.internalDate = readInternalDate(value.text());
        } else if (name == "MODSEQ") {
            if (!value.isList() || value.items.size() != 1 ||
                value.items[0].kind != ImapValue::Kind::Number)
                return std::nullopt;
            message.modSeq = value.items[0].number;
        } else if (name.startsWith("BODY[") || name.startsWith("BINARY[")) {
            // NIL stands for a section the message does not have.
            const QByteArray bytes = value.isNil() ? QByteArray() : value.text();
            // `BODY[]<0>` is a partial fetch from 0: still the start of BODY[].
            const QByteArray section = name.left(name.lastIndexOf(']') + 1);
            message.sections.insert(section, bytes);
            if (section == "BODY[]" || section == "BINARY[]")
                message.body = bytes;
            else if (section.startsWith("BODY[HEADER.FIELDS"))
                message.headerFields = bytes;
        }
        // Anything else (ENVELOPE, BODYSTRUCTURE, X-GM-…) is not ours to read.
    }
    return message;
}

std::optional<quint32> readExpunge(const ImapResponse& response) {
    if (!response.isData("EXPUNGE") || !response.number)
        return std::nullopt;
    return response.number;
}

std::optional<quint32> readExists(const ImapResponse& response) {
    if (!response.isData("EXISTS") || !response.number)
        return std::nullopt;
    return response.number;
}

std::optional<Vanished> readVanished(const ImapResponse& response) {
    if (!response.isData("VANISHED") || response.values.isEmpty())
        return std::nullopt;
    Vanished vanished;
    qsizetype at = 0;
    if (response.values[0].isList()) {
        vanished.earlier =
            response.values[0].items.size() == 1 && response.values[0].items[0].is("EARLIER");
        if (!vanished.earlier)
            return std::nullopt;
        at = 1;
    }
    if (response.values.size() != at + 1)
        return std::nullopt;
    const auto uids = UidSet::parse(response.values[at].text());
    if (!uids)
        return std::nullopt;
    vanished.uids = *uids;
    return vanished;
}

std::optional<UidSet> readSearch(const ImapResponse& response) {
    if (response.isData("SEARCH")) {
        UidSet found;
        for (const ImapValue& value : response.values) {
            // `(MODSEQ 17)` closes the answer of a search by MODSEQ.
            if (value.isList())
                continue;
            const auto uid = uint32Of(value);
            if (!uid || *uid == 0)
                return std::nullopt;
            found.add(*uid);
        }
        return found;
    }
    if (response.isData("ESEARCH")) {
        UidSet found;
        const QList<ImapValue>& v = response.values;
        qsizetype i = v.isEmpty() || !v[0].isList() ? 0 : 1; // the (TAG "…") correlator
        if (i < v.size() && v[i].is("UID"))
            ++i;
        for (; i + 1 < v.size(); i += 2)
            if (v[i].is("ALL")) {
                const auto uids = UidSet::parse(v[i + 1].text());
                if (!uids)
                    return std::nullopt;
                found = *uids;
            }
        return found;
    }
    return std::nullopt;
}

std::optional<AppendUid> readAppendUid(const ResponseCode& code) {
    if (!code.is("APPENDUID") || code.arguments.size() != 2)
        return std::nullopt;
    const auto validity = uint32Of(code.arguments[0]);
    const auto uid = uint32Of(code.arguments[1]);
    if (!validity || !uid)
        return std::nullopt;
    return AppendUid{*validity, *uid};
}

std::optional<CopyUid> readCopyUid(const ResponseCode& code) {
    if (!code.is("COPYUID") || code.arguments.size() != 3)
        return std::nullopt;
    const auto validity = uint32Of(code.arguments[0]);
    const auto from = UidSet::parseInOrder(code.arguments[1].text());
    const auto to = UidSet::parseInOrder(code.arguments[2].text());
    if (!validity || !from || !to || from->size() != to->size())
        return std::nullopt;
    CopyUid copy;
    copy.uidValidity = *validity;
    for (qsizetype i = 0; i < from->size(); ++i)
        copy.moved.append({from->at(i), to->at(i)});
    return copy;
}

namespace {
constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                   "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
}

QDateTime readInternalDate(QByteArrayView text) {
    // dd-Mon-yyyy hh:mm:ss +zzzz, month names in English whatever the locale.
    const QByteArray trimmed = QByteArray(text.data(), text.size()).trimmed();
    const QList<QByteArray> parts = trimmed.split(' ');
    if (parts.size() != 3)
        return {};
    const QList<QByteArray> date = parts[0].split('-');
    const QList<QByteArray> time = parts[1].split(':');
    const QByteArray& zone = parts[2];
    if (date.size() != 3 || time.size() != 3 || zone.size() != 5 ||
        (zone[0] != '+' && zone[0] != '-'))
        return {};
    int month = 0;
    for (int m = 0; m < 12; ++m)
        if (date[1].compare(kMonths[m], Qt::CaseInsensitive) == 0)
            month = m + 1;
    bool ok[7] = {};
    const int day = date[0].toInt(&ok[0]);
    const int year = date[2].toInt(&ok[1]);
    const int hour = time[0].toInt(&ok[2]);
    const int minute = time[1].toInt(&ok[3]);
    const int second = time[2].toInt(&ok[4]);
    const int zoneHours = zone.mid(1, 2).toInt(&ok[5]);
    const int zoneMinutes = zone.mid(3, 2).toInt(&ok[6]);
    for (const bool good : ok)
        if (!good)
            return {};
    const int offset = (zone[0] == '-' ? -1 : 1) * (zoneHours * 3600 + zoneMinutes * 60);
    const QDateTime when(QDate(year, month, day), QTime(hour, minute, second), Qt::OffsetFromUTC,
                         offset);
    return when.isValid() ? when : QDateTime();
}

QByteArray writeInternalDate(const QDateTime& when) {
    const int offset = when.offsetFromUtc();
    const int minutes = qAbs(offset) / 60;
    const QDate date = when.date();
    const QTime time = when.time();
    return QByteArray::number(date.day()).rightJustified(2, '0') + '-' + kMonths[date.month() - 1] +
           '-' + QByteArray::number(date.year()) + ' ' +
           QByteArray::number(time.hour()).rightJustified(2, '0') + ':' +
           QByteArray::number(time.minute()).rightJustified(2, '0') + ':' +
           QByteArray::number(time.second()).rightJustified(2, '0') + ' ' +
           (offset < 0 ? '-' : '+') + QByteArray::number(minutes / 60).rightJustified(2, '0') +
           QByteArray::number(minutes % 60).rightJustified(2, '0');
}

QString messageIdOf(QByteArrayView headers) {
    // Unfold first: a long Message-ID may continue on the next line.
    QByteArray unfolded(headers.data(), headers.size());
    unfolded.replace("\r\n ", " ").replace("\r\n\t", " ").replace("\n ", " ").replace("\n\t", " ");
    for (const QByteArray& line : unfolded.split('\n')) {
        // The header ends at the first empty line: a "Message-ID:" in the
        // body (a bounce quoting the original) is not this message's.
        if (line.isEmpty() || line == "\r")
            break;
        const qsizetype colon = line.indexOf(':');
        if (colon > 0 && line.left(colon).trimmed().compare("Message-ID", Qt::CaseInsensitive) == 0)
            return QString::fromUtf8(line.mid(colon + 1).trimmed());
    }
    return {};
}

} // namespace velmora::imap
