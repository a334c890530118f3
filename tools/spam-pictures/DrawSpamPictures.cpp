// Draws the kinds of picture image spam is made of and writes each as a spam
// message with the picture attached, for `velmora pictures` to learn the
// starter picture table from. Everything is drawn from fixed numbers (no
// fonts, no clock, a seeded generator), so a run gives the same files.
//
//   velmora_draw_spam OUTPUT_FOLDER
#include "BlockFont.h"
#include "GifWriter.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QRandomGenerator>
#include <QTextStream>

#include <functional>

using velmora::tools::blockTextWidth;
using velmora::tools::drawBlockText;

namespace {

struct Layout {
    QString name;
    QString subject;
    QSize size;
    std::function<void(QPainter&, const QSize&)> draw;
};

// Lines of block text centred in the picture, as large as they fit.
void centredLines(QPainter& painter, const QSize& size, const QStringList& lines,
                  const QColor& colour, int top = -1) {
    int longest = 1;
    for (const QString& line : lines)
        longest = std::max(longest, int(line.size()));
    const int scale = std::max(1, std::min(size.width() / (longest * 6 + 2),
                                           size.height() / (int(lines.size()) * 10 + 2)));
    int y = top >= 0 ? top : (size.height() - int(lines.size()) * 10 * scale) / 2;
    for (const QString& line : lines) {
        drawBlockText(painter, (size.width() - blockTextWidth(scale, line)) / 2, y, scale, colour,
                      line);
        y += 10 * scale;
    }
}

void flatText(QPainter& p, const QSize& s, QColor background, QColor text,
              const QStringList& lines) {
    p.fillRect(QRect(QPoint(0, 0), s), background);
    centredLines(p, s, lines, text);
}

void gradientText(QPainter& p, const QSize& s, QColor from, QColor to, QColor text,
                  const QStringList& lines) {
    QLinearGradient gradient(0, 0, s.width(), s.height());
    gradient.setColorAt(0, from);
    gradient.setColorAt(1, to);
    p.fillRect(QRect(QPoint(0, 0), s), gradient);
    centredLines(p, s, lines, text);
}

void priceTag(QPainter& p, const QSize& s, QColor background, QColor tag, const QString& price,
              const QString& headline) {
    p.fillRect(QRect(QPoint(0, 0), s), background);
    centredLines(p, QSize(s.width(), s.height() / 3), {headline}, Qt::black, s.height() / 20);
    QPainterPath burst;
    const QPointF centre(s.width() / 2.0, s.height() * 0.62);
    const double outer = std::min(s.width(), s.height()) * 0.33, inner = outer * 0.78;
    for (int i = 0; i < 32; ++i) {
        const double angle = i * M_PI / 16;
        const double radius = i % 2 ? inner : outer;
        const QPointF point = centre + QPointF(std::cos(angle) * radius, std::sin(angle) * radius);
        if (i == 0)
            burst.moveTo(point);
        else
            burst.lineTo(point);
    }
    burst.closeSubpath();
    p.setRenderHint(QPainter::Antialiasing);
    p.fillPath(burst, tag);
    const int scale = std::max(1, int(inner * 1.4) / (int(price.size()) * 6));
    drawBlockText(p, int(centre.x()) - blockTextWidth(scale, price) / 2,
                  int(centre.y()) - 7 * scale / 2, scale, Qt::white, price);
}

void fakeButton(QPainter& p, const QSize& s, QColor background, QColor button,
                const QString& headline, const QString& label) {
    p.fillRect(QRect(QPoint(0, 0), s), background);
    centredLines(p, QSize(s.width(), s.height() / 2), {headline}, Qt::white, s.height() / 12);
    const QRectF shape(s.width() * 0.18, s.height() * 0.58, s.width() * 0.64, s.height() * 0.28);
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(QPen(button.darker(150), 3));
    p.setBrush(button);
    p.drawRoundedRect(shape, 18, 18);
    const int scale = std::max(1, int(shape.width() * 0.8) / (int(label.size()) * 6));
    drawBlockText(p, int(shape.center().x()) - blockTextWidth(scale, label) / 2,
                  int(shape.center().y()) - 7 * scale / 2, scale, Qt::white, label);
}

void productOnWhite(QPainter& p, const QSize& s, QColor product, const QString& price) {
    p.fillRect(QRect(QPoint(0, 0), s), Qt::white);
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(Qt::NoPen);
    // A bottle with its cap and label, and two pills beside it.
    const QRectF bottle(s.width() * 0.12, s.height() * 0.25, s.width() * 0.3, s.height() * 0.62);
    p.setBrush(product);
    p.drawRoundedRect(bottle, 14, 14);
    p.setBrush(product.darker(170));
    p.drawRect(QRectF(bottle.left() + bottle.width() * 0.25, bottle.top() - s.height() * 0.1,
                      bottle.width() * 0.5, s.height() * 0.1));
    p.setBrush(QColor(245, 245, 235));
    p.drawRect(QRectF(bottle.left(), bottle.top() + bottle.height() * 0.35, bottle.width(),
                      bottle.height() * 0.3));
    p.setBrush(product.lighter(140));
    p.drawEllipse(QRectF(s.width() * 0.55, s.height() * 0.6, s.width() * 0.16, s.height() * 0.1));
    p.drawEllipse(QRectF(s.width() * 0.74, s.height() * 0.66, s.width() * 0.16, s.height() * 0.1));
    centredLines(p, QSize(s.width() * 2 - int(s.width() * 0.9), s.height() / 3), {price},
                 QColor(200, 0, 0), int(s.height() * 0.22));
}

void scannedText(QPainter& p, const QSize& s, quint32 seed, const QStringList& lines) {
    QImage paper(s, QImage::Format_RGB32);
    QRandomGenerator random(seed);
    for (int y = 0; y < s.height(); ++y) {
        for (int x = 0; x < s.width(); ++x) {
            const int grey = 226 + int(random.bounded(24));
            paper.setPixel(x, y, qRgb(grey, grey, grey - 8));
        }
    }
    p.drawImage(0, 0, paper);
    p.save();
    p.translate(s.width() / 2.0, s.height() / 2.0);
    p.rotate(-2.5);
    p.translate(-s.width() / 2.0, -s.height() / 2.0);
    int y = s.height() / 10;
    for (const QString& line : lines) {
        drawBlockText(p, s.width() / 12, y, 3, QColor(40, 40, 50), line);
        y += 30;
    }
    p.restore();
}

QList<Layout> layouts() {
    QList<Layout> all;
    const auto add = [&](const QString& name, const QString& subject, QSize size,
                         std::function<void(QPainter&, const QSize&)> draw) {
        all.append({name, subject, size, std::move(draw)});
    };
    add(QStringLiteral("meds-flat"), QStringLiteral("Cheap meds online"), {400, 300},
        [](QPainter& p, const QSize& s) {
            flatText(p, s, QColor(0, 90, 200), Qt::white,
                     {QStringLiteral("CHEAP MEDS"), QStringLiteral("NO PRESCRIPTION")});
        });
    add(QStringLiteral("casino-gradient"), QStringLiteral("Your bonus is waiting"), {468, 300},
        [](QPainter& p, const QSize& s) {
            gradientText(p, s, QColor(120, 0, 40), QColor(250, 180, 0), Qt::white,
                         {QStringLiteral("CASINO"), QStringLiteral("200% BONUS"),
                          QStringLiteral("PLAY NOW!")});
        });
    add(QStringLiteral("loan-flat"), QStringLiteral("Approved today"), {500, 250},
        [](QPainter& p, const QSize& s) {
            flatText(p, s, QColor(255, 240, 0), QColor(0, 0, 0),
                     {QStringLiteral("LOANS APPROVED"), QStringLiteral("IN 1 HOUR")});
        });
    add(QStringLiteral("sale-gradient"), QStringLiteral("Last days of the sale"), {300, 400},
        [](QPainter& p, const QSize& s) {
            gradientText(
                p, s, QColor(255, 60, 60), QColor(120, 0, 160), Qt::white,
                {QStringLiteral("SALE"), QStringLiteral("70% OFF"), QStringLiteral("TODAY ONLY")});
        });
    add(QStringLiteral("watch-price"), QStringLiteral("Luxury watches at a fraction"), {420, 420},
        [](QPainter& p, const QSize& s) {
            priceTag(p, s, QColor(250, 250, 250), QColor(220, 20, 60), QStringLiteral("$49.99"),
                     QStringLiteral("ROLEX REPLICA"));
        });
    add(QStringLiteral("pills-price"), QStringLiteral("Best price guaranteed"), {360, 300},
        [](QPainter& p, const QSize& s) {
            priceTag(p, s, QColor(230, 255, 230), QColor(0, 150, 60), QStringLiteral("$0.99"),
                     QStringLiteral("VIAGRA"));
        });
    add(QStringLiteral("buy-button"), QStringLiteral("Click to claim"), {480, 320},
        [](QPainter& p, const QSize& s) {
            fakeButton(p, s, QColor(20, 20, 60), QColor(0, 170, 0), QStringLiteral("YOU WIN!"),
                       QStringLiteral("CLICK HERE"));
        });
    add(QStringLiteral("order-button"), QStringLiteral("Order before midnight"), {400, 260},
        [](QPainter& p, const QSize& s) {
            fakeButton(p, s, QColor(200, 0, 0), QColor(255, 140, 0),
                       QStringLiteral("FREE SHIPPING"), QStringLiteral("BUY NOW"));
        });
    add(QStringLiteral("bottle-white"), QStringLiteral("Pharmacy direct"), {400, 400},
        [](QPainter& p, const QSize& s) {
            productOnWhite(p, s, QColor(30, 100, 220), QStringLiteral("$19.99"));
        });
    add(QStringLiteral("bottle-white-red"), QStringLiteral("Men's health special"), {360, 300},
        [](QPainter& p, const QSize& s) {
            productOnWhite(p, s, QColor(200, 30, 30), QStringLiteral("$29"));
        });
    add(QStringLiteral("scanned-letter"), QStringLiteral("Confidential business proposal"),
        {420, 500}, [](QPainter& p, const QSize& s) {
            scannedText(p, s, 1234,
                        {QStringLiteral("DEAR FRIEND"), QStringLiteral(""),
                         QStringLiteral("I AM A BANK OFFICER"),
                         QStringLiteral("WITH 15.5 MILLION $"),
                         QStringLiteral("TO TRANSFER. REPLY"), QStringLiteral("FOR 30% OF IT.")});
        });
    add(QStringLiteral("scanned-stock"), QStringLiteral("Hot stock alert"), {400, 300},
        [](QPainter& p, const QSize& s) {
            scannedText(p, s, 987,
                        {QStringLiteral("STOCK ALERT"), QStringLiteral("BUY NOW"),
                         QStringLiteral("TARGET $5.00"), QStringLiteral("500% UP!")});
        });
    return all;
}

QByteArray encoded(const QImage& picture, const char* format) {
    if (qstrcmp(format, "gif") == 0)
        return velmora::tools::gifOf(picture);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    picture.save(&buffer, format, qstrcmp(format, "jpg") == 0 ? 75 : -1);
    return bytes;
}

QByteArray message(const Layout& layout, const char* format, const QByteArray& picture,
                   int number) {
    const QByteArray name = layout.name.toLatin1() + "." + format;
    const QByteArray type = qstrcmp(format, "jpg") == 0   ? "image/jpeg"
                            : qstrcmp(format, "gif") == 0 ? "image/gif"
                                                          : "image/png";
    QByteArray base64;
    const QByteArray all = picture.toBase64();
    for (qsizetype at = 0; at < all.size(); at += 76)
        base64 += all.mid(at, 76) + "\r\n";
    return "From: offers" + QByteArray::number(number) +
           "@starter-spam.invalid\r\n"
           "To: you@example.org\r\nSubject: " +
           layout.subject.toLatin1() + "\r\nMessage-ID: <starter-" + name +
           "@starter-spam.invalid>\r\nMIME-Version: 1.0\r\n"
           "Content-Type: multipart/mixed; boundary=\"part\"\r\n\r\n--part\r\n"
           "Content-Type: text/plain; charset=us-ascii\r\n\r\nSee the picture.\r\n--part\r\n"
           "Content-Type: " +
           type + "; name=\"" + name +
           "\"\r\n"
           "Content-Disposition: attachment; filename=\"" +
           name +
           "\"\r\n"
           "Content-Transfer-Encoding: base64\r\n\r\n" +
           base64 + "--part--\r\n";
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    QTextStream err(stderr);
    if (argc != 2) {
        err << "usage: velmora_draw_spam OUTPUT_FOLDER\n";
        return 2;
    }
    const QDir out(QString::fromLocal8Bit(argv[1]));
    if (!QDir().mkpath(out.path())) {
        err << "cannot create " << out.path() << '\n';
        return 3;
    }
    int number = 0;
    for (const Layout& layout : layouts()) {
        QImage picture(layout.size, QImage::Format_RGB32);
        picture.fill(Qt::white);
        {
            QPainter painter(&picture);
            layout.draw(painter, layout.size);
        }
        for (const char* format : {"jpg", "gif", "png"}) {
            const QByteArray bytes = encoded(picture, format);
            const QString file =
                out.filePath(QStringLiteral("%1-%2.eml").arg(layout.name, QLatin1String(format)));
            QFile eml(file);
            if (!eml.open(QIODevice::WriteOnly) ||
                eml.write(message(layout, format, bytes, ++number)) < 0) {
                err << "cannot write " << file << '\n';
                return 3;
            }
        }
    }
    return 0;
}
