// The one place that talks to GMime.
#include "hosts/mime/MimeMessage.h"

#include "hosts/mime/LineEnds.h"
#include "hosts/mime/SimpleMessage.h"
#include "hosts/mime/TransportHeaders.h"

#include <gmime/gmime.h>

#include <memory>
#include <mutex>

namespace velmora::mime {
namespace {

void initialiseOnce() {
    static std::once_flag once;
    std::call_once(once, [] { g_mime_init(); });
}

struct GObjectUnref {
    void operator()(gpointer object) const {
        if (object)
            g_object_unref(object);
    }
};
template <typename T>
using GPtr = std::unique_ptr<T, GObjectUnref>;

struct GFree {
    void operator()(gpointer p) const { g_free(p); }
};
using GString = std::unique_ptr<char, GFree>;

QString fromUtf8(const char* text) {
    return text ? QString::fromUtf8(text) : QString();
}

// The part's content, decoded from its transfer encoding; what could be
// decoded when the encoding is broken.
QByteArray decodedContent(GMimePart* part) {
    GMimeDataWrapper* content = g_mime_part_get_content(part);
    if (!content)
        return {};
    GPtr<GMimeStream> stream(g_mime_stream_mem_new());
    g_mime_data_wrapper_write_to_stream(content, stream.get());
    GByteArray* bytes = g_mime_stream_mem_get_byte_array(GMIME_STREAM_MEM(stream.get()));
    return QByteArray(reinterpret_cast<const char*>(bytes->data), qsizetype(bytes->len));
}

// A text part as Unicode: GMime converts from its charset; when it cannot,
// the bytes are taken as Latin-1, which never fails.
QString textOf(GMimePart* part) {
    if (GMIME_IS_TEXT_PART(part)) {
        const GString text(g_mime_text_part_get_text(GMIME_TEXT_PART(part)));
        if (text)
            return QString::fromUtf8(text.get());
    }
    return QString::fromLatin1(decodedContent(part));
}

bool hasType(GMimeObject* object, const char* type, const char* subtype) {
    GMimeContentType* contentType = g_mime_object_get_content_type(object);
    return contentType && g_mime_content_type_is_type(contentType, type, subtype);
}

class PartCollector {
public:
    explicit PartCollector(Message& message) : m_message(message) {}

    void visit(GMimeObject* object) {
        if (!object)
            return;
        if (GMIME_IS_MULTIPART(object)) {
            GMimeMultipart* multipart = GMIME_MULTIPART(object);
            if (hasType(object, "multipart", "report"))
                m_report = true;
            const int count = g_mime_multipart_get_count(multipart);
            for (int i = 0; i < count; ++i)
                visit(g_mime_multipart_get_part(multipart, i));
            return;
        }
        if (GMIME_IS_MESSAGE_PART(object)) {
            // A forwarded message travels as an attachment of its own.
            GMimeMessage* inner = g_mime_message_part_get_message(GMIME_MESSAGE_PART(object));
            Attachment attachment;
            attachment.fileName = QStringLiteral("message.eml");
            attachment.displayName =
                inner ? fromUtf8(g_mime_message_get_subject(inner)) : QString();
            if (attachment.displayName.isEmpty())
                attachment.displayName = attachment.fileName;
            if (inner) {
                const GString text(g_mime_object_to_string(GMIME_OBJECT(inner), nullptr));
                attachment.bytes = QByteArray(text.get());
            }
            m_message.attachments.append(attachment);
            return;
        }
        if (!GMIME_IS_PART(object))
            return;
        GMimePart* part = GMIME_PART(object);
        const QString fileName = fromUtf8(g_mime_part_get_filename(part));
        const bool attached = g_mime_part_is_attachment(part) || !fileName.isEmpty();
        // An invitation carries its calendar in the body; an attached .ics
        // file does not make a message one.
        if (!attached && hasType(object, "text", "calendar"))
            m_calendar = true;
        if (!attached && hasType(object, "text", "plain") && !m_plainSeen) {
            m_plainSeen = true;
            m_message.body = withCrLf(textOf(part));
            return;
        }
        if (!attached && hasType(object, "text", "html") && !m_htmlSeen) {
            m_htmlSeen = true;
            m_message.htmlBody = withCrLf(textOf(part));
            return;
        }
        if (!attached && hasType(object, "text", "*"))
            return; // alternative renderings of the same text
        Attachment attachment;
        attachment.fileName = fileName;
        attachment.displayName = fileName;
        if (attachment.displayName.isEmpty()) {
            const char* name = g_mime_object_get_content_type_parameter(object, "name");
            attachment.displayName = fromUtf8(name);
        }
        attachment.bytes = decodedContent(part);
        m_message.attachments.append(attachment);
    }

