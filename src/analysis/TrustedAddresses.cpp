#include "analysis/TrustedAddresses.h"

#include "analysis/SortedInsertScan.h"
#include "base/HostYield.h"
#include "base/MessageSink.h"
#include "base/VbString.h"

namespace velmora {

short SearchinTrust(const StringList& trustedList, const QString& address) {
    if (trustedList.upperBound() > 32767)
        return 0; // the 16-bit bounds overflow: nothing found
    int low = 1;
    int high = trustedList.upperBound();
    int mid = (low + high) / 2;
    while (low < high) {
        yieldToHost();
        if (mid > trustedList.upperBound())
            return 0; // the list shrank while the host ran its events
        const QString& entry = trustedList[mid];
        if (entry > address)
            high = mid - 1;
        else if (entry < address)
            low = mid + 1;
        else
            return static_cast<short>(mid);
        mid = (low + high) / 2;
    }
    if (mid <= trustedList.upperBound() && trustedList[mid] == address)
        return static_cast<short>(mid);
    return 0;
}

void AddMailAddr(StringList& trustedList, QString address) {
    try {
        if (address.size() < 6)
            return;
        if (address.startsWith(QLatin1Char('\'')))
            address = address.mid(1);
        // Intended: assumes a quote at both ends, so one more leading character
        // goes whatever it is.
        if (address.endsWith(QLatin1Char('\'')))
            address = address.mid(1, address.size() - 2);
        if (trustedList.upperBound() < 1) {
            trustedList.append(address);
            return;
        }
        address = vbLCase(address);
        const int place = findInsertPlace(
            address, [&] { return trustedList.upperBound(); },
            [&](int i) -> const QString& { return trustedList[i]; },
            [](int) { return FullMatch::Stop; });
        if (place != 0)
            trustedList.insertAt(place, address);
    } catch (const VbError& error) {
        showMessage(QStringLiteral("AddMailAddr: ") + error.description() +
                    QStringLiteral("Max =") + QString::number(trustedList.upperBound()));
    }
}

} // namespace velmora
