#include "SampleTables.h"

#include <random>

namespace velmora::bench {

TxtRecords sampleTxtTable(int records) {
    std::mt19937 random(12345);
    std::uniform_int_distribution<int> letters(20, 400);
    TxtRecords table;
    table.reserve(records);
    for (int i = 0; i < records; ++i) {
        TxtRec rec;
        rec.Flag = (i % 3) ? kTrue : kFalse;
        rec.Sender = QStringLiteral("sender%1@host%2.example").arg(i).arg(i % 97);
        rec.Subject = QStringLiteral("Subject line number %1 with some words").arg(i);
        rec.MailAddr = QStringLiteral("contact%1@shop.example").arg(i % 500);
        rec.LinkHost = QStringLiteral("www.site%1.example/page").arg(i % 700);
        for (int k = 0; k < 16; ++k) {
            if (k != 12)
                rec.Counts[k] = letters(random);
            rec.CharCount += rec.Counts[k];
        }
        rec.LineCount = static_cast<std::int16_t>(rec.CharCount / 40);
        table.append(rec);
    }
    return table;
}

PicRecords samplePicTable(int entries) {
    std::mt19937 random(54321);
    std::uniform_int_distribution<int> share(0, 9);
    PicRecords table;
    table.reserve(entries);
    for (int i = 0; i < entries; ++i) {
        PicRec rec;
        rec.Flag = (i % 4) ? kTrue : kFalse;
        rec.Sender = QStringLiteral("sender%1@host%2.example").arg(i).arg(i % 97);
        rec.Subject = QStringLiteral("Picture mail %1").arg(i);
        rec.Attachment = QStringLiteral("image%1.jpg").arg(i);
        rec.FileLength = 1000 + i * 7;
        rec.Size = static_cast<std::int16_t>(108 + i % 43);
        int left = 100;
        for (int k = 0; k < 19 && left > 0; ++k) {
            const int v = std::min(left, share(random));
            rec.Values[k] = v;
            left -= v;
        }
        rec.Values[19] = left;
        table.append(rec);
    }
    return table;
}

TxtRec distantTxtCandidate() {
    TxtRec rec;
    rec.Sender = QStringLiteral("nobody@elsewhere.example");
    rec.MailAddr = QStringLiteral("unique@elsewhere.example");
    rec.LinkHost = QStringLiteral("www.elsewhere.example");
    for (int k = 0; k < 16; ++k) {
        rec.Counts[k] = (k == 12) ? 0 : 3 + k * 50;
        rec.CharCount += rec.Counts[k];
    }
    rec.LineCount = 2;
    return rec;
}

PicRec distantPicCandidate() {
    PicRec rec;
    rec.Values[0] = 100;
    rec.Size = 150;
    return rec;
}

} // namespace velmora::bench
