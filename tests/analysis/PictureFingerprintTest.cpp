#include "analysis/PictureFingerprint.h"
#include "analysis/PictureAttachment.h"

#include "support/FilterFixture.h"

using namespace velmora;
using namespace velmora::test;

TEST(colourBand, TwentyBandsOfTheRawColourNumber) {
    EXPECT_EQ(colourBand(0), 0);   // black
    EXPECT_EQ(colourBand(255), 0); // pure red barely moves
    EXPECT_EQ(colourBand(838860), 0);
    EXPECT_EQ(colourBand(838861), 1);
    EXPECT_EQ(colourBand(1677720), 1);
    EXPECT_EQ(colourBand(1677721), 2);
    EXPECT_EQ(colourBand(15938340), 18);
    EXPECT_EQ(colourBand(15938341), 19);
    EXPECT_EQ(colourBand(16777215), 19);     // white
    EXPECT_EQ(colourBand(255u * 65536), 19); // pure blue
}

TEST(AnalysePicture, OneColourFillsOneBandAndTheBoxIsRestored) {
    ImagePictureBox box;
    const PicRec rec = AnalysePicture(box, solidPicture(40, 40, qRgb(255, 255, 255)));
    EXPECT_EQ(rec.Size, 150);
    EXPECT_EQ(rec.Values[19], 100);
    for (int k = 0; k < 19; ++k)
        EXPECT_EQ(rec.Values[k], 0) << k;
    EXPECT_EQ(rec.Flag, kFalse);
    EXPECT_EQ(rec.Sender, QString());
    EXPECT_EQ(rec.FileLength, 0);
    EXPECT_EQ(box.width(), 150);
    EXPECT_EQ(box.height(), 150);
    EXPECT_TRUE(box.pixels().isNull());
}

TEST(AnalysePicture, BoxFollowsTheAspectRatioWithA108PixelFloor) {
    ImagePictureBox box;
    // Ten times wider than high: 15 pixels high would be too flat.
    EXPECT_EQ(AnalysePicture(box, solidPicture(1000, 100, qRgb(0, 0, 0))).Size, 108);
    // Twice as wide: 150 x 75 becomes 150 x 108.
    EXPECT_EQ(AnalysePicture(box, solidPicture(200, 100, qRgb(0, 0, 0))).Size, 108);
    // A little wider: 150 x 120.
    EXPECT_EQ(AnalysePicture(box, solidPicture(250, 200, qRgb(0, 0, 0))).Size, 120);
    // Taller than wide keeps the height.
    EXPECT_EQ(AnalysePicture(box, solidPicture(100, 300, qRgb(0, 0, 0))).Size, 150);

    // Half black, half white (left and right): half the pixels in each band.
    QImage halves = solidPicture(100, 100, qRgb(0, 0, 0));
    for (int y = 0; y < 100; ++y)
        for (int x = 50; x < 100; ++x)
            halves.setPixel(x, y, qRgb(255, 255, 255));
    const PicRec rec = AnalysePicture(box, halves);
    EXPECT_EQ(rec.Values[0], 50);
    EXPECT_EQ(rec.Values[19], 50);
}

TEST(AnalysePicture, BoxOfMoreThan32767PixelsOverflows) {
    RecordingSink sink;
    ImagePictureBox box;
    box.setWidth(200);
    box.setHeight(200);
    AnalysePicture(box, solidPicture(10, 10, qRgb(0, 0, 0)));
    EXPECT_EQ(sink.messages, QStringList{QStringLiteral("PIC Analysing: Overflow")});
    EXPECT_FALSE(box.pixels().isNull()); // the failure leaves the drawing in the box
}

TEST(CheckPictureAttachment, PictureExtensionsAreSavedOnce) {
    FilterFixture f;
    const QByteArray png = pictureFile(solidPicture(4, 4, qRgb(1, 2, 3)));
    const auto upper = f.app->place(
        f.app->inbox(), pictureMail(QStringLiteral("a@x"), {}, QStringLiteral("HOLIDAY.JPG"), png));
    EXPECT_TRUE(CheckPictureAttachment(*f.state, *upper));
    EXPECT_EQ(f.state->picture.PictureAttachmentSaved, kTrue);
    EXPECT_EQ(f.root.readBytes(QStringLiteral("HOLIDAY.JPG")), png);

    // A second mail whose attachment has the same display name reuses the file.
    const auto again =
        f.app->place(f.app->inbox(), pictureMail(QStringLiteral("b@x"), {},
                                                 QStringLiteral("HOLIDAY.JPG"), "other"));
    EXPECT_TRUE(CheckPictureAttachment(*f.state, *again));
    EXPECT_EQ(again->memoryAttachment(1)->saveCount(), 0);
    EXPECT_EQ(f.root.readBytes(QStringLiteral("HOLIDAY.JPG")), png);

    for (const char* name : {"photo.jpe", "nodot", "archive.tiff.zip"}) {
        const auto item = f.app->place(
            f.app->inbox(), pictureMail(QStringLiteral("c@x"), {}, QLatin1String(name), png));
        EXPECT_FALSE(CheckPictureAttachment(*f.state, *item)) << name;
        EXPECT_EQ(f.state->picture.PictureAttachmentSaved, kFalse);
    }
    for (const char* name : {"a.gif", "b.png", "c.bmp", "d.tif", "e.tiff", "f.jpeg", "jpg"}) {
        const auto item = f.app->place(
            f.app->inbox(), pictureMail(QStringLiteral("c@x"), {}, QLatin1String(name), png));
        EXPECT_TRUE(CheckPictureAttachment(*f.state, *item)) << name;
    }
    const auto plain = f.app->place(f.app->inbox(), mail(QStringLiteral("d@x"), {}, {}));
    EXPECT_FALSE(CheckPictureAttachment(*f.state, *plain));

    // The file name decides; the file is saved under the display name.
    const auto named = f.app->place(
        f.app->inbox(), pictureMail(QStringLiteral("e@x"), {}, QStringLiteral("scan.gif"), png,
                                    QStringLiteral("Scan of letter.txt")));
    EXPECT_TRUE(CheckPictureAttachment(*f.state, *named));
    EXPECT_EQ(f.root.readBytes(QStringLiteral("Scan of letter.txt")), png);
    const auto misnamed = f.app->place(
        f.app->inbox(), pictureMail(QStringLiteral("e@x"), {}, QStringLiteral("letter.txt"), png,
                                    QStringLiteral("letter.gif")));
    EXPECT_FALSE(CheckPictureAttachment(*f.state, *misnamed));
}
