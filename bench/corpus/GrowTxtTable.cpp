// Grows the text table of a data folder to a given number of records, for
// measuring the filter with a nearly full table. The added records are
// variants of the learnt ones: the same kind of mail from other senders, with
// letter counts moved by up to a tenth, so that scans behave as on real mail.
// Deterministic: the same input gives the same table.
//
//   velmora_grow_txt_table WORK_ROOT RECORDS

#include "store/DataFolder.h"
#include "store/SpamData.h"
#include "store/TxtTableFile.h"

#include <QCoreApplication>

#include <algorithm>
#include <cstdio>
#include <random>

using namespace velmora;

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    if (argc != 3) {
        std::fprintf(stderr, "usage: velmora_grow_txt_table WORK_ROOT RECORDS\n");
        return 2;
    }
    SpamData data{DataFolder(QString::fromLocal8Bit(argv[1]))};
    ReadTxtTable(data);
    const int wanted = std::min(std::atoi(argv[2]), TxtRecords::kMaxEntries);
    const int learnt = data.TxtTable.upperBound();
    if (learnt < 1) {
        std::fprintf(stderr, "velmora_grow_txt_table: %s holds no text records\n",
                     qPrintable(data.folder.dataFile(kTxtDataFile)));
        return 1;
    }
    std::vector<TxtRec> records;
    records.reserve(std::size_t(wanted));
    for (int i = 1; i <= learnt; ++i)
        records.push_back(data.TxtTable[i]);
    std::mt19937 random(20261123);
    for (int variant = 1; int(records.size()) < wanted; ++variant) {
        TxtRec rec = records[std::size_t(random() % std::uint32_t(learnt))];
        rec.Sender = QStringLiteral("v%1.").arg(variant) + rec.Sender;
        std::int64_t sum = 0;
        for (std::int32_t& count : rec.Counts) {
            const int spread = count / 10;
            if (spread > 0)
                count += int(random() % std::uint32_t(2 * spread + 1)) - spread;
            sum += count;
        }
        rec.CharCount = std::int32_t(sum);
        records.push_back(std::move(rec));
    }
    // Learning keeps the table in the order of its senders.
    std::stable_sort(records.begin(), records.end(),
                     [](const TxtRec& a, const TxtRec& b) { return a.Sender < b.Sender; });
    data.TxtTable.reset();
    for (TxtRec& rec : records)
        data.TxtTable.append(std::move(rec));
    WriteTxtTable(data);
    std::printf("%d records (%d learnt)\n", data.TxtTable.upperBound(), learnt);
    return 0;
}
