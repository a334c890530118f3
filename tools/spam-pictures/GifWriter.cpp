#include "GifWriter.h"

#include <QtEndian>

namespace velmora::tools {
namespace {

// Packs variable-width codes into GIF's little-endian bit stream, in
// sub-blocks of at most 255 bytes.
class CodeStream {
public:
    void put(int code, int bits) {
        m_buffer |= quint32(code) << m_bitCount;
        m_bitCount += bits;
        while (m_bitCount >= 8) {
            m_bytes.append(char(m_buffer & 0xFF));
            m_buffer >>= 8;
            m_bitCount -= 8;
        }
    }
    QByteArray blocks() {
        if (m_bitCount > 0)
            m_bytes.append(char(m_buffer & 0xFF));
        QByteArray out;
        for (qsizetype at = 0; at < m_bytes.size(); at += 255) {
            const QByteArray block = m_bytes.mid(at, 255);
            out.append(char(block.size()));
            out.append(block);
        }
        out.append('\0');
        return out;
    }

private:
    QByteArray m_bytes;
    quint32 m_buffer = 0;
    int m_bitCount = 0;
};

void putShort(QByteArray& out, int value) {
    out.append(char(value & 0xFF));
    out.append(char((value >> 8) & 0xFF));
}

} // namespace

QByteArray gifOf(const QImage& image) {
    const QImage indexed =
        image.convertToFormat(QImage::Format_Indexed8, Qt::ThresholdDither | Qt::AvoidDither);
    QList<QRgb> palette = indexed.colorTable();
    palette.resize(256, qRgb(0, 0, 0));

    QByteArray out("GIF89a");
    putShort(out, indexed.width());
    putShort(out, indexed.height());
    out.append(char(0xF7)); // a global table of 256 colours, 8 bits per primary
    out.append('\0');       // background colour
    out.append('\0');       // no aspect ratio
    for (const QRgb colour : palette) {
        out.append(char(qRed(colour)));
        out.append(char(qGreen(colour)));
        out.append(char(qBlue(colour)));
    }
    out.append(',');
    putShort(out, 0);
    putShort(out, 0);
    putShort(out, indexed.width());
    putShort(out, indexed.height());
    out.append('\0'); // no local table, not interlaced
    out.append(char(8));

    // Every pixel is a literal code; a clear code before the table would
    // need a tenth bit keeps every code 9 bits wide.
    constexpr int kClear = 256, kEnd = 257, kBits = 9, kLiteralsPerClear = 250;
    CodeStream codes;
    codes.put(kClear, kBits);
    int sinceClear = 0;
    for (int y = 0; y < indexed.height(); ++y) {
        const uchar* line = indexed.constScanLine(y);
        for (int x = 0; x < indexed.width(); ++x) {
            if (sinceClear == kLiteralsPerClear) {
                codes.put(kClear, kBits);
                sinceClear = 0;
            }
            codes.put(line[x], kBits);
            ++sinceClear;
        }
    }
    codes.put(kEnd, kBits);
    out.append(codes.blocks());
    out.append(';');
    return out;
}

} // namespace velmora::tools
