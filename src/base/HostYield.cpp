#include "base/HostYield.h"

#include <QCoreApplication>

namespace velmora {

void yieldToHost() {
    QCoreApplication::processEvents();
}

} // namespace velmora
