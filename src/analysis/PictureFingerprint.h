#pragma once

#include "analysis/ToolWindowView.h"
#include "store/PicRec.h"

#include <QImage>

namespace velmora {

// Width of one of the twenty colour bands. The bands go by the raw colour
// number red + 256 x green + 65536 x blue, so blue dominates and red barely
// moves a pixel between bands: the stored fingerprints rely on it.
inline constexpr int kColourBandWidth = 838860;

// Band 0 to 19 of a 24-bit colour number.
int colourBand(std::uint32_t colour);

// Fingerprints a picture ("PIC Analysing"): fits the picture box to the
// picture's aspect ratio (keeping the box's width, and at least 108 pixels on
// the other side), draws the picture stretched into it, and counts its pixels
// per colour band. Size is the drawn height; Values are the whole percentages
// of the pixels per band. The box gets its size back and loses its picture at
// the end. The host's events run after the drawing and after every row.
// A failure (a box of more than 32,767 pixels) shows "PIC Analysing: ..." and
// returns the record as far as it was filled.
PicRec AnalysePicture(PictureBox& box, const QImage& picture);

} // namespace velmora
