// The picture fingerprint of the input saved as a picture file, on the
// headless picture box, as the filter fingerprints a saved attachment. A
// fingerprint's bands are whole percentages of one drawing, so together they
// make at most 100.
#include "FuzzSupport.h"

#include "analysis/HeadlessToolWindow.h"
#include "analysis/PictureFingerprint.h"
#include "analysis/PictureLoading.h"
#include "base/VbError.h"

#include <algorithm>
#include <numeric>

using namespace velmora;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::setUp();
    // No extension: pictures are recognised by their content.
    const QString file = fuzz::freshFolder(QStringLiteral("work")) + QStringLiteral("attachment");
    fuzz::writeFile(file, fuzz::inputBytes(data, size));
    QImage picture;
    try {
        picture = loadPicture(file);
    } catch (const VbError&) {
        return 0;
    }

    ImagePictureBox box;
    const PicRec rec = AnalysePicture(box, picture);
    if (!fuzz::takeMessages().isEmpty())
        return 0;
    const int sum = std::accumulate(rec.Values.begin(), rec.Values.end(), 0);
    const bool inRange =
        std::all_of(rec.Values.begin(), rec.Values.end(), [](int v) { return v >= 0; });
    if (!inRange || sum > 100)
        fuzz::fail("band values are not whole percentages of one drawing",
                   QStringLiteral("sum %1").arg(sum));
    return 0;
}
