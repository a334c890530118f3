#pragma once

#include <QColor>
#include <QPainter>
#include <QString>

namespace velmora::tools {

// Text drawn from a 5 x 7 block font built in, so that pictures come out the
// same on every machine whatever fonts it has. `scale` is the size of one
// block in pixels; letters it does not know are drawn as blanks.
void drawBlockText(QPainter& painter, int x, int y, int scale, const QColor& colour,
                   const QString& text);
int blockTextWidth(int scale, const QString& text);

} // namespace velmora::tools
