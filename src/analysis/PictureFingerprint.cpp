#include "analysis/PictureFingerprint.h"

#include "base/HostYield.h"
#include "base/MessageSink.h"
#include "base/Rounding.h"
#include "base/VbError.h"

#include <array>
#include <cmath>

namespace velmora {
namespace {

constexpr double kMinimumSide = 108;

// The picture box takes whole pixels.
int toPixels(double units) {
    return toInt16(units);
}

PicRec fingerprintOn(PictureBox& box, const QImage& picture);

} // namespace

int colourBand(std::uint32_t colour) {
    if (colour < std::uint32_t(kColourBandWidth) + 1)
        return 0;
    // Band k holds k x width < c <= (k + 1) x width; above 19 x width is 19.
    const std::uint32_t band = (colour + kColourBandWidth - 1) / kColourBandWidth - 1;
    return band > 19 ? 19 : int(band);
}

PicRec AnalysePicture(PictureBox& box, const QImage& picture) {
    PicRec rec;
    box.keepWhile([&] { rec = fingerprintOn(box, picture); });
    return rec;
}

namespace {

PicRec fingerprintOn(PictureBox& box, const QImage& picture) {
    PicRec rec;
    const int originalWidth = box.width();
    const int originalHeight = box.height();
    try {
        if (picture.width() > picture.height()) {
            const double ratio = double(box.width()) / picture.width();
            double height = picture.height() * ratio;
            if (height < kMinimumSide)
                height = kMinimumSide;
            box.setHeight(toPixels(height));
        } else {
            const double ratio = double(box.width()) / picture.height();
            double width = picture.width() * ratio;
            if (width < kMinimumSide)
                width = kMinimumSide;
            box.setWidth(toPixels(width));
        }
        box.drawStretched(picture);
        yieldToHost();

        const int height = box.height();
        const int width = box.width();
        std::array<int, 20> counts{};
        for (int y = 0; y < height; ++y) {
            // Read afresh each row: the host's events, which run after every
            // row, may have drawn something else into the box meanwhile.
            const QImage& pixels = box.pixels();
            const QRgb* row = y < pixels.height()
                                  ? reinterpret_cast<const QRgb*>(pixels.constScanLine(y))
                                  : nullptr;
            const int drawnWidth = row ? qMin(width, pixels.width()) : 0;
            for (int x = 0; x < drawnWidth; ++x) {
                const QRgb p = row[x];
                ++counts[colourBand(std::uint32_t(qRed(p)) + 256u * qGreen(p) + 65536u * qBlue(p))];
            }
            // A point outside the drawing reads as -1, which is band 0.
            counts[0] += width - drawnWidth;
            yieldToHost();
        }
        rec.Size = toInt16(height);
        const std::int16_t total = toInt16(double(width) * height);
        if (total == 0)
            throw VbError(VbError::Overflow); // 0 / 0
        for (int k = 0; k < 20; ++k)
            rec.Values[k] = std::int32_t(std::floor(double(counts[k]) / total * 100));
    } catch (const VbError& error) {
        showMessage(QStringLiteral("PIC Analysing: ") + error.description());
        return rec;
    }
    box.setWidth(originalWidth);
    box.setHeight(originalHeight);
    box.clearPicture();
    return rec;
}

} // namespace
} // namespace velmora