    bool report() const { return m_report; }
    bool calendar() const { return m_calendar; }
    bool plainSeen() const { return m_plainSeen; }

private:
    Message& m_message;
    bool m_report = false;
    bool m_calendar = false;
    bool m_plainSeen = false;
    bool m_htmlSeen = false;
};

void appendAddresses(QStringList& into, InternetAddressList* list) {
    if (!list)
        return;
    const int count = internet_address_list_length(list);
    for (int i = 0; i < count; ++i) {
        InternetAddress* address = internet_address_list_get_address(list, i);
        if (INTERNET_ADDRESS_IS_MAILBOX(address)) {
            into.append(
                fromUtf8(internet_address_mailbox_get_addr(INTERNET_ADDRESS_MAILBOX(address))));
        } else if (INTERNET_ADDRESS_IS_GROUP(address)) {
            appendAddresses(into,
                            internet_address_group_get_members(INTERNET_ADDRESS_GROUP(address)));
        }
    }
}

} // namespace

Message parseMessage(QByteArrayView raw) {
    if (std::optional<Message> simple = parseSimpleMessage(raw))
        return std::move(*simple);
    const QByteArray lighter = withoutTransportHeaders(raw);
    return parseMessageAsIs(lighter.isNull() ? raw : QByteArrayView(lighter));
}

Message parseMessageAsIs(QByteArrayView raw) {
    initialiseOnce();
    Message message;
    // GMime refuses a null buffer, which an empty view may have.
    static const char kNothing = 0;
    GPtr<GMimeStream> stream(g_mime_stream_mem_new_with_buffer(
        raw.isEmpty() ? &kNothing : raw.data(), size_t(raw.size())));
    GPtr<GMimeParser> parser(g_mime_parser_new_with_stream(stream.get()));
    GPtr<GMimeMessage> parsed(g_mime_parser_construct_message(parser.get(), nullptr));
    if (!parsed) {
        // Not even headers: whatever there is, is the text.
        message.body = withCrLf(QString::fromLatin1(raw.data(), raw.size()));
        return message;
    }
    QStringList senders;
    appendAddresses(senders, g_mime_message_get_from(parsed.get()));
    if (!senders.isEmpty())
        message.sender = senders.first();
    message.subject = fromUtf8(g_mime_message_get_subject(parsed.get()));
    message.messageId = fromUtf8(g_mime_message_get_message_id(parsed.get()));
    appendAddresses(message.recipients, g_mime_message_get_to(parsed.get()));
    appendAddresses(message.recipients, g_mime_message_get_cc(parsed.get()));
    appendAddresses(message.recipients, g_mime_message_get_bcc(parsed.get()));

    PartCollector collector(message);
    collector.visit(g_mime_message_get_mime_part(parsed.get()));
    if (!collector.plainSeen() && !message.htmlBody.isEmpty())
        message.body = withCrLf(htmlToText(message.htmlBody));
    if (collector.report()) {
        message.itemClass = kReportItemClass;
        message.typeName = QStringLiteral("ReportItem");
    } else if (collector.calendar()) {
        message.itemClass = kMeetingRequestItemClass;
        message.typeName = QStringLiteral("MeetingItem");
    }
    return message;
}

QByteArray withSubject(QByteArrayView raw, const QString& subject) {
    initialiseOnce();
    const QByteArray utf8 = subject.toUtf8();
    const GString encoded(g_mime_utils_header_encode_text(nullptr, utf8.constData(), nullptr));
    const QByteArray value = encoded ? QByteArray(encoded.get()) : utf8;

    // The header block ends at the first empty line (or the end of the data).
    const QByteArray message = raw.toByteArray();
    qsizetype headerEnd = message.size();
    for (qsizetype at = 0; at < message.size();) {
        const qsizetype lineEnd = message.indexOf('\n', at);
        const qsizetype next = lineEnd < 0 ? message.size() : lineEnd + 1;
        const QByteArrayView line = QByteArrayView(message).sliced(at, next - at);
        if (line == "\n" || line == "\r\n") {
            headerEnd = at;
            break;
        }
        at = next;
    }
    const QByteArray eol =
        message.left(headerEnd).contains("\r\n") ? QByteArray("\r\n") : QByteArray("\n");
    const QByteArray newHeader = "Subject: " + value + eol;

    // The Subject header with its folded continuation lines, if any.
    for (qsizetype at = 0; at < headerEnd;) {
        const qsizetype lineEnd = message.indexOf('\n', at);
        qsizetype next = lineEnd < 0 || lineEnd >= headerEnd ? headerEnd : lineEnd + 1;
        if (QByteArrayView(message)
                .sliced(at, qMin<qsizetype>(8, headerEnd - at))
                .compare("subject:", Qt::CaseInsensitive) == 0) {
            while (next < headerEnd && (message[next] == ' ' || message[next] == '\t')) {
                const qsizetype end = message.indexOf('\n', next);
                next = end < 0 || end >= headerEnd ? headerEnd : end + 1;
            }
            return message.left(at) + newHeader + message.mid(next);
        }
        at = next;
    }
    return message.left(headerEnd) + newHeader + message.mid(headerEnd);
}

} // namespace velmora::mime
